// A platform layer without threads, linked in place of the real one: workers keep their
// calls until somebody runs them, and the thread of the moment is whichever is being
// played. Everything above it runs unchanged, on one thread, in an order of the test's
// choosing.
//
// A thread's id is a character: '0' and '2' are the workers QR.0 and QR.2, the others are
// the test's to give.
//
// Guarantees
// - A call is destroyed right after its run, as its worker, before the next one begins.
// - Waiting for an event runs worker 0's calls in order until the event is signalled.
// - Whatever would hang or break with real threads (locking a mutex that is held,
//   unlocking one that is not one's own, a reader or writer that would have to wait, a
//   wait that nobody ends, a call queued under a mutex, an event used after its end) is
//   written down as a failure, and the program goes on.
//
// Not safe on more than one real thread.
#ifndef VAXO_TESTS_MODEL_THREADLESSPLATFORM_H
#define VAXO_TESTS_MODEL_THREADLESSPLATFORM_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "vaxothread.h"

namespace threadless {

// Plays a thread for the length of a scope. The process starts as 'A'.
class As {
public:
    explicit As(vaxothread_id thread);
    ~As();
    As(const As&) = delete;
    As& operator=(const As&) = delete;

private:
    vaxothread_id m_before;
};

// Runs the oldest call of worker 0 or 2; false when it has none, or is itself inside one.
bool RunOne(int worker);

// Whether the worker is inside a call now.
bool Busy(int worker);

// Calls that wait.
std::size_t Pending(int worker);

// Called for every queued call, with its worker, before PushTask returns.
void OnPush(std::function<void(int worker)> listener);

// Mutexes that are locked now; reader-writer locks that somebody holds; events created
// and not destroyed.
int MutexesHeld();
int RwLocksHeld();
int EventsAlive();

// Adds to the failures.
void Fail(const std::string& message);

// The failures so far; they are forgotten.
std::vector<std::string> TakeFailures();

}  // namespace threadless

#endif
