// Two threads that wake each other by the bare system call: the floor below which no call to a
// sleeping thread and back can go on this machine. It queues nothing and takes no lock.
//
// One thread calls at a time; there is no Post.
#ifndef VAXO_BENCH_RUNNER_FUTEXPEER_H
#define VAXO_BENCH_RUNNER_FUTEXPEER_H

#include <atomic>
#include <cstdint>
#include <thread>

#include "runner/Peer.h"

namespace vaxoengine {

class FutexPeer {
public:
    static constexpr const char* kName = "futex";

    FutexPeer();
    ~FutexPeer();
    FutexPeer(const FutexPeer&) = delete;
    FutexPeer& operator=(const FutexPeer&) = delete;

    void Call(const Job& job);  // an empty job ends the thread

private:
    // 0 or 1: whether there is something to take. On a cache line of its own each.
    struct alignas(64) Word {
        std::atomic<std::uint32_t> value{0};
    };

    static void Give(Word& word);
    static void Take(Word& word);
    void Run();

    Word m_asked;
    Word m_answered;
    const Job* m_job = nullptr;  // handed over with m_asked
    std::thread m_thread;
};

}  // namespace vaxoengine

#endif
