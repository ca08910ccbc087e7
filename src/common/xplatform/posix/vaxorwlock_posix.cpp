#include <pthread.h>

#include <memory>

#include "vaxolock.h"
#include "vaxoposix.h"
#include "vaxothread_native.h"

struct vaxorwlock_t {
    pthread_rwlock_t lock;
};

hvaxolockrw vaxorwlock_alloc() {
    auto rwlock = std::make_unique<vaxorwlock_t>();
    pthread_rwlockattr_t attributes;
    vaxoposix_made(pthread_rwlockattr_init(&attributes));
    int status = vaxonative_prefer_writers(&attributes);
    if (status == 0) {
        status = pthread_rwlock_init(&rwlock->lock, &attributes);
    }
    vaxoposix_must(pthread_rwlockattr_destroy(&attributes));
    vaxoposix_made(status);
    return rwlock.release();
}

void vaxorwlock_rdlock(hvaxolockrw lock) {
    if (lock != nullptr) {
        vaxoposix_must(pthread_rwlock_rdlock(&lock->lock));
    }
}

void vaxorwlock_wrlock(hvaxolockrw lock) {
    if (lock != nullptr) {
        vaxoposix_must(pthread_rwlock_wrlock(&lock->lock));
    }
}

bool vaxorwlock_tryrdlock(hvaxolockrw lock) {
    return lock != nullptr && pthread_rwlock_tryrdlock(&lock->lock) == 0;
}

bool vaxorwlock_trywrlock(hvaxolockrw lock) {
    return lock != nullptr && pthread_rwlock_trywrlock(&lock->lock) == 0;
}

void vaxorwlock_unlock(hvaxolockrw lock) {
    if (lock != nullptr) {
        vaxoposix_must(pthread_rwlock_unlock(&lock->lock));
    }
}

void vaxorwlock_destroy(hvaxolockrw lock) {
    if (lock != nullptr) {
        vaxoposix_must(pthread_rwlock_destroy(&lock->lock));
        delete lock;
    }
}
