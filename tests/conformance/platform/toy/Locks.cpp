#include <condition_variable>
#include <mutex>

#include "conformance/platform/toy/Fault.h"
#include "vaxolock.h"

void vaxolock_init(vaxolock_t* lock) {
    pthread_mutexattr_t kind;
    pthread_mutexattr_init(&kind);
    if (toy::Is("mutex-recursive")) {
        pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_RECURSIVE);
    }
    pthread_mutex_init(lock, &kind);
    pthread_mutexattr_destroy(&kind);
}

void vaxolock_lock(vaxolock_t* lock) {
    pthread_mutex_lock(lock);
}

bool vaxolock_trylock(vaxolock_t* lock) {
    return pthread_mutex_trylock(lock) == 0 || toy::Is("mutex-try-always-true");
}

void vaxolock_unlock(vaxolock_t* lock) {
    pthread_mutex_unlock(lock);
}

void vaxolock_destroy(vaxolock_t* lock) {
    pthread_mutex_destroy(lock);
}

struct vaxorwlock_t {
    std::mutex mutex;
    std::condition_variable changed;
    int readers = 0;
    int waitingWriters = 0;
    bool isWritten = false;

    bool MayRead() const {
        if (toy::Is("readers-exclude") && readers != 0) {
            return false;
        }
        return !isWritten && (waitingWriters == 0 || toy::Is("writer-starves"));
    }
    bool MayWrite() const { return !isWritten && readers == 0; }
};

hvaxolockrw vaxorwlock_alloc() {
    return new vaxorwlock_t;
}

void vaxorwlock_rdlock(hvaxolockrw lock) {
    if (lock != nullptr) {
        std::unique_lock<std::mutex> guard(lock->mutex);
        lock->changed.wait(guard, [lock] { return lock->MayRead(); });
        ++lock->readers;
    }
}

void vaxorwlock_wrlock(hvaxolockrw lock) {
    if (lock != nullptr) {
        std::unique_lock<std::mutex> guard(lock->mutex);
        ++lock->waitingWriters;
        lock->changed.wait(guard, [lock] { return lock->MayWrite(); });
        --lock->waitingWriters;
        lock->isWritten = true;
    }
}

bool vaxorwlock_tryrdlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(lock->mutex);
    if (!lock->MayRead()) {
        return false;
    }
    ++lock->readers;
    return true;
}

bool vaxorwlock_trywrlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(lock->mutex);
    if (!lock->MayWrite() && !(toy::Is("writer-beside-readers") && !lock->isWritten)) {
        return false;
    }
    lock->isWritten = true;
    return true;
}

void vaxorwlock_unlock(hvaxolockrw lock) {
    if (lock == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> guard(lock->mutex);
    if (lock->isWritten) {
        lock->isWritten = false;
    } else {
        --lock->readers;
    }
    lock->changed.notify_all();
}

void vaxorwlock_destroy(hvaxolockrw lock) {
    delete lock;
}
