// What differs between Linux, Android and Apple's systems. Every such difference
// of the platform layer stands in vaxothread_native.cpp; the rest is plain POSIX.
//
// Private to the platform layer.
#ifndef VAXO_VAXOTHREAD_NATIVE_H
#define VAXO_VAXOTHREAD_NATIVE_H

#include <pthread.h>

#include <ctime>

#include "vaxothread.h"

// Asks the system for the calling thread's id: the kernel's thread id, or the
// name of the thread's kernel port. Distinct among live threads, never 0.
vaxothread_id vaxonative_thread_id();

// Names the calling thread; what is too long for the system is cut off.
void vaxonative_set_thread_name(const char* name);

// Gives the calling thread its priority. Where the system does not permit it,
// the thread silently keeps the one it has. Normal, and any value that the
// enumeration does not name, change nothing.
void vaxonative_set_thread_priority(ethread_priority priority);

// Tells that locks made with these attributes let a waiting writer in before
// readers that come later. The status of the system's call.
int vaxonative_prefer_writers(pthread_rwlockattr_t* attributes);

// Makes a condition variable whose timed waits are measured on the monotonic
// clock. The status of the system's call.
int vaxonative_cond_init(pthread_cond_t* condition);

// Waits until the condition is signalled or the monotonic clock shows
// `deadline`. 0, or ETIMEDOUT when the time was up. It may also return 0 for no
// reason at all.
int vaxonative_cond_wait_until(pthread_cond_t* condition, pthread_mutex_t* mutex,
                               const timespec& deadline);

#endif
