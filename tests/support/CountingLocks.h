// A platform layer for tests of the locks: it writes down every call and blocks
// nothing.
//
// Linking CountingLocks.cpp defines all vaxolock_ and vaxorwlock_ functions and
// vaxothread_selfid. One real thread plays several: the test says whose turn it is.
// A call that would wait for ever on a real platform, or that breaks a rule of the
// platform functions, counts as a misuse and goes on.
#ifndef VAXO_COUNTINGLOCKS_H
#define VAXO_COUNTINGLOCKS_H

#include <functional>
#include <string>
#include <vector>

#include "vaxolock.h"

namespace counting_locks {

// Forgets all calls and misuses; the calling thread becomes thread 1.
void Reset();

// From here on the test plays thread `id`.
void BecomeThread(int32 id);

// The calls since the last Reset or TakeCalls, by the function's name without its
// prefix: "init", "lock", "trylock", "unlock", "destroy" for a mutex, and "alloc",
// "rdlock", "wrlock", "tryrdlock", "trywrlock", "rwunlock", "rwdestroy".
std::vector<std::string> TakeCalls();

// Calls that a real platform would have answered with a standstill or worse, such
// as locking a held mutex or unlocking a free lock.
int Misuses();

// The number of reader-writer locks allocated and not destroyed.
int LiveRWLocks();

// While set, vaxorwlock_alloc answers null.
void RefuseRWLocks(bool refuse);

// Runs `hook` in the vaxolock_destroy calls that follow, until the next Reset.
void OnMutexDestroy(std::function<void()> hook);

}  // namespace counting_locks

#endif
