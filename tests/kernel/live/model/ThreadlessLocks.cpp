// The locks of the platform layer without threads: they know who holds them, and write
// down what would hang or break.
#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "kernel/live/model/ThreadlessPlatform.h"
#include "vaxolock.h"

namespace {

int s_mutexesHeld = 0;
int s_rwLocksHeld = 0;

// What stands in a mutex's place: the mutex is held by value, so there is room for it.
struct Mutex {
    uint32 mark;
    vaxothread_id owner;  // 0 when free
};

const uint32 s_mark = 0x6d757478;

static_assert(sizeof(Mutex) <= sizeof(vaxolock_t), "the state lies in the mutex itself");
static_assert(std::is_trivially_copyable<vaxolock_t>::value, "it is written byte by byte");

Mutex Load(const vaxolock_t* lock) {
    Mutex mutex = {};
    std::memcpy(&mutex, lock, sizeof(mutex));
    if (mutex.mark != s_mark) {
        threadless::Fail("a mutex that was not initialised");
    }
    return mutex;
}

void Store(vaxolock_t* lock, uint32 mark, vaxothread_id owner) {
    const Mutex mutex = {mark, owner};
    std::memcpy(lock, &mutex, sizeof(mutex));
}

std::string Name(vaxothread_id thread) {
    return std::string(1, static_cast<char>(thread));
}

}  // namespace

namespace threadless {

int MutexesHeld() {
    return s_mutexesHeld;
}

int RwLocksHeld() {
    return s_rwLocksHeld;
}

}  // namespace threadless

using threadless::Fail;

// ---- Mutexes -----------------------------------------------------------------

void vaxolock_init(vaxolock_t* lock) {
    Store(lock, s_mark, 0);
}

void vaxolock_lock(vaxolock_t* lock) {
    const Mutex mutex = Load(lock);
    if (mutex.owner != 0) {
        Fail("locks a mutex that " + Name(mutex.owner) + " holds");
        return;
    }
    Store(lock, s_mark, vaxothread_selfid());
    ++s_mutexesHeld;
}

bool vaxolock_trylock(vaxolock_t* lock) {
    if (Load(lock).owner != 0) {
        return false;
    }
    vaxolock_lock(lock);
    return true;
}

void vaxolock_unlock(vaxolock_t* lock) {
    const Mutex mutex = Load(lock);
    if (mutex.owner != vaxothread_selfid()) {
        Fail(mutex.owner == 0 ? std::string("unlocks a free mutex")
                              : "unlocks the mutex of " + Name(mutex.owner));
        return;
    }
    Store(lock, s_mark, 0);
    --s_mutexesHeld;
}

void vaxolock_destroy(vaxolock_t* lock) {
    if (Load(lock).owner != 0) {
        Fail("destroys a locked mutex");
        --s_mutexesHeld;
    }
    Store(lock, 0, 0);
}

// ---- Reader-writer locks -----------------------------------------------------

struct vaxorwlock_t {
    vaxothread_id writer = 0;
    std::vector<vaxothread_id> readers;

    bool Held() const { return writer != 0 || !readers.empty(); }
};

hvaxolockrw vaxorwlock_alloc() {
    return new vaxorwlock_t();
}

bool vaxorwlock_tryrdlock(hvaxolockrw lock) {
    const vaxothread_id self = vaxothread_selfid();
    if (lock->writer != 0 || std::count(lock->readers.begin(), lock->readers.end(), self) != 0) {
        return false;
    }
    s_rwLocksHeld += lock->Held() ? 0 : 1;
    lock->readers.push_back(self);
    return true;
}

bool vaxorwlock_trywrlock(hvaxolockrw lock) {
    if (lock->Held()) {
        return false;
    }
    ++s_rwLocksHeld;
    lock->writer = vaxothread_selfid();
    return true;
}

void vaxorwlock_rdlock(hvaxolockrw lock) {
    if (!vaxorwlock_tryrdlock(lock)) {
        Fail(lock->writer != 0 ? "a reader would wait for the writer " + Name(lock->writer)
                               : std::string("read-locks a lock twice"));
    }
}

void vaxorwlock_wrlock(hvaxolockrw lock) {
    if (!vaxorwlock_trywrlock(lock)) {
        Fail("a writer would wait for " +
             Name(lock->writer != 0 ? lock->writer : lock->readers.front()));
    }
}

void vaxorwlock_unlock(hvaxolockrw lock) {
    const vaxothread_id self = vaxothread_selfid();
    const auto reader = std::find(lock->readers.begin(), lock->readers.end(), self);
    if (lock->writer == self) {
        lock->writer = 0;
    } else if (reader != lock->readers.end()) {
        lock->readers.erase(reader);
    } else {
        Fail("unlocks a reader-writer lock that it does not hold");
        return;
    }
    s_rwLocksHeld -= lock->Held() ? 0 : 1;
}

void vaxorwlock_destroy(hvaxolockrw lock) {
    if (lock->Held()) {
        Fail("destroys a reader-writer lock that somebody holds");
        --s_rwLocksHeld;
    }
    delete lock;
}
