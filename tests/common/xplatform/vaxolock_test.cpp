// The lock classes over a platform layer that writes down its calls. Several
// threads are played by one, so that every row of the re-entry rules is exact.
#include "vaxolock.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "support/CountingLocks.h"
#include "support/PrivateAccess.h"

namespace {

using counting_locks::BecomeThread;
using counting_locks::TakeCalls;

typedef std::vector<std::string> Calls;

// What every entry to the record costs, and nothing more.
const Calls kRecordOnly = {"lock", "unlock"};

// kRecordOnly, then one call with the record's mutex free again.
Calls RecordThen(const char* call) {
    return {"lock", "unlock", call};
}

struct Handle {
    typedef hvaxolockrw CVAXOLockRW::*type;
};
struct Guard {
    typedef CVAXOLock CVAXOLockRW::*type;
};
struct Record {
    typedef CMapThreadId2Count CVAXOLockRW::*type;
};
struct IsLocked {
    typedef bool (CVAXOLockRW::*type)(unsigned char);
};
struct IsNeedUnLock {
    typedef bool (CVAXOLockRW::*type)();
};
struct Mutex {
    typedef vaxolock_t CVAXOLock::*type;
};

}  // namespace

template struct PrivateAccess<Handle, &CVAXOLockRW::m_hlock>;
template struct PrivateAccess<Guard, &CVAXOLockRW::m_lockformap>;
template struct PrivateAccess<Record, &CVAXOLockRW::m_mapThreadId2Count>;
template struct PrivateAccess<IsLocked, &CVAXOLockRW::IsLocked>;
template struct PrivateAccess<IsNeedUnLock, &CVAXOLockRW::IsNeedUnLock>;
template struct PrivateAccess<Mutex, &CVAXOLock::m_lock>;

namespace {

class VaxoLock : public testing::Test {
protected:
    void SetUp() override { counting_locks::Reset(); }
    void TearDown() override { EXPECT_EQ(counting_locks::Misuses(), 0); }
};

class VaxoLockRW : public VaxoLock {
protected:
    void SetUp() override {
        VaxoLock::SetUp();
        m_lock = std::make_unique<CVAXOLockRW>();
        TakeCalls();
    }
    void TearDown() override {
        m_lock.reset();
        EXPECT_EQ(counting_locks::LiveRWLocks(), 0);
        VaxoLock::TearDown();
    }

    // How many holds of the thread are recorded; 0 when it is not in the record.
    static uint32 Count(CVAXOLockRW& lock, int32 thread) {
        CMapThreadId2Count& record = Private<Record>(lock);
        const CMapThreadId2Count::iterator entry = record.find(thread);
        return entry == record.end() ? 0 : entry->second;
    }
    uint32 Count(int32 thread) { return Count(*m_lock, thread); }
    uint32 Holders() { return Private<Record>(*m_lock).size(); }

    std::unique_ptr<CVAXOLockRW> m_lock;
};

}  // namespace

TEST_F(VaxoLock, AMutexIsInitialisedLockedUnlockedAndDestroyedOnce) {
    {
        CVAXOLock lock;
        lock.Lock();
        lock.Unlock();
    }
    EXPECT_EQ(TakeCalls(), Calls({"init", "lock", "unlock", "destroy"}));
}

TEST_F(VaxoLock, AMutexIsThePlatformMutexAlone) {
    CVAXOLock lock;
    EXPECT_EQ(sizeof(lock), sizeof(vaxolock_t));
    EXPECT_EQ(static_cast<void*>(&Private<Mutex>(lock)), static_cast<void*>(&lock));
    static_assert(std::is_same<vaxolock_t, pthread_mutex_t>::value);
}

TEST_F(VaxoLock, TryLocksAFreeMutexAndLeavesAHeldOne) {
    CVAXOLock lock;
    EXPECT_TRUE(lock.Try());
    EXPECT_FALSE(lock.Try());
    lock.Unlock();
    EXPECT_TRUE(lock.Try());
    lock.Unlock();
}

TEST_F(VaxoLock, AGuardLocksAtItsBeginningAndUnlocksAtItsEnd) {
    CVAXOLock lock;
    TakeCalls();
    {
        const CVAXOAutolock guard(lock);
        EXPECT_EQ(TakeCalls(), Calls({"lock"}));
    }
    EXPECT_EQ(TakeCalls(), Calls({"unlock"}));
}

TEST_F(VaxoLock, NoLockCanBeCopiedOrMoved) {
    static_assert(!std::is_copy_constructible<CVAXOLock>::value);
    static_assert(!std::is_copy_assignable<CVAXOLock>::value);
    static_assert(!std::is_move_constructible<CVAXOLock>::value);
    static_assert(!std::is_copy_constructible<CVAXOAutolock>::value);
    static_assert(!std::is_copy_assignable<CVAXOAutolock>::value);
    static_assert(!std::is_move_constructible<CVAXOAutolock>::value);
    static_assert(!std::is_copy_constructible<CVAXOLockRW>::value);
    static_assert(!std::is_copy_assignable<CVAXOLockRW>::value);
    static_assert(!std::is_move_constructible<CVAXOLockRW>::value);
    static_assert(!std::is_convertible<CVAXOLock&, CVAXOAutolock>::value, "a guard has a name");
    static_assert(std::is_same<CMapThreadId2Count, vaxostl::map<int32, uint32>>::value);
}

TEST_F(VaxoLock, AReaderWriterLockInitialisesItsMutexBeforeItAllocates) {
    const CVAXOLockRW lock;
    EXPECT_EQ(TakeCalls(), Calls({"init", "alloc"}));
    EXPECT_EQ(counting_locks::LiveRWLocks(), 1);
}

TEST_F(VaxoLockRW, HandleMutexAndRecordStandInThisOrder) {
    const std::less<> before;
    const void* const handle = &Private<Handle>(*m_lock);
    const void* const guard = &Private<Guard>(*m_lock);
    const void* const record = &Private<Record>(*m_lock);
    EXPECT_EQ(handle, m_lock.get());
    EXPECT_TRUE(before(handle, guard));
    EXPECT_TRUE(before(guard, record));
}

TEST_F(VaxoLockRW, DestructionDestroysTheHandleClearsItAndThenDestroysTheMutex) {
    m_lock->LockRD();
    m_lock->Unlock();
    TakeCalls();
    const hvaxolockrw* const handle = &Private<Handle>(*m_lock);
    ASSERT_NE(*handle, nullptr);
    int destroyed = 0;
    counting_locks::OnMutexDestroy([&] {  // the last step; the handle is still a member
        ++destroyed;
        EXPECT_EQ(*handle, nullptr);
        EXPECT_EQ(counting_locks::LiveRWLocks(), 0);
    });
    m_lock.reset();
    EXPECT_EQ(TakeCalls(), Calls({"rwdestroy", "destroy"}));
    EXPECT_EQ(destroyed, 1);
}

TEST_F(VaxoLockRW, LockRDOfAThreadThatHoldsNothingRecordsOneHoldThenTakesTheReadLock) {
    m_lock->LockRD();
    EXPECT_EQ(TakeCalls(), RecordThen("rdlock"));
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, LockRWOfAThreadThatHoldsNothingRecordsOneHoldThenTakesTheWriteLock) {
    m_lock->LockRW();
    EXPECT_EQ(TakeCalls(), RecordThen("wrlock"));
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, ASecondLockRDIsCountedAndNeedsAnUnlockOfItsOwn) {
    m_lock->LockRD();
    TakeCalls();
    m_lock->LockRD();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 2u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, LockRWInsideAReadIsNotCountedAndItsUnlockReleasesTheLock) {
    m_lock->LockRD();
    TakeCalls();
    m_lock->LockRW();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Holders(), 0u);
    m_lock->Unlock();  // the outer one finds nothing
    EXPECT_EQ(TakeCalls(), kRecordOnly);
}

TEST_F(VaxoLockRW, LockRWInsideAWriteIsNotCountedAndItsUnlockReleasesTheLock) {
    m_lock->LockRW();
    m_lock->LockRW();
    EXPECT_EQ(Count(1), 1u);
    TakeCalls();
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
}

TEST_F(VaxoLockRW, LockRDInsideAWriteIsCountedAndKeepsTheWriteHold) {
    m_lock->LockRW();
    TakeCalls();
    m_lock->LockRD();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 2u);
    m_lock->Unlock();
    BecomeThread(2);
    EXPECT_FALSE(m_lock->TryLockRD());  // still written
    BecomeThread(1);
    TakeCalls();
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
}

TEST_F(VaxoLockRW, TheUnlockAfterAnUncountedLockRWTakesAwayAnEarlierHold) {
    m_lock->LockRD();
    m_lock->LockRD();
    m_lock->LockRW();
    EXPECT_EQ(Count(1), 2u);
    TakeCalls();
    m_lock->Unlock();  // of LockRW
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();  // of the second LockRD, and the lock is free
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    m_lock->Unlock();  // of the first
    EXPECT_EQ(TakeCalls(), kRecordOnly);
}

TEST_F(VaxoLockRW, AReaderThatAsksForWritingKeepsItsReadHold) {
    BecomeThread(2);
    m_lock->LockRD();
    BecomeThread(1);
    m_lock->LockRD();
    m_lock->LockRW();  // not upgraded: the other reader stays in, a third comes in
    BecomeThread(3);
    EXPECT_TRUE(m_lock->TryLockRD());
    EXPECT_EQ(Holders(), 3u);
    for (const int32 thread : {1, 2, 3}) {
        BecomeThread(thread);
        m_lock->Unlock();
    }
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, UnlockOfAThreadThatHoldsNothingDoesNothing) {
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    m_lock->LockRW();
    TakeCalls();
    BecomeThread(2);
    m_lock->Unlock();  // somebody else's hold
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    EXPECT_EQ(Count(1), 1u);
    EXPECT_EQ(Count(2), 0u);
    BecomeThread(1);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
}

TEST_F(VaxoLockRW, EveryReadingThreadTakesAndReleasesThePlatformLockForItself) {
    for (const int32 thread : {7, -3, 0}) {
        BecomeThread(thread);
        m_lock->LockRD();
        m_lock->LockRD();
    }
    EXPECT_EQ(Holders(), 3u);
    TakeCalls();
    for (const int32 thread : {-3, 0, 7}) {
        BecomeThread(thread);
        EXPECT_EQ(Count(thread), 2u);
        m_lock->Unlock();
        EXPECT_EQ(TakeCalls(), kRecordOnly);
        m_lock->Unlock();
        EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
        EXPECT_EQ(Count(thread), 0u);
    }
}

TEST_F(VaxoLockRW, TwoLocksKeepSeparateRecords) {
    CVAXOLockRW other;
    m_lock->LockRW();
    TakeCalls();
    other.LockRW();
    EXPECT_EQ(TakeCalls(), RecordThen("wrlock"));
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Count(other, 1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    other.Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
}

TEST_F(VaxoLockRW, IsLockedCountsOnlyWhenAskedTo) {
    EXPECT_FALSE(Private<IsLocked>(*m_lock, 0));  // recorded whatever the flag
    EXPECT_EQ(Count(1), 1u);
    EXPECT_TRUE(Private<IsLocked>(*m_lock, 0));
    EXPECT_EQ(Count(1), 1u);
    EXPECT_TRUE(Private<IsLocked>(*m_lock, 1));
    EXPECT_EQ(Count(1), 2u);
    EXPECT_TRUE(Private<IsLocked>(*m_lock, 255));
    EXPECT_EQ(Count(1), 3u);
    BecomeThread(2);
    EXPECT_FALSE(Private<IsLocked>(*m_lock, 1));
    EXPECT_EQ(Count(2), 1u);
}

TEST_F(VaxoLockRW, IsNeedUnLockIsTrueForTheLastHoldAlone) {
    EXPECT_FALSE(Private<IsNeedUnLock>(*m_lock));
    Private<IsLocked>(*m_lock, 1);
    Private<IsLocked>(*m_lock, 1);
    EXPECT_FALSE(Private<IsNeedUnLock>(*m_lock));
    EXPECT_EQ(Count(1), 1u);
    EXPECT_TRUE(Private<IsNeedUnLock>(*m_lock));
    EXPECT_EQ(Holders(), 0u);
    EXPECT_FALSE(Private<IsNeedUnLock>(*m_lock));
}

TEST_F(VaxoLockRW, ASuccessfulTryRecordsTheHoldLikeALock) {
    EXPECT_TRUE(m_lock->TryLockRD());
    EXPECT_EQ(TakeCalls(), RecordThen("tryrdlock"));
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_TRUE(m_lock->TryLockWR());
    EXPECT_EQ(TakeCalls(), RecordThen("trywrlock"));
    EXPECT_EQ(Count(1), 1u);
    m_lock->Unlock();
    EXPECT_EQ(TakeCalls(), RecordThen("rwunlock"));
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, AFailedTryLeavesTheRecordAsItWas) {
    m_lock->LockRW();
    BecomeThread(2);
    EXPECT_FALSE(m_lock->TryLockRD());
    EXPECT_FALSE(m_lock->TryLockWR());
    EXPECT_EQ(Count(2), 0u);
    EXPECT_EQ(Count(1), 1u);
    TakeCalls();
    m_lock->Unlock();  // nothing of it is left to release
    EXPECT_EQ(TakeCalls(), kRecordOnly);
    BecomeThread(1);
    m_lock->Unlock();
}

TEST_F(VaxoLockRW, ATryToWriteFailsBesideAReaderAndATryToReadDoesNot) {
    m_lock->LockRD();
    BecomeThread(2);
    EXPECT_FALSE(m_lock->TryLockWR());
    EXPECT_TRUE(m_lock->TryLockRD());
    m_lock->Unlock();
    BecomeThread(1);
    m_lock->Unlock();
    EXPECT_EQ(Holders(), 0u);
}

TEST_F(VaxoLockRW, ATryInsideAHoldIsTrueAtOnceAndCountsForReadingOnly) {
    const std::vector<std::function<void()>> locks = {[this] { m_lock->LockRD(); },
                                                      [this] { m_lock->LockRW(); }};
    for (const std::function<void()>& lock : locks) {
        lock();
        TakeCalls();
        EXPECT_TRUE(m_lock->TryLockRD());
        EXPECT_EQ(TakeCalls(), kRecordOnly);
        EXPECT_EQ(Count(1), 2u);
        EXPECT_TRUE(m_lock->TryLockWR());
        EXPECT_EQ(TakeCalls(), kRecordOnly);
        EXPECT_EQ(Count(1), 2u);
        m_lock->Unlock();
        m_lock->Unlock();
        EXPECT_EQ(Holders(), 0u);
    }
}

TEST_F(VaxoLock, WithoutAPlatformLockTriesFailAndTheRestRuns) {
    counting_locks::RefuseRWLocks(true);
    {
        CVAXOLockRW lock;
        EXPECT_FALSE(lock.TryLockRD());
        EXPECT_FALSE(lock.TryLockWR());
        lock.LockRD();
        lock.Unlock();
        lock.LockRW();
        lock.Unlock();
        TakeCalls();
    }
    EXPECT_EQ(TakeCalls(), Calls({"destroy"}));  // there is no handle to destroy
}
