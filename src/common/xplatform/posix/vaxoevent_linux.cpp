#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

#include "vaxodeadline.h"
#include "vaxoevent.h"

// An event in one word, with a futex to sleep on: bit 0 says that it is signalled, the other
// bits count those who sleep or are about to.
//
// Every change is one read-modify-write of the word. A signaller's is its last touch of the
// event: whether somebody must be woken stands in what it replaced, and the wake-up that may
// follow uses the address as a name alone. So a waiter may free the event as soon as it finds
// the signal. At worst the late wake-up reaches another word at the same address, where a
// sleeper looks, finds nothing and sleeps on.
//
// A wake-up is never lost: a sleeper counts itself in before it sleeps, and the system puts it
// to sleep only while the word is what it saw. A signal that finds the event signalled wakes
// nobody: that of the signal before is on its way, or nobody slept.
//
// Memory order: setting the signal is a release, finding it an acquire. The changes of the
// count in between are read-modify-writes too and keep the release sequence whole.
struct vaxoevent_t {
    std::atomic<uint32> word;
    const bool autoreset;
};

namespace {

typedef std::atomic<uint32> Word;
static_assert(sizeof(Word) == sizeof(uint32) && Word::is_always_lock_free,
              "the system looks at the word itself");

constexpr uint32 kSignaled = 1;
constexpr uint32 kSleeper = 2;

// 32-bit systems whose time is longer than their words have a call of its own.
constexpr long FutexCall() {
#if defined(SYS_futex_time64)
    return sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
    return SYS_futex;
#endif
}

// Sleeps while the word is `seen`, to the deadline if there is one. False when that is over.
bool Sleep(Word& word, uint32 seen, const timespec* deadline) {
    const int operation = FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG;  // until a point in time
    const long status =
        syscall(FutexCall(), &word, operation, seen, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    if (status == 0 || errno == EAGAIN || errno == EINTR) {
        return true;
    }
    if (errno != ETIMEDOUT) {
        std::abort();  // see vaxoposix_must
    }
    return false;
}

void Wake(Word& word, int sleepers) {
    // The event may be gone: then the address is not one, or somebody else's.
    static_cast<void>(syscall(FutexCall(), &word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, sleepers,
                              nullptr, nullptr, 0));
}

// Takes the signal of an event that is signalled, and `counted` off the count with it. False,
// with the word as it is now in `seen`, when it is not.
bool Take(hvaxoevent event, uint32& seen, uint32 counted) {
    const uint32 used = counted + (event->autoreset ? kSignaled : 0);
    while ((seen & kSignaled) != 0) {
        // A relaxed success would do where nothing changes, but it must acquire all the same.
        if (event->word.compare_exchange_weak(seen, seen - used, std::memory_order_acquire,
                                              std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

bool Wait(hvaxoevent event, const timespec* deadline) {
    Word& word = event->word;
    uint32 seen = word.load(std::memory_order_relaxed);
    do {
        if (Take(event, seen, 0)) {
            return true;
        }
    } while (!word.compare_exchange_weak(seen, seen + kSleeper, std::memory_order_relaxed));
    seen += kSleeper;
    for (;;) {
        const bool inTime = Sleep(word, seen, deadline);
        seen = word.load(std::memory_order_relaxed);
        if (Take(event, seen, kSleeper)) {
            return true;
        }
        if (!inTime) {
            // A signal that comes now is taken: it may have been meant for this sleeper.
            while (!word.compare_exchange_weak(seen, seen - kSleeper, std::memory_order_relaxed)) {
                if (Take(event, seen, kSleeper)) {
                    return true;
                }
            }
            return false;
        }
    }
}

}  // namespace

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    return new vaxoevent_t{{signaled != 0 ? kSignaled : 0}, autoreset != 0};
}

void vaxoevent_wait(hvaxoevent event) {
    if (event != nullptr) {
        Wait(event, nullptr);
    }
}

bool vaxoevent_timedwait(hvaxoevent event, int64 milliseconds) {
    if (event == nullptr) {
        return false;
    }
    if (milliseconds == 0) {
        uint32 seen = event->word.load(std::memory_order_relaxed);
        return Take(event, seen, 0);
    }
    timespec deadline = {};
    const bool hasEnd = milliseconds > 0 && vaxodeadline_in(milliseconds, deadline);
    return Wait(event, hasEnd ? &deadline : nullptr);
}

void vaxoevent_signal(hvaxoevent event) {
    if (event == nullptr) {
        return;
    }
    const int sleepers = event->autoreset ? 1 : INT_MAX;
    Word& word = event->word;
    const uint32 former = word.fetch_or(kSignaled, std::memory_order_release);
    if (former >= kSleeper && (former & kSignaled) == 0) {
        Wake(word, sleepers);
    }
}

void vaxoevent_reset(hvaxoevent event) {
    if (event != nullptr) {
        event->word.fetch_and(~kSignaled, std::memory_order_relaxed);
    }
}

bool vaxoevent_issignaled(hvaxoevent event) {
    return event != nullptr && (event->word.load(std::memory_order_acquire) & kSignaled) != 0;
}

void vaxoevent_destory(hvaxoevent event) {
    delete event;
}
