#include "support/CountingLocks.h"

#include <map>
#include <utility>

#include "vaxothread.h"

// The handle's type is the platform layer's own.
struct vaxorwlock_t {
    int readers;
    bool written;
};

namespace {

struct Platform {
    int32 thread = 1;
    int misuses = 0;
    int liveRWLocks = 0;
    bool refusing = false;
    std::vector<std::string> calls;
    std::map<const vaxolock_t*, bool> mutexes;  // the initialised ones; whether held
    std::function<void()> onMutexDestroy;
};

Platform& State() {
    static Platform platform;
    return platform;
}

void Called(const char* name) {
    State().calls.emplace_back(name);
}

void Require(bool rule) {
    if (!rule) {
        ++State().misuses;
    }
}

// Sets whether the mutex is held; the mutex must be initialised and in the other
// state.
void SetHeld(vaxolock_t* lock, bool held) {
    const auto entry = State().mutexes.find(lock);
    Require(entry != State().mutexes.end() && entry->second != held);
    if (entry != State().mutexes.end()) {
        entry->second = held;
    }
}

}  // namespace

namespace counting_locks {

void Reset() {
    Platform& platform = State();
    platform.thread = 1;
    platform.misuses = 0;
    platform.refusing = false;
    platform.calls.clear();
    platform.onMutexDestroy = nullptr;
}

void BecomeThread(int32 id) {
    State().thread = id;
}

std::vector<std::string> TakeCalls() {
    return std::exchange(State().calls, {});
}

int Misuses() {
    return State().misuses;
}

int LiveRWLocks() {
    return State().liveRWLocks;
}

void RefuseRWLocks(bool refuse) {
    State().refusing = refuse;
}

void OnMutexDestroy(std::function<void()> hook) {
    State().onMutexDestroy = std::move(hook);
}

}  // namespace counting_locks

vaxothread_id vaxothread_selfid() {
    return State().thread;
}

void vaxolock_init(vaxolock_t* lock) {
    Called("init");
    Require(State().mutexes.emplace(lock, false).second);
}

void vaxolock_lock(vaxolock_t* lock) {
    Called("lock");
    SetHeld(lock, true);
}

bool vaxolock_trylock(vaxolock_t* lock) {
    Called("trylock");
    const auto entry = State().mutexes.find(lock);
    Require(entry != State().mutexes.end());
    if (entry == State().mutexes.end() || entry->second) {
        return false;
    }
    entry->second = true;
    return true;
}

void vaxolock_unlock(vaxolock_t* lock) {
    Called("unlock");
    SetHeld(lock, false);
}

void vaxolock_destroy(vaxolock_t* lock) {
    Called("destroy");
    SetHeld(lock, true);  // no longer to be locked, and it must have been free
    State().mutexes.erase(lock);
    if (State().onMutexDestroy) {
        State().onMutexDestroy();
    }
}

hvaxolockrw vaxorwlock_alloc() {
    Called("alloc");
    if (State().refusing) {
        return nullptr;
    }
    ++State().liveRWLocks;
    return new vaxorwlock_t();
}

void vaxorwlock_rdlock(hvaxolockrw lock) {
    Called("rdlock");
    if (lock != nullptr) {
        Require(!lock->written);
        ++lock->readers;
    }
}

void vaxorwlock_wrlock(hvaxolockrw lock) {
    Called("wrlock");
    if (lock != nullptr) {
        Require(!lock->written && lock->readers == 0);
        lock->written = true;
    }
}

bool vaxorwlock_tryrdlock(hvaxolockrw lock) {
    Called("tryrdlock");
    if (lock == nullptr || lock->written) {
        return false;
    }
    ++lock->readers;
    return true;
}

bool vaxorwlock_trywrlock(hvaxolockrw lock) {
    Called("trywrlock");
    if (lock == nullptr || lock->written || lock->readers != 0) {
        return false;
    }
    lock->written = true;
    return true;
}

void vaxorwlock_unlock(hvaxolockrw lock) {
    Called("rwunlock");
    if (lock == nullptr) {
        return;
    }
    Require(lock->written || lock->readers > 0);
    if (lock->written) {
        lock->written = false;
    } else {
        --lock->readers;
    }
}

void vaxorwlock_destroy(hvaxolockrw lock) {
    Called("rwdestroy");
    if (lock != nullptr) {
        Require(!lock->written && lock->readers == 0);
        --State().liveRWLocks;
        delete lock;
    }
}
