// The reader-writer lock, and the class that lets a thread lock again: vaxolock.h.
#include <atomic>

#include "conformance/platform/Kit.h"
#include "conformance/platform/ReadWrite.h"
#include "vaxolock.h"

namespace conformance {
namespace {

void ReadersShare() {
    const ReadWrite lock;
    Flag inside[2];
    Together(2, [&](int number) {
        vaxorwlock_rdlock(lock);
        inside[number].Raise();
        inside[1 - number].Await("a second reader to come in beside the first");
        vaxorwlock_unlock(lock);
    });
}

void WriterAlone() {
    const ReadWrite lock;
    const int rounds = Rounds(2000);
    std::atomic<int> readers{0};
    std::atomic<int> writers{0};
    int first = 0;  // plain, both: equal unless a write is half done
    int second = 0;
    Together(4, [&](int number) {
        for (int round = 0; round < rounds; ++round) {
            if (number < 2) {
                vaxorwlock_wrlock(lock);
                Require(++writers == 1, "two writers were in at once");
                Require(readers == 0, "a writer came in beside a reader");
                ++first;
                ++second;
                --writers;
            } else {
                vaxorwlock_rdlock(lock);
                ++readers;
                Require(writers == 0, "a reader came in beside a writer");
                Require(first == second, "a reader saw a write half done");
                --readers;
            }
            vaxorwlock_unlock(lock);
        }
    });
    Require(first == 2 * rounds, "additions under the write lock were lost");
}

void WriterWaitsForAll() {
    for (int round = Rounds(200); round > 0; --round) {
        const ReadWrite lock;
        Flag reading[2];
        int left[2] = {0, 0};  // plain: the readers' unlock publishes them
        Together(3, [&](int number) {
            if (number < 2) {
                vaxorwlock_rdlock(lock);
                reading[number].Raise();
                reading[1 - number].Await("a second reader to come in beside the first");
                left[number] = 1;
                vaxorwlock_unlock(lock);
                return;
            }
            reading[0].Await("a reader to come in");
            reading[1].Await("a second reader to come in");
            WaitingFor("a writer to come in when the readers have left");
            vaxorwlock_wrlock(lock);
            Require(left[0] + left[1] == 2, "a writer came in before the last reader had left");
            vaxorwlock_unlock(lock);
        });
    }
}

void WaitersComeIn() {
    for (int round = Rounds(200); round > 0; --round) {
        const ReadWrite lock;
        Flag writing;
        int value = 0;
        Together(3, [&](int number) {
            if (number == 0) {
                vaxorwlock_wrlock(lock);
                writing.Raise();
                value = 7;
                vaxorwlock_unlock(lock);
                return;
            }
            writing.Await("a writer to come in");
            WaitingFor("waiting readers to come in when the writer has left");
            vaxorwlock_rdlock(lock);
            Require(value == 7, "a reader came in before the writer had left");
            vaxorwlock_unlock(lock);
        });
    }
}

void NullHandle() {
    vaxorwlock_rdlock(nullptr);
    vaxorwlock_wrlock(nullptr);
    vaxorwlock_unlock(nullptr);
    vaxorwlock_destroy(nullptr);
}

void ReadAgain() {
    for (int round = Rounds(300); round > 0; --round) {
        CVAXOLockRW lock;
        Flag reading;
        int done = 0;
        Together({[&] {
                      lock.LockRD();
                      reading.Raise();
                      WaitingFor("a reader to lock again while a writer may wait");
                      lock.LockRD();
                      lock.Unlock();
                      done = 1;
                      lock.Unlock();
                  },
                  [&] {
                      reading.Await("a reader to come in");
                      lock.LockRW();
                      Require(done == 1, "the first of two unlocks let the writer in");
                      lock.Unlock();
                  }});
    }
}

void WriteAgain() {
    CVAXOLockRW lock;
    const int rounds = Rounds(2000);
    int sum = 0;
    Together(3, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            lock.LockRW();
            lock.LockRD();  // counted: the write hold stays until its own unlock
            ++sum;
            lock.Unlock();
            ++sum;
            lock.Unlock();
            lock.Unlock();  // finds nothing and does nothing
        }
    });
    Require(sum == 3 * 2 * rounds, "additions under the write hold were lost");
}

}  // namespace

Cases ReadWriteCases() {
    return {
        {"rwlock/readers-share", "Many readers hold the lock at once.", needs_nothing,
         &ReadersShare},
        {"rwlock/writer-alone", "A writer holds the lock alone, and what it wrote is seen next.",
         needs_nothing, &WriterAlone},
        {"rwlock/writer-waits-for-all", "A writer waits until every reader has released.",
         needs_nothing, &WriterWaitsForAll},
        {"rwlock/waiters-come-in", "Waiting readers come in when the writer has left.",
         needs_nothing, &WaitersComeIn},
        {"rwlock/null-handle", "Every function takes a null handle and does nothing.",
         needs_nothing, &NullHandle},
        {"reentry/read-again", "A reader may read-lock a CVAXOLockRW again while a writer waits.",
         needs_nothing, &ReadAgain},
        {"reentry/write-again", "LockRD inside a write hold keeps it and has an Unlock of its own.",
         needs_nothing, &WriteAgain},
    };
}

}  // namespace conformance
