#include "vaxolock.h"

#include "vaxothread.h"

// In the body: the record and its mutex come before the platform's lock.
CVAXOLockRW::CVAXOLockRW() {
    m_hlock = vaxorwlock_alloc();
}

CVAXOLockRW::~CVAXOLockRW() {
    if (m_hlock != nullptr) {
        vaxorwlock_destroy(m_hlock);
        m_hlock = nullptr;
    }
    m_mapThreadId2Count.clear();
}

void CVAXOLockRW::LockRD() {
    if (!IsLocked(1)) {
        vaxorwlock_rdlock(m_hlock);
    }
}

void CVAXOLockRW::LockRW() {
    if (!IsLocked(0)) {
        vaxorwlock_wrlock(m_hlock);
    }
}

void CVAXOLockRW::Unlock() {
    if (IsNeedUnLock()) {
        vaxorwlock_unlock(m_hlock);
    }
}

// Whether the calling thread holds the lock. If it does, `addReference` counts one
// more hold; if not, the hold that the caller is about to take is recorded.
bool CVAXOLockRW::IsLocked(boolean addReference) {
    const int32 tid = vaxothread_selfid();
    const CVAXOAutolock guard(m_lockformap);
    const CMapThreadId2Count::iterator entry = m_mapThreadId2Count.find(tid);
    if (entry == m_mapThreadId2Count.end()) {
        m_mapThreadId2Count.insert(tid, 1);
        return false;
    }
    if (addReference != 0) {
        ++entry->second;
    }
    return true;
}

// Takes away one hold of the calling thread. True when that was its last one and
// the platform's lock must be released.
bool CVAXOLockRW::IsNeedUnLock() {
    const int32 tid = vaxothread_selfid();
    const CVAXOAutolock guard(m_lockformap);
    const CMapThreadId2Count::iterator entry = m_mapThreadId2Count.find(tid);
    if (entry == m_mapThreadId2Count.end()) {
        return false;
    }
    if (--entry->second != 0) {
        return false;
    }
    m_mapThreadId2Count.erase(tid);
    return true;
}
