// What a peer is: one way to hand jobs to one thread.
//
// The benchmarks are templates over a peer, so that every peer runs the same code around the
// one thing that differs. A peer has
//
//   static constexpr const char* kName   as it stands in the report
//   Peer()                               its thread runs when this returns, or with the first job
//   ~Peer()                              ends its threads and waits until they are gone, so that
//                                        nothing of it runs beside the next peer; every job has
//                                        run by then
//   void Post(Job job)                   queues the job and returns; from any thread
//   void Call(Job job)                   queues the job and returns when it has run; from any
//                                        thread but the peer's own
//
// What makes the comparison fair
// - One thread runs the jobs of a peer. It sleeps in the kernel when there is nothing to do,
//   and a post to a sleeping thread wakes it. What a peer does between (TBB looks around for
//   a while before it sleeps) is its own business, and the benchmarks of a sleeping thread
//   wait until the kernel says that it sleeps.
// - The job is a std::function everywhere, as the queue runner's is: it is made by the caller
//   within the time taken, and moved into whatever the peer queues. The functors used capture
//   one pointer, for which std::function allocates nothing; what is allocated is the peer's
//   own doing.
// - Every post is one call out of line.
// - Jobs run in the order of posting, for all but TBB, which does not promise it.
// - Call waits for a mutex and a condition variable everywhere (the queue runner's event is
//   that too); each peer without a Call of its own gets CallByEvent.
#ifndef VAXO_BENCH_RUNNER_PEER_H
#define VAXO_BENCH_RUNNER_PEER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>

namespace vaxoengine {

typedef std::function<void()> Job;

// One signal for one wait. It is given with the mutex held, so that the waiter may destroy the
// event as soon as its wait has returned.
class Event {
public:
    void Signal() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_signaled = true;
        m_condition.notify_one();
    }

    void Wait() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_condition.wait(lock, [this] { return m_signaled; });
        m_signaled = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_signaled = false;
};

template <class Peer>
void CallByEvent(Peer& peer, Job job) {
    struct Pending {
        Job job;
        Event done;
    } pending;
    pending.job = std::move(job);
    peer.Post([&pending] {
        pending.job();
        pending.done.Signal();
    });
    pending.done.Wait();
}

}  // namespace vaxoengine

#endif
