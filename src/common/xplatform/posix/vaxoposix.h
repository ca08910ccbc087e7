// What becomes of the status codes of pthread calls.
#ifndef VAXO_VAXOPOSIX_H
#define VAXO_VAXOPOSIX_H

#include <cstdlib>
#include <new>

// After a call that makes something (a mutex, a condition variable): the only
// reason to refuse is a lack of memory or of another resource, so a failure
// speaks as an allocation failure does.
inline void vaxoposix_made(int status) {
    if (status != 0) {
        throw std::bad_alloc();
    }
}

// After a call that cannot fail when it is used correctly (lock, unlock, wait):
// a failure is a mistake in the calling code, or a lock that the system cannot
// give. Going on as if the lock were held would do more harm than ending here.
inline void vaxoposix_must(int status) {
    if (status != 0) {
        std::abort();
    }
}

#endif
