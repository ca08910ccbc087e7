// Shared slots, once-flags and the guards of function-local statics under the explorer. A
// thread that waited for another one's initialisation inside the standard library would
// wait unseen, so the linker puts these functions in the place of the library's own, in
// this program's objects (--wrap). They are exported because the linker wants it so when a
// shared library uses the wrapped ones.
#include <pthread.h>

#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "vaxosched.h"
#include "vaxotypes.h"

using explore::Kind;

namespace {

// True when the caller is to do the work. The three states are the flag's own.
template <class State>
bool Enter(State& state, State busy, State done) {
    const explore::Unseen unseen;
    if (state != done) {
        explore::Reach(Kind::Once, &state, [&state, busy] { return state != busy; });
    }
    if (state == done) {
        return false;
    }
    state = busy;
    return true;
}

template <class State>
void Leave(State& state, State to) {
    explore::Reach(Kind::Once, &state);
    explore::Release(&state);
    __atomic_store_n(&state, to, __ATOMIC_RELEASE);  // compiled code looks at it itself
}

template <class State, class Work>
void Once(State& state, State busy, State done, Work work) {
    if (Enter(state, busy, done)) {
        try {
            work();
        } catch (...) {
            Leave(state, State(0));
            throw;
        }
        Leave(state, done);
    }
    explore::Acquire(&state);
}

// The guard of a static: the first byte says that it is there, the second belongs to us.
struct Guard {
    char done;
    char busy;
};

}  // namespace

extern "C" {

// What std::call_once comes to with GNU's library; the flag is an int on this system.
VAXO_API int __wrap_pthread_once(pthread_once_t* control, void (*routine)()) {
    static_assert(sizeof(pthread_once_t) == sizeof(int), "the state lies in the flag itself");
    Once(*reinterpret_cast<int*>(control), 1, 2, routine);
    return 0;
}

// The same with LLVM's: std::__1::__call_once.
VAXO_API void __wrap__ZNSt3__111__call_onceERVmPvPFvS2_E(volatile unsigned long& flag,
                                                         void* argument, void (*routine)(void*)) {
    auto& state = const_cast<unsigned long&>(flag);  // nobody else touches it meanwhile
    Once(state, 1UL, ~0UL, [=] { routine(argument); });
}

VAXO_API int __wrap___cxa_guard_acquire(void* address) {
    auto* const guard = static_cast<Guard*>(address);
    const explore::Unseen unseen;
    if (guard->done == 0) {
        explore::Reach(Kind::Once, guard, [guard] { return guard->done != 0 || guard->busy == 0; });
    }
    if (guard->done != 0) {
        explore::Acquire(guard);
        return 0;
    }
    guard->busy = 1;
    return 1;
}

VAXO_API void __wrap___cxa_guard_release(void* address) {
    auto* const guard = static_cast<Guard*>(address);
    Leave(guard->done, '\1');  // busy it may stay
}

VAXO_API void __wrap___cxa_guard_abort(void* address) {
    const explore::Unseen unseen;
    explore::Reach(Kind::Once, address);
    static_cast<Guard*>(address)->busy = 0;
}

}  // extern "C"

// ---- Slots -------------------------------------------------------------------

void vaxosched_reach(const void* address) {
    explore::Reach(Kind::Slot, address);
}
