// The platform's mutex and reader-writer lock, on real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "threadtools.h"
#include "vaxolock.h"
#include "vaxothread.h"

namespace {

class Mutex : public testing::Test {
protected:
    Mutex() : lock() { vaxolock_init(&lock); }
    ~Mutex() override { vaxolock_destroy(&lock); }

    vaxolock_t lock;
};

class RWLock : public testing::Test {
protected:
    RWLock() : lock(vaxorwlock_alloc()) {}
    ~RWLock() override { vaxorwlock_destroy(lock); }

    hvaxolockrw lock;

    bool OthersMayRead() {
        return OnAnotherThread([this] {
            if (!vaxorwlock_tryrdlock(lock)) {
                return false;
            }
            vaxorwlock_unlock(lock);
            return true;
        });
    }

    bool OthersMayWrite() {
        return OnAnotherThread([this] {
            if (!vaxorwlock_trywrlock(lock)) {
                return false;
            }
            vaxorwlock_unlock(lock);
            return true;
        });
    }
};

typedef Mutex VaxoLockPosix;
typedef RWLock VaxoRWLockPosix;

}  // namespace

TEST_F(VaxoLockPosix, AHeldMutexRefusesATry) {
    vaxolock_lock(&lock);
    EXPECT_FALSE(OnAnotherThread([this] { return vaxolock_trylock(&lock); }));
    EXPECT_FALSE(vaxolock_trylock(&lock));
    vaxolock_unlock(&lock);
}

TEST_F(VaxoLockPosix, ATryTakesAFreeMutex) {
    ASSERT_TRUE(vaxolock_trylock(&lock));
    EXPECT_FALSE(OnAnotherThread([this] { return vaxolock_trylock(&lock); }));
    vaxolock_unlock(&lock);
    ASSERT_TRUE(vaxolock_trylock(&lock));
    vaxolock_unlock(&lock);
}

TEST_F(VaxoLockPosix, NothingDoneUnderTheLockIsLost) {
    const int threads = 4;
    const int rounds = 5000;
    int count = 0;  // plain: the lock is all that keeps it together
    Threads workers(threads, [this, &count](int) {
        for (int round = 0; round < rounds; ++round) {
            vaxolock_lock(&lock);
            ++count;
            vaxolock_unlock(&lock);
        }
    });
    workers.Join();
    EXPECT_EQ(threads * rounds, count);
}

TEST_F(VaxoLockPosix, AMutexCanBeMadeAgainAfterItsDestruction) {
    vaxolock_destroy(&lock);
    vaxolock_init(&lock);
    ASSERT_TRUE(vaxolock_trylock(&lock));
    vaxolock_unlock(&lock);
}

#if !defined(NDEBUG)
TEST_F(VaxoLockPosix, LockingTwiceEndsADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            vaxolock_lock(&lock);
            vaxolock_lock(&lock);
        },
        "");
}
#endif

TEST_F(VaxoRWLockPosix, TwoReadersAreInsideAtOnce) {
    Rendezvous inside(2);
    std::thread other([this, &inside] {
        vaxorwlock_rdlock(lock);
        inside.Meet();
        vaxorwlock_unlock(lock);
    });
    vaxorwlock_rdlock(lock);
    inside.Meet();
    vaxorwlock_unlock(lock);
    other.join();
}

TEST_F(VaxoRWLockPosix, AWriterKeepsEverybodyElseOut) {
    vaxorwlock_wrlock(lock);
    EXPECT_FALSE(OthersMayRead());
    EXPECT_FALSE(OthersMayWrite());
    vaxorwlock_unlock(lock);
    EXPECT_TRUE(OthersMayRead());
    EXPECT_TRUE(OthersMayWrite());
}

TEST_F(VaxoRWLockPosix, AReaderKeepsWritersOutAndReadersNot) {
    vaxorwlock_rdlock(lock);
    EXPECT_TRUE(OthersMayRead());
    EXPECT_FALSE(OthersMayWrite());
    vaxorwlock_unlock(lock);
    EXPECT_TRUE(OthersMayWrite());
}

TEST_F(VaxoRWLockPosix, ASuccessfulTryHoldsTheLock) {
    ASSERT_TRUE(vaxorwlock_tryrdlock(lock));
    EXPECT_FALSE(OthersMayWrite());
    vaxorwlock_unlock(lock);

    ASSERT_TRUE(vaxorwlock_trywrlock(lock));
    EXPECT_FALSE(OthersMayRead());
    vaxorwlock_unlock(lock);
}

TEST_F(VaxoRWLockPosix, AWriterWaitsForTheLastOfSeveralReaders) {
    Rendezvous reading(2);
    Rendezvous go(2);
    std::thread other([this, &reading, &go] {
        vaxorwlock_rdlock(lock);
        reading.Meet();
        go.Meet();
        vaxorwlock_unlock(lock);
    });
    vaxorwlock_rdlock(lock);
    reading.Meet();
    vaxorwlock_unlock(lock);
    EXPECT_FALSE(OthersMayWrite());
    go.Meet();
    other.join();
    EXPECT_TRUE(OthersMayWrite());
}

TEST_F(VaxoRWLockPosix, AWaitingWriterComesInOnlyWhenTheReaderIsGone) {
    bool reader_gone = false;  // plain: written by the reader, read by the writer
    std::atomic<vaxothread_id> id(0);
    vaxorwlock_rdlock(lock);
    bool seen = false;
    std::thread writer([this, &id, &reader_gone, &seen] {
        id = vaxothread_selfid();
        vaxorwlock_wrlock(lock);
        seen = reader_gone;
        vaxorwlock_unlock(lock);
    });
    AwaitBlocked(AwaitId(id));
    reader_gone = true;
    vaxorwlock_unlock(lock);
    writer.join();
    EXPECT_TRUE(seen);
}

TEST_F(VaxoRWLockPosix, ReadersNeverSeeAHalfDoneWrite) {
    const int rounds = 2000;
    int first = 0;
    int second = 0;
    bool torn = false;
    Threads writers(2, [this, &first, &second](int) {
        for (int round = 0; round < rounds; ++round) {
            vaxorwlock_wrlock(lock);
            ++first;
            ++second;
            vaxorwlock_unlock(lock);
        }
    });
    for (int round = 0; round < rounds; ++round) {
        vaxorwlock_rdlock(lock);
        torn = torn || first != second;
        vaxorwlock_unlock(lock);
    }
    writers.Join();
    EXPECT_FALSE(torn);
    EXPECT_EQ(2 * rounds, first);
}

// One reader stays inside while others come and go, so that the lock is never
// free. Where readers may pass a waiting writer this could go on for ever, and
// here to the last visit; where they may not, the stream dries up with the first
// reader that comes after the writer. The number of visits is generous: it leaves
// a writer that has not got a processor yet the time to begin waiting.
TEST_F(VaxoRWLockPosix, AStreamOfReadersDoesNotStarveAWriter) {
    const int most_visits = 10000;
    bool written = false;
    std::atomic<vaxothread_id> id(0);
    vaxorwlock_rdlock(lock);
    std::thread writer([this, &id, &written] {
        id = vaxothread_selfid();
        vaxorwlock_wrlock(lock);
        written = true;
        vaxorwlock_unlock(lock);
    });
    AwaitBlocked(AwaitId(id));
    int visits = 0;
    while (visits < most_visits && OthersMayRead()) {
        ++visits;
    }
    EXPECT_LT(visits, most_visits);

    bool seen = false;
    std::thread late([this, &written, &seen] {
        vaxorwlock_rdlock(lock);
        seen = written;
        vaxorwlock_unlock(lock);
    });
    vaxorwlock_unlock(lock);
    writer.join();
    late.join();
    EXPECT_TRUE(seen) << "a reader came in before the writer that waited longer";
}

TEST_F(VaxoRWLockPosix, WaitingReadersComeInWhenTheWriterLeaves) {
    int value = 0;
    int seen[3] = {0, 0, 0};
    std::atomic<int> waiting(0);
    vaxorwlock_wrlock(lock);
    Threads readers(3, [this, &value, &waiting, &seen](int number) {
        ++waiting;
        vaxorwlock_rdlock(lock);
        seen[number] = value;
        vaxorwlock_unlock(lock);
    });
    while (waiting != 3) {
        std::this_thread::yield();
    }
    value = 7;
    vaxorwlock_unlock(lock);
    readers.Join();
    for (const int mine : seen) {
        EXPECT_EQ(7, mine);
    }
}

TEST_F(VaxoRWLockPosix, EachLockIsALockOfItsOwn) {
    vaxorwlock_t* const second = vaxorwlock_alloc();
    ASSERT_NE(nullptr, second);
    EXPECT_NE(lock, second);
    vaxorwlock_wrlock(lock);
    EXPECT_TRUE(vaxorwlock_trywrlock(second));
    vaxorwlock_unlock(second);
    vaxorwlock_unlock(lock);
    vaxorwlock_destroy(second);
}

TEST(VaxoRWLockPosixHandle, ANullHandleIsTakenAndDoesNothing) {
    vaxorwlock_rdlock(nullptr);
    vaxorwlock_wrlock(nullptr);
    vaxorwlock_unlock(nullptr);
    vaxorwlock_destroy(nullptr);
    EXPECT_FALSE(vaxorwlock_tryrdlock(nullptr));
    EXPECT_FALSE(vaxorwlock_trywrlock(nullptr));
}

// The class on top needs the ids of this layer and its locks; here they meet.
TEST(VaxoLockRWOnPosix, AReaderMayReadAgainWhileAWriterWaits) {
    CVAXOLockRW both;
    std::atomic<vaxothread_id> id(0);
    both.LockRD();
    std::thread writer([&both, &id] {
        id = vaxothread_selfid();
        both.LockRW();
        both.Unlock();
    });
    AwaitBlocked(AwaitId(id));
    both.LockRD();
    both.Unlock();
    both.Unlock();
    writer.join();
}
