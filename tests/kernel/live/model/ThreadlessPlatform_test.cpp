// The platform without threads: what would hang or break with real ones is written down.
#include "kernel/live/model/ThreadlessPlatform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utils/VaxoQueueRunner.h"
#include "vaxoevent.h"
#include "vaxolock.h"
#include "vaxothread.h"

namespace {

using threadless::As;
using threadless::TakeFailures;
typedef std::vector<std::string> Texts;

class ThreadlessPlatform : public ::testing::Test {
protected:
    ThreadlessPlatform() { TakeFailures(); }
    ~ThreadlessPlatform() override {
        EXPECT_EQ(TakeFailures(), Texts());
        EXPECT_EQ(threadless::MutexesHeld(), 0);
        EXPECT_EQ(threadless::RwLocksHeld(), 0);
        EXPECT_EQ(threadless::EventsAlive(), 0);
    }
};

}  // namespace

TEST_F(ThreadlessPlatform, AMutexThatIsHeldCannotBeLocked) {
    CVAXOLock lock;
    lock.Lock();
    EXPECT_FALSE(lock.Try());
    EXPECT_EQ(threadless::MutexesHeld(), 1);
    lock.Lock();
    EXPECT_EQ(TakeFailures(), Texts{"platform: locks a mutex that A holds, by A"});
    {
        const As other('E');
        lock.Unlock();
        EXPECT_EQ(TakeFailures(), Texts{"platform: unlocks the mutex of A, by E"});
    }
    lock.Unlock();
    EXPECT_TRUE(lock.Try());
    lock.Unlock();
}

TEST_F(ThreadlessPlatform, AFreeMutexCannotBeUnlocked) {
    CVAXOLock lock;
    lock.Unlock();
    EXPECT_EQ(TakeFailures(), Texts{"platform: unlocks a free mutex, by A"});
}

TEST_F(ThreadlessPlatform, AMutexIsDestroyedFree) {
    {
        CVAXOLock lock;
        lock.Lock();
    }
    EXPECT_EQ(TakeFailures(), Texts{"platform: destroys a locked mutex, by A"});
}

TEST_F(ThreadlessPlatform, AWriterDoesNotComeInBesideAReaderOfAnotherThread) {
    CVAXOLockRW lock;
    lock.LockRD();
    const As other('E');
    lock.LockRD();
    EXPECT_EQ(TakeFailures(), Texts());
    {
        const As third('2');
        lock.LockRW();
        EXPECT_EQ(TakeFailures(), Texts{"platform: a writer would wait for A, by 2"});
        lock.Unlock();  // as if it had it
        EXPECT_EQ(TakeFailures().size(), 1U);
    }
    lock.Unlock();
    const As reader('A');
    lock.Unlock();
}

TEST_F(ThreadlessPlatform, AReaderDoesNotComeInBesideAWriter) {
    hvaxolockrw lock = vaxorwlock_alloc();
    vaxorwlock_wrlock(lock);
    EXPECT_FALSE(vaxorwlock_tryrdlock(lock));
    EXPECT_FALSE(vaxorwlock_trywrlock(lock));
    {
        const As other('E');
        vaxorwlock_rdlock(lock);
        EXPECT_EQ(TakeFailures(), Texts{"platform: a reader would wait for the writer A, by E"});
        vaxorwlock_unlock(lock);
        EXPECT_EQ(TakeFailures(),
                  Texts{"platform: unlocks a reader-writer lock that it does not hold, by E"});
    }
    vaxorwlock_unlock(lock);
    vaxorwlock_rdlock(lock);
    vaxorwlock_rdlock(lock);
    EXPECT_EQ(TakeFailures(), Texts{"platform: read-locks a lock twice, by A"});
    vaxorwlock_destroy(lock);
    EXPECT_EQ(TakeFailures(),
              Texts{"platform: destroys a reader-writer lock that somebody holds, by A"});
}

TEST_F(ThreadlessPlatform, AWorkerRunsItsCallsOneByOneAsItself) {
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    Texts seen;
    const auto see = [&] { seen.emplace_back(1, static_cast<char>(vaxothread_selfid())); };
    runner->AsyncRun(see, 0);
    runner->AsyncRun(see, 2);
    runner->AsyncRun(see, 0);
    EXPECT_EQ(threadless::Pending(0), 2U);
    EXPECT_TRUE(threadless::RunOne(2));
    EXPECT_FALSE(threadless::RunOne(2));
    EXPECT_TRUE(threadless::RunOne(0));
    EXPECT_EQ(seen, (Texts{"2", "0"}));
    EXPECT_TRUE(threadless::RunOne(0));
    EXPECT_EQ(vaxothread_selfid(), 'A');
}

TEST_F(ThreadlessPlatform, ASyncRunRunsWhatWaitsBeforeIt) {
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    Texts seen;
    runner->AsyncRun([&] { seen.emplace_back("first"); }, 0);
    runner->SyncRun([&] { seen.emplace_back("second"); }, 0);
    EXPECT_EQ(seen, (Texts{"first", "second"}));
    EXPECT_EQ(threadless::Pending(0), 0U);
}

TEST_F(ThreadlessPlatform, AWaitThatNobodyEndsIsStuck) {
    hvaxoevent event = vaxoevent_create(1, 0);
    vaxoevent_wait(event);
    EXPECT_EQ(TakeFailures(), Texts{"platform: stuck: a wait that no call ends, by A"});
    vaxoevent_signal(event);
    vaxoevent_wait(event);
    EXPECT_FALSE(vaxoevent_issignaled(event));
    vaxoevent_destory(event);
}

TEST_F(ThreadlessPlatform, AWaitForAWorkerThatIsInsideACallIsStuck) {
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    bool ran = false;
    runner->AsyncRun(
        [&] {
            EXPECT_TRUE(threadless::Busy(0));
            const As other('a');
            runner->SyncRun([&] { ran = true; }, 0);
        },
        0);
    EXPECT_TRUE(threadless::RunOne(0));
    EXPECT_FALSE(ran);
    EXPECT_EQ(TakeFailures(), Texts{"platform: stuck: worker 0, which is to end this wait, is "
                                    "inside a call, by a"});
    EXPECT_FALSE(threadless::RunOne(0));
}

TEST_F(ThreadlessPlatform, ACallQueuedUnderAMutexIsAFailure) {
    CVAXOLock lock;
    {
        const CVAXOAutolock guard(lock);
        CVaxoQueueRunner::GetSharedInstance()->AsyncRun([] {}, 2);
    }
    EXPECT_EQ(TakeFailures(), Texts{"platform: a call is queued under a mutex, by A"});
    EXPECT_TRUE(threadless::RunOne(2));
}
