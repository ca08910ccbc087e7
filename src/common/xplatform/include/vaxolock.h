// Locks: CVAXOLock, CVAXOAutolock, CVAXOLockRW, and the platform functions that
// they stand on.
//
// CVAXOLock      a mutex
// CVAXOAutolock  holds a CVAXOLock for the length of a scope
// CVAXOLockRW    many readers or one writer; a thread may lock again while it holds
//
// None of the classes can be copied. None may be destroyed while a thread holds or
// waits for it. No operation reports an error; misuse that is named as such below
// is undefined.
#ifndef VAXO_VAXOLOCK_H
#define VAXO_VAXOLOCK_H

#include <pthread.h>

#include "vaxomap.h"
#include "vaxotypes.h"

// ---- The platform functions -------------------------------------------------
//
// Declared here, defined by the platform layer that a program links.

// A mutex, held by value. The pointer given to the functions must not be null and
// must stay where vaxolock_init saw it.
// - Not recursive: a thread that locks a mutex it holds waits for ever, and
//   vaxolock_trylock answers false there.
// - Locking (and a successful try) is an acquire, unlocking a release: whoever
//   locks sees all that was written before the unlock.
// - Only the thread that locked may unlock.
// - Not fair: which waiter comes next is open.
typedef pthread_mutex_t vaxolock_t;

void vaxolock_init(vaxolock_t* lock);     // before all else, once
void vaxolock_lock(vaxolock_t* lock);     // waits until it is free
bool vaxolock_trylock(vaxolock_t* lock);  // never waits; true when it locked
void vaxolock_unlock(vaxolock_t* lock);   // by the thread that locked
void vaxolock_destroy(vaxolock_t* lock);  // the mutex must be unlocked

// A reader-writer lock behind a handle. Every function takes a null handle: the
// tries answer false, the others do nothing.
// - Many readers or one writer. A writer waits until every reader has released.
// - A stream of readers does not starve a writer: while a writer waits, new
//   readers wait behind it. So a thread must not read-lock twice at this level.
// - Not recursive and not upgradable, in any combination of the modes.
// - Locking (and a successful try) is an acquire, unlocking a release: a writer
//   sees what readers and writers before it did, a reader what writers before it
//   did.
// - Only a thread that holds may unlock; the lock knows in which mode.
typedef struct vaxorwlock_t* hvaxolockrw;

hvaxolockrw vaxorwlock_alloc();               // throws std::bad_alloc when there is none to be had
void vaxorwlock_rdlock(hvaxolockrw lock);     // waits for a share of it
void vaxorwlock_wrlock(hvaxolockrw lock);     // waits for all of it
bool vaxorwlock_tryrdlock(hvaxolockrw lock);  // never waits; true when it locked
bool vaxorwlock_trywrlock(hvaxolockrw lock);  // never waits; true when it locked
void vaxorwlock_unlock(hvaxolockrw lock);     // gives up either
void vaxorwlock_destroy(hvaxolockrw lock);    // the lock must be free

// ---- CVAXOLock --------------------------------------------------------------

// The platform mutex with a constructor and a destructor; any thread may call it.
// What is said of vaxolock_t holds here: not recursive, acquire and release,
// unlocked by the thread that locked.
class CVAXOLock {
public:
    CVAXOLock() { vaxolock_init(&m_lock); }  // unlocked
    ~CVAXOLock() { vaxolock_destroy(&m_lock); }

    CVAXOLock(const CVAXOLock&) = delete;
    CVAXOLock& operator=(const CVAXOLock&) = delete;

    void Lock() { vaxolock_lock(&m_lock); }      // waits until it is free
    void Unlock() { vaxolock_unlock(&m_lock); }  // by the thread that locked
    // Locks if that needs no waiting, and says whether it did.
    bool Try() { return vaxolock_trylock(&m_lock); }

private:
    vaxolock_t m_lock;
};

// ---- CVAXOAutolock ----------------------------------------------------------

// Locks in the constructor, unlocks in the destructor; it never releases earlier
// and cannot be moved. The lock must live longer than the guard. A guard stays on
// the thread that made it.
class CVAXOAutolock {
public:
    // Waits for the lock.
    explicit CVAXOAutolock(CVAXOLock& lock) : m_lock(lock) { m_lock.Lock(); }
    ~CVAXOAutolock() { m_lock.Unlock(); }

    CVAXOAutolock(const CVAXOAutolock&) = delete;
    CVAXOAutolock& operator=(const CVAXOAutolock&) = delete;

private:
    CVAXOLock& m_lock;
};

// ---- CVAXOLockRW ------------------------------------------------------------

// How often each thread must still call Unlock, by thread id.
typedef vaxostl::map<int32, uint32> CMapThreadId2Count;

// The platform's reader-writer lock, with a record of who holds it, so that a
// thread that holds may lock again without waiting for itself.
//
// Any thread may call any operation; each thread locks and unlocks for itself.
// The mode of the first lock counts until the hold ends: the record does not know
// read from write.
//
//   the calling thread          LockRD              LockRW
//   --------------------------  ------------------  ------------------
//   holds nothing               waits for the       waits for the
//                               read lock; count 1  write lock; count 1
//   holds it, in either mode    count + 1           nothing
//
//   the calling thread          Unlock
//   --------------------------  --------------------------------------
//   holds nothing               nothing
//   has a count of 1            releases the lock; holds nothing now
//   has a higher count          count - 1
//
// What follows from it
// - LockRD inside a hold needs an Unlock of its own.
// - LockRW inside a hold is not counted. The Unlock that goes with it takes away
//   an earlier hold; if that was the only one, the lock is free from there on, and
//   the outer Unlock finds nothing and does nothing. Code between the two runs
//   without the lock.
// - A reader that asks for writing is not upgraded: it goes on with its read hold,
//   other readers stay in, and it must not write what the lock protects.
// - A writer that asks for reading keeps its write hold.
// - Two objects keep separate records.
//
// Guarantees
// - Acquire, release and the readers that do not starve a writer: as for
//   hvaxolockrw. A lock call that the record answers does not wait, so a reader
//   may read-lock again while a writer waits.
// - The record has a mutex of its own, held for the look-up and the change alone,
//   never while waiting for the lock.
// - A first LockRD or LockRW enters the hold into the record before it waits. That
//   shows nowhere: a thread only ever looks at its own entry. It may throw
//   std::bad_alloc there; nothing is recorded or locked then.
//
// Non-guarantees
// - Thread ids are those of vaxothread_selfid(): a thread that ends with a hold
//   leaves it to whichever thread gets its id next.
class CVAXOLockRW {
public:
    CVAXOLockRW();  // unlocked
    ~CVAXOLockRW();

    CVAXOLockRW(const CVAXOLockRW&) = delete;
    CVAXOLockRW& operator=(const CVAXOLockRW&) = delete;

    // LockRD and LockRW that do not wait for the lock. True: the same as LockRD or
    // LockRW, to the count. False: the lock was not to be had, and the record is
    // as before. Inside a hold both answer true. They are inline so that a
    // platform layer without the try functions links as long as nobody calls them.
    bool TryLockRD();
    bool TryLockWR();  // the same for LockRW

    void LockRD();  // to read
    void LockRW();  // to write
    void Unlock();  // as the second table says

private:
    bool IsLocked(boolean addReference);
    bool IsNeedUnLock();

    hvaxolockrw m_hlock = nullptr;           // null after destruction
    CVAXOLock m_lockformap;                  // guards the map
    CMapThreadId2Count m_mapThreadId2Count;  // a thread is in it while it holds
};

// As in LockRD the hold is recorded first, and taken back if the try fails: a
// record that cannot be made then leaves no lock behind.
inline bool CVAXOLockRW::TryLockRD() {
    if (IsLocked(1) || vaxorwlock_tryrdlock(m_hlock)) {
        return true;
    }
    IsNeedUnLock();
    return false;
}

inline bool CVAXOLockRW::TryLockWR() {
    if (IsLocked(0) || vaxorwlock_trywrlock(m_hlock)) {
        return true;
    }
    IsNeedUnLock();
    return false;
}

#endif
