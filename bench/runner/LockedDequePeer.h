// What one writes in ten minutes: a deque of functions, a mutex, a condition variable, a thread.
#ifndef VAXO_BENCH_RUNNER_LOCKEDDEQUEPEER_H
#define VAXO_BENCH_RUNNER_LOCKEDDEQUEPEER_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "runner/Peer.h"

namespace vaxoengine {

class LockedDequePeer {
public:
    static constexpr const char* kName = "locked-deque";

    LockedDequePeer();
    ~LockedDequePeer();
    LockedDequePeer(const LockedDequePeer&) = delete;
    LockedDequePeer& operator=(const LockedDequePeer&) = delete;

    void Post(Job job);
    void Call(Job job);

private:
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::deque<Job> m_jobs;
    bool m_stopped = false;
    std::thread m_thread;  // the last member: it uses the others
};

}  // namespace vaxoengine

#endif
