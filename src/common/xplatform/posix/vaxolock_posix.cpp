#include <pthread.h>

#include "vaxolock.h"
#include "vaxoposix.h"

// Debug builds use a mutex that knows its owner, so that locking twice or
// unlocking what another thread holds ends the process on the spot. Release
// builds use the plain one, which does not look.
void vaxolock_init(vaxolock_t* lock) {
#if defined(NDEBUG)
    vaxoposix_made(pthread_mutex_init(lock, nullptr));
#else
    pthread_mutexattr_t attributes;
    vaxoposix_made(pthread_mutexattr_init(&attributes));
    vaxoposix_must(pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK));
    const int status = pthread_mutex_init(lock, &attributes);
    vaxoposix_must(pthread_mutexattr_destroy(&attributes));
    vaxoposix_made(status);
#endif
}

void vaxolock_lock(vaxolock_t* lock) {
    vaxoposix_must(pthread_mutex_lock(lock));
}

bool vaxolock_trylock(vaxolock_t* lock) {
    return pthread_mutex_trylock(lock) == 0;
}

void vaxolock_unlock(vaxolock_t* lock) {
    vaxoposix_must(pthread_mutex_unlock(lock));
}

void vaxolock_destroy(vaxolock_t* lock) {
    vaxoposix_must(pthread_mutex_destroy(lock));
}
