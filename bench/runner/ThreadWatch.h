// What the kernel says of a thread of this process.
#ifndef VAXO_BENCH_RUNNER_THREADWATCH_H
#define VAXO_BENCH_RUNNER_THREADWATCH_H

#include <sys/types.h>
#include <unistd.h>

namespace vaxoengine {

// The thread that runs a peer's jobs.
template <class Peer>
pid_t ThreadOf(Peer& peer) {
    pid_t thread = 0;
    peer.Call([&thread] { thread = gettid(); });
    return thread;
}

// Returns when the thread has ended. It gives way while it asks.
void AwaitGone(pid_t thread);

// Tells when a thread sleeps. One thread may ask at a time.
class SleepWatch {
public:
    // The thread must be there; it may end before the watch.
    explicit SleepWatch(pid_t thread);
    ~SleepWatch();
    SleepWatch(const SleepWatch&) = delete;
    SleepWatch& operator=(const SleepWatch&) = delete;

    // Returns when the thread sleeps in the kernel. It gives way while it asks. The answer
    // holds as long as nobody has reason to wake the thread.
    void AwaitAsleep();

private:
    int m_file;
};

}  // namespace vaxoengine

#endif
