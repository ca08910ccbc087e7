// The locks of the platform layer under the explorer: every operation is a step, and
// whoever would wait is not chosen until it need not.
#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "vaxolock.h"

using explore::Kind;

namespace {

// What stands in a mutex's place: the mutex is held by value, so there is room for it.
struct Mutex {
    uint32 mark;
    int32 owner;  // a thread's index
};

const uint32 s_mark = 0x6d757478;
const int32 s_free = -2;  // -1 is a thread that is not controlled

static_assert(sizeof(Mutex) <= sizeof(vaxolock_t), "the state lies in the mutex itself");
static_assert(std::is_trivially_copyable<vaxolock_t>::value, "it is written byte by byte");

Mutex Load(const vaxolock_t* lock) {
    const explore::Unseen unseen;
    Mutex mutex = {};
    std::memcpy(&mutex, lock, sizeof(mutex));
    if (mutex.mark != s_mark) {
        explore::Fail(std::string(explore::SelfName()) + " uses a mutex that is not there");
    }
    return mutex;
}

void Store(vaxolock_t* lock, uint32 mark, int32 owner) {
    const explore::Unseen unseen;
    const Mutex mutex = {mark, owner};
    std::memcpy(lock, &mutex, sizeof(mutex));
}

void Own(vaxolock_t* lock) {
    Store(lock, s_mark, explore::Self());
    explore::Holds(lock, explore::Self());
    explore::Acquire(lock);
}

}  // namespace

// ---- Mutexes -----------------------------------------------------------------

void vaxolock_init(vaxolock_t* lock) {
    Store(lock, s_mark, s_free);
    explore::Forget(lock);
}

void vaxolock_lock(vaxolock_t* lock) {
    if (Load(lock).owner == explore::Self()) {
        explore::Fail(std::string(explore::SelfName()) + " locks a mutex that it holds");
    }
    explore::Reach(Kind::MutexLock, lock, [lock] { return Load(lock).owner == s_free; });
    Own(lock);
}

bool vaxolock_trylock(vaxolock_t* lock) {
    explore::Reach(Kind::MutexTry, lock);
    if (Load(lock).owner != s_free) {
        return false;
    }
    Own(lock);
    return true;
}

void vaxolock_unlock(vaxolock_t* lock) {
    if (Load(lock).owner != explore::Self()) {
        explore::Fail(std::string(explore::SelfName()) + " unlocks a mutex that it does not hold");
    }
    explore::Reach(Kind::MutexUnlock, lock);
    explore::Release(lock);
    Store(lock, s_mark, s_free);
    explore::Holds(lock, -1);
}

void vaxolock_destroy(vaxolock_t* lock) {
    explore::Reach(Kind::MutexDestroy, lock);
    if (Load(lock).owner != s_free) {
        explore::Fail(std::string(explore::SelfName()) + " destroys a locked mutex");
    }
    Store(lock, 0, s_free);
    explore::Forget(lock);
}

// ---- Reader-writer locks -----------------------------------------------------

struct vaxorwlock_t {
    int writer = s_free;
    std::vector<int> readers;
    int writersWaiting = 0;  // they have asked: readers that come now wait behind them
    char read = 0;           // its address stands for what readers release and writers acquire

    bool IsFree() const { return writer == s_free && readers.empty(); }
    bool MayRead() const { return writer == s_free && writersWaiting == 0; }
    bool IsReader(int thread) const {
        return std::find(readers.begin(), readers.end(), thread) != readers.end();
    }
};

namespace {

void MustNotHold(hvaxolockrw lock) {
    const explore::Unseen unseen;
    if (lock->writer == explore::Self() || lock->IsReader(explore::Self())) {
        explore::Fail(std::string(explore::SelfName()) +
                      " locks a reader-writer lock that it holds");
    }
}

void Read(hvaxolockrw lock) {
    {
        const explore::Unseen unseen;
        lock->readers.push_back(explore::Self());
        explore::Holds(lock, explore::Self());
    }
    explore::Acquire(lock);
}

void Write(hvaxolockrw lock) {
    {
        const explore::Unseen unseen;
        lock->writer = explore::Self();
        explore::Holds(lock, explore::Self());
    }
    explore::Acquire(lock);
    explore::Acquire(&lock->read);
}

}  // namespace

hvaxolockrw vaxorwlock_alloc() {
    return new vaxorwlock_t();
}

void vaxorwlock_rdlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return;
    }
    MustNotHold(lock);
    explore::Reach(Kind::ReadLock, lock, [lock] { return lock->MayRead(); });
    Read(lock);
}

void vaxorwlock_wrlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return;
    }
    MustNotHold(lock);
    explore::Reach(Kind::WriteArrive, lock);
    const auto count = [lock](int change) {
        const explore::Unseen unseen;
        lock->writersWaiting += change;
    };
    count(1);
    explore::Reach(Kind::WriteLock, lock, [lock] { return lock->IsFree(); });
    count(-1);
    Write(lock);
}

bool vaxorwlock_tryrdlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return false;
    }
    explore::Reach(Kind::RwTry, lock);
    const bool may = lock->MayRead();
    if (may) {
        Read(lock);
    }
    return may;
}

bool vaxorwlock_trywrlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return false;
    }
    explore::Reach(Kind::RwTry, lock);
    const bool may = lock->IsFree();
    if (may) {
        Write(lock);
    }
    return may;
}

void vaxorwlock_unlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return;
    }
    explore::Reach(Kind::RwUnlock, lock);
    const explore::Unseen unseen;
    const int self = explore::Self();
    if (lock->writer == self) {
        explore::Release(lock);
        lock->writer = s_free;
    } else if (lock->IsReader(self)) {
        explore::Release(&lock->read);
        lock->readers.erase(std::find(lock->readers.begin(), lock->readers.end(), self));
    } else {
        explore::Fail(std::string(explore::SelfName()) +
                      " unlocks a reader-writer lock that it does not hold");
    }
    explore::Holds(lock, lock->readers.empty() ? -1 : lock->readers.front());
}

void vaxorwlock_destroy(hvaxolockrw lock) {
    if (lock == nullptr) {
        return;
    }
    explore::Reach(Kind::RwDestroy, lock);
    if (!lock->IsFree() || lock->writersWaiting != 0) {
        explore::Fail(std::string(explore::SelfName()) + " destroys a lock that is in use");
    }
    explore::Forget(lock);
    delete lock;
}
