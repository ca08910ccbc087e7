// The queue runner: AsyncRun and SyncRun on a numbered worker.
#ifndef VAXO_BENCH_RUNNER_VAXOPEER_H
#define VAXO_BENCH_RUNNER_VAXOPEER_H

#include <memory>
#include <utility>

#include "runner/Peer.h"
#include "utils/VaxoQueueRunner.h"

namespace vaxoengine {

class VaxoPeer {
public:
    static constexpr const char* kName = "vaxo";

    VaxoPeer();
    ~VaxoPeer();
    VaxoPeer(const VaxoPeer&) = delete;
    VaxoPeer& operator=(const VaxoPeer&) = delete;

    // Inline, because AsyncRun and SyncRun are the calls out of line.
    void Post(Job job) { m_runner->AsyncRun(std::move(job), kWorker); }
    void Call(Job job) { m_runner->SyncRun(std::move(job), kWorker); }

private:
    // The worker that delivers the application's callbacks. Worker 0 saves the look-up.
    static constexpr int kWorker = 2;

    std::unique_ptr<CVaxoQueueRunner> m_runner;
};

}  // namespace vaxoengine

#endif
