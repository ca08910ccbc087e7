// The mutex and its classes: vaxolock.h.
#include <atomic>

#include "conformance/platform/Kit.h"
#include "vaxolock.h"

namespace conformance {
namespace {

// A mutex by its functions, for the length of a case.
struct Mutex {
    Mutex() { vaxolock_init(&lock); }
    ~Mutex() { vaxolock_destroy(&lock); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    vaxolock_t lock = {};
};

// Whether a thread of its own gets the mutex by a try; it gives it back.
bool OthersGet(vaxolock_t* lock) {
    bool got = false;
    Together(1, [&got, lock](int) {
        got = vaxolock_trylock(lock);
        if (got) {
            vaxolock_unlock(lock);
        }
    });
    return got;
}

void OneHolder() {
    Mutex mutex;
    const int threads = 3;
    const int rounds = Rounds(5000);
    std::atomic<int> inside{0};
    int sum = 0;  // plain: the mutex alone keeps it whole
    Together(threads, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            vaxolock_lock(&mutex.lock);
            Require(++inside == 1, "two threads held the mutex at once, both by lock");
            ++sum;
            --inside;
            vaxolock_unlock(&mutex.lock);
        }
    });
    Require(sum == threads * rounds, "additions under the mutex were lost");
}

void TryAmongHolders() {
    Mutex mutex;
    const int rounds = Rounds(5000);
    std::atomic<int> inside{0};
    int sum = 0;
    int added[3] = {0, 0, 0};
    Together(3, [&](int number) {
        for (int round = 0; round < rounds; ++round) {
            if (number == 0) {
                vaxolock_lock(&mutex.lock);
            } else if (!vaxolock_trylock(&mutex.lock)) {
                continue;
            }
            Require(++inside == 1, "a try answered true while another thread held the mutex");
            ++sum;
            ++added[number];
            --inside;
            vaxolock_unlock(&mutex.lock);
        }
    });
    Require(sum == added[0] + added[1] + added[2], "additions under the mutex were lost");
}

void TryAnswers() {
    Mutex mutex;
    Require(vaxolock_trylock(&mutex.lock), "a try of a free mutex answered false");
    Require(!OthersGet(&mutex.lock), "a try answered true while another thread held the mutex");
    vaxolock_unlock(&mutex.lock);
    Require(OthersGet(&mutex.lock), "the mutex was unlocked, and a try answered false");
}

void NotRecursive() {
    Mutex mutex;
    vaxolock_lock(&mutex.lock);
    Require(!vaxolock_trylock(&mutex.lock), "a try by the thread that holds the mutex got it");
    vaxolock_unlock(&mutex.lock);
    Require(OthersGet(&mutex.lock), "one unlock after one lock left the mutex held");
}

void WaiterGoesOn() {
    for (int round = Rounds(300); round > 0; --round) {
        Mutex mutex;
        Flag held;
        bool written = false;  // plain: the unlock publishes it
        Together({[&] {
                      vaxolock_lock(&mutex.lock);
                      held.Raise();
                      written = true;
                      vaxolock_unlock(&mutex.lock);
                  },
                  [&] {
                      held.Await("a thread to lock a free mutex");
                      WaitingFor("a waiter to get the mutex that was unlocked");
                      vaxolock_lock(&mutex.lock);
                      Require(written, "the waiter came in before the holder had unlocked");
                      vaxolock_unlock(&mutex.lock);
                  }});
    }
}

void MadeAgain() {
    vaxolock_t lock = {};
    for (int i = 0; i < 3; ++i) {
        vaxolock_init(&lock);
        vaxolock_lock(&lock);
        vaxolock_unlock(&lock);
        vaxolock_destroy(&lock);
    }
}

void Separate() {
    Mutex first;
    Mutex second;
    vaxolock_lock(&first.lock);
    Require(vaxolock_trylock(&second.lock), "holding one mutex kept its thread out of another");
    vaxolock_unlock(&first.lock);
    Require(!OthersGet(&second.lock), "unlocking one mutex unlocked another");
    vaxolock_unlock(&second.lock);
}

void GuardHolds() {
    CVAXOLock lock;
    const auto others = [&lock] {
        bool got = false;
        Together(1, [&](int) {
            got = lock.Try();
            if (got) {
                lock.Unlock();
            }
        });
        return got;
    };
    {
        const CVAXOAutolock guard(lock);
        Require(!others(), "another thread got the mutex inside the guard's scope");
    }
    Require(others(), "the mutex was still held after the guard's scope");
}

}  // namespace

Cases LockCases() {
    return {
        {"mutex/one-holder", "One thread at a time holds a mutex, and what it wrote is seen next.",
         needs_nothing, &OneHolder},
        {"mutex/try-answers", "A try answers true when it locked, false when the mutex is held.",
         needs_nothing, &TryAnswers},
        {"mutex/try-among-holders", "A successful try excludes like a lock.", needs_nothing,
         &TryAmongHolders},
        {"mutex/not-recursive", "A mutex is not recursive: its holder's try answers false.",
         needs_nothing, &NotRecursive},
        {"mutex/waiter-goes-on", "Who waits for a mutex gets it after the unlock, not before.",
         needs_nothing, &WaiterGoesOn},
        {"mutex/made-again", "A mutex can be initialised again after it was destroyed.",
         needs_nothing, &MadeAgain},
        {"mutex/separate", "Two mutexes have nothing to do with each other.", needs_nothing,
         &Separate},
        {"mutex/guard", "A guard holds its mutex to the end of its scope.", needs_nothing,
         &GuardHolds},
    };
}

}  // namespace conformance
