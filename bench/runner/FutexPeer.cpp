#include "runner/FutexPeer.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vaxoengine {

// The kernel looks at the atomic as at the plain word that it is.
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

FutexPeer::FutexPeer() : m_thread([this] { Run(); }) {}

FutexPeer::~FutexPeer() {
    Call(Job());
    m_thread.join();
}

void FutexPeer::Call(const Job& job) {
    m_job = &job;
    Give(m_asked);
    Take(m_answered);
}

void FutexPeer::Give(Word& word) {
    word.value.store(1, std::memory_order_release);
    (void)syscall(SYS_futex, &word.value, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void FutexPeer::Take(Word& word) {
    while (word.value.load(std::memory_order_acquire) == 0) {
        (void)syscall(SYS_futex, &word.value, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
    word.value.store(0, std::memory_order_relaxed);  // the other side waits for our answer
}

void FutexPeer::Run() {
    bool running = true;
    while (running) {
        Take(m_asked);
        running = static_cast<bool>(*m_job);
        if (running) {
            (*m_job)();
        }
        Give(m_answered);
    }
}

}  // namespace vaxoengine
