// oneTBB: an arena with a place for one worker, and jobs enqueued into it.
//
// It promises less than the others. An enqueued job runs some time, and "about" in the order
// of enqueueing: the arena keeps several lanes and deals jobs out to them, also the jobs of
// one thread. So it cannot stand in for a serial queue; it is here for the cost alone. That
// jobs do not run at the same time holds because there is one place in the arena.
#ifndef VAXO_BENCH_RUNNER_TBBPEER_H
#define VAXO_BENCH_RUNNER_TBBPEER_H

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include "runner/Peer.h"

namespace vaxoengine {

class TbbPeer {
public:
    static constexpr const char* kName = "tbb";

    TbbPeer();
    ~TbbPeer();
    TbbPeer(const TbbPeer&) = delete;
    TbbPeer& operator=(const TbbPeer&) = delete;

    void Post(Job job);
    void Call(Job job);

private:
    oneapi::tbb::task_scheduler_handle m_workers;
    oneapi::tbb::global_control m_limit;
    oneapi::tbb::task_arena m_arena;
};

}  // namespace vaxoengine

#endif
