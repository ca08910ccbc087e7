// The tries of the reader-writer lock, and what can only be seen with them: vaxolock.h.
#include "conformance/platform/Kit.h"
#include "conformance/platform/ReadWrite.h"
#include "vaxolock.h"

namespace conformance {
namespace {

// Whether a thread of its own may read or write; it gives the lock back.
template <class Try>
bool OthersGet(hvaxolockrw lock, Try attempt) {
    bool got = false;
    Together(1, [&](int) {
        got = attempt(lock);
        if (got) {
            vaxorwlock_unlock(lock);
        }
    });
    return got;
}
bool OthersRead(hvaxolockrw lock) {
    return OthersGet(lock, &vaxorwlock_tryrdlock);
}
bool OthersWrite(hvaxolockrw lock) {
    return OthersGet(lock, &vaxorwlock_trywrlock);
}

void BesideAReader() {
    const ReadWrite lock;
    vaxorwlock_rdlock(lock);
    Require(OthersRead(lock), "beside a reader a try to read answered false");
    Require(!OthersWrite(lock), "beside a reader a try to write answered true");
    vaxorwlock_unlock(lock);
    Require(OthersWrite(lock), "the lock was free, and a try to write answered false");
}

void BesideAWriter() {
    const ReadWrite lock;
    vaxorwlock_wrlock(lock);
    Require(!OthersRead(lock), "beside a writer a try to read answered true");
    Require(!OthersWrite(lock), "beside a writer a try to write answered true");
    vaxorwlock_unlock(lock);
    Require(OthersRead(lock), "the lock was free, and a try to read answered false");
}

void Holds() {
    const ReadWrite lock;
    Require(vaxorwlock_tryrdlock(lock), "the lock was free, and a try to read answered false");
    Require(!OthersWrite(lock), "a successful try to read kept no writer out");
    vaxorwlock_unlock(lock);
    Require(vaxorwlock_trywrlock(lock), "the lock was free, and a try to write answered false");
    Require(!OthersRead(lock), "a successful try to write kept no reader out");
    vaxorwlock_unlock(lock);
    Require(OthersWrite(lock), "an unlock after a try left the lock held");
}

void NotUpgradable() {
    const ReadWrite lock;
    vaxorwlock_rdlock(lock);
    Require(!vaxorwlock_trywrlock(lock), "a reader was made a writer by a try");
    vaxorwlock_unlock(lock);
    vaxorwlock_wrlock(lock);
    Require(!vaxorwlock_trywrlock(lock), "a writer got the lock a second time by a try");
    Require(!vaxorwlock_tryrdlock(lock), "a writer got the lock for reading as well by a try");
    vaxorwlock_unlock(lock);
    Require(OthersWrite(lock), "one unlock after one lock left the lock held");
}

void NullHandleTries() {
    Require(!vaxorwlock_tryrdlock(nullptr), "a try to read a null handle answered true");
    Require(!vaxorwlock_trywrlock(nullptr), "a try to write a null handle answered true");
}

// One reader stays in, so that the lock is never free. Where readers pass a waiting writer
// this never ends.
void WriterNotStarved() {
    const ReadWrite lock;
    Flag reading;
    Flag heldBack;
    int written = 0;
    Together({[&] {
                  vaxorwlock_rdlock(lock);
                  reading.Raise();
                  Poll("a writer that waits to hold new readers back",
                       [&] { return !OthersRead(lock); });
                  heldBack.Raise();
                  vaxorwlock_unlock(lock);
              },
              [&] {
                  reading.Await("a reader to come in");
                  vaxorwlock_wrlock(lock);
                  written = 1;
                  vaxorwlock_unlock(lock);
              },
              [&] {
                  heldBack.Await("a writer that waits to hold new readers back");
                  vaxorwlock_rdlock(lock);
                  Require(written == 1, "a reader passed a writer that waited");
                  vaxorwlock_unlock(lock);
              }});
}

// Whether others can write a lock whose record knows them.
bool OthersWrite(CVAXOLockRW& lock) {
    bool got = false;
    Together(1, [&](int) {
        got = lock.TryLockWR();
        if (got) {
            lock.Unlock();
        }
    });
    return got;
}

void Counted() {
    CVAXOLockRW lock;
    lock.LockRD();
    lock.LockRD();
    lock.Unlock();
    Require(!OthersWrite(lock), "the first of two unlocks released the read lock");
    lock.Unlock();
    Require(OthersWrite(lock), "two unlocks after two LockRD left the lock held");
}

void NotCounted() {
    CVAXOLockRW lock;
    lock.LockRW();
    lock.LockRW();
    Require(!OthersWrite(lock), "two threads hold the write lock");
    lock.Unlock();
    Require(OthersWrite(lock), "LockRW inside a hold was counted: one Unlock left it held");
    lock.Unlock();
    Require(OthersWrite(lock), "an Unlock by a thread that holds nothing did something");
}

void StrangersUnlock() {
    CVAXOLockRW lock;
    lock.LockRW();
    Together(1, [&lock](int) { lock.Unlock(); });
    Require(!OthersWrite(lock), "a thread that holds nothing unlocked another thread's hold");
    lock.Unlock();
    Require(OthersWrite(lock), "the holder's Unlock left the lock held");
}

}  // namespace

Cases TryCases() {
    return {
        {"rwlock/try-beside-reader", "Beside a reader others may read and not write.", needs_tries,
         &BesideAReader},
        {"rwlock/try-beside-writer", "Beside a writer nobody may read or write.", needs_tries,
         &BesideAWriter},
        {"rwlock/try-holds", "A successful try holds the lock in its mode.", needs_tries, &Holds},
        {"rwlock/not-upgradable", "The lock is not recursive and a reader is not upgraded.",
         needs_tries, &NotUpgradable},
        {"rwlock/null-handle-tries", "The tries answer false for a null handle.", needs_tries,
         &NullHandleTries},
        {"rwlock/writer-not-starved", "A stream of readers does not starve a writer.",
         needs_tries | needs_clock, &WriterNotStarved},
        {"reentry/counted", "LockRD inside a hold needs an Unlock of its own.", needs_tries,
         &Counted},
        {"reentry/not-counted", "LockRW inside a hold is not counted.", needs_tries, &NotCounted},
        {"reentry/strangers-unlock", "Unlock by a thread that holds nothing does nothing.",
         needs_tries, &StrangersUnlock},
    };
}

}  // namespace conformance
