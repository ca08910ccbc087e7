// Worker threads that run queued calls one at a time, in the order pushed.
//
// CScopeCall      a bound call: target, member function, argument, liveness host
// CVAXOTaskBase   a worker thread with its queue
// VAXOTaskCreate  makes a worker
//
// Guarantees
// - PushTask may be called from any thread, also from a call that runs on the
//   worker itself. It never blocks on a running call.
// - A worker runs its calls one after another. Calls pushed by one thread run
//   in the order that thread pushed them; what a thread did before PushTask is
//   visible to the call (release, then acquire).
// - The queue keeps a copy of the call. A call whose liveness host answers
//   IsValid() false when its turn comes is dropped without being invoked.
// - The copy is destroyed right after its run (or drop), before the next call
//   begins, on the worker, and never while a lock of the queue is held: a
//   destructor in it may push again.
// - When Start() has returned true, getthreadid() is the worker's id, and the
//   thread has its name before its first call.
// - Dropping the last reference retires the worker: the call that runs now is
//   finished, calls not begun are destroyed without being invoked, the thread
//   ends. It does not wait, so it may be done from the worker's own call. A
//   worker that never got a thread destroys its calls there and then.
// - The thread has every signal blocked but those that a fault raises in the
//   thread itself (SIGSEGV and its like): the application's signal handlers do
//   not run on it, a crash reporter's do.
// - A burst is handed over in one go: while the worker is awake, a push takes
//   none of its locks and wakes nobody.
// - The process may end while workers run; they use nothing that is destroyed
//   at exit.
//
// Non-guarantees
// - No limit on the number of queued calls, and no answer when a call is done:
//   use an event.
// - A call must not throw; if it does, the process ends.
// - Whoever pushes holds a reference to the worker, or knows of one that stays
//   until the call is queued. From there on the push touches nothing of the
//   worker: the call may be what drops the last reference, even before PushTask
//   has returned. A queued call that holds one itself keeps the worker until the
//   call has run.
// - A worker has no thread in a child process made by fork().
#ifndef VAXO_VAXOTASK_H
#define VAXO_VAXOTASK_H

#include <atomic>
#include <cstring>
#include <memory>
#include <type_traits>

#include "vaxorefc.h"
#include "vaxothread.h"
#include "vaxotypes.h"

// A call that can be run later. It holds one reference to its host and one to
// its argument (each if not null); a copy holds references of its own.
//
// TIMPL is the class called, TA the class of the argument, which derives from
// CRefCount. TIMPL names its liveness host through SafeInstance: a static
// function that takes the target, or the virtual one if TIMPL derives from
// CRefCount itself. The target is kept alive only if it is its own host; else
// the host's IsValid() tells whether it is still there.
//
// The result slot, if there is one, is written by the thread that runs the call
// and must be there until then.
//
// The references must be of a thread-safe kind (CRefCountSafe) when the call goes
// to another thread.
class CScopeCall {
public:
    // `call` of `target` with `arg`, its answer to `result`. Takes the references..
    template <class TIMPL, class TA>
    CScopeCall(TIMPL* target, int32 (TIMPL::*call)(TA*), TA* arg, uint32* result)
        : m_phost(HostOf(target)),
          m_preal(target),
          m_arg(arg),
          m_prslt(result),
          m_invoke(&Invoke<TIMPL, TA>) {
        static_assert(sizeof(call) == sizeof(m_call), "member pointers are of one size");
        std::memcpy(&m_call, &call, sizeof(m_call));
        Retain();
    }

    // The same call, with references of its own.
    CScopeCall(const CScopeCall& other)
        : m_phost(other.m_phost),
          m_preal(other.m_preal),
          m_call(other.m_call),
          m_arg(other.m_arg),
          m_prslt(other.m_prslt),
          m_invoke(other.m_invoke) {
        Retain();
    }

    CScopeCall& operator=(const CScopeCall&) = delete;

    ~CScopeCall() {
        if (m_arg != nullptr) {
            m_arg->Release();
        }
        if (m_phost != nullptr) {
            m_phost->Release();
        }
    }

    // Runs the call unless its host is gone (or there is no target or no function
    // to call); the answer goes to the result slot if there is one. True when the
    // call was made.
    bool operator()() const {
        if (m_preal == nullptr || m_call == nullptr) {
            return false;
        }
        if (m_phost != nullptr && !m_phost->IsValid()) {
            return false;
        }
        const int32 status = m_invoke(*this);
        if (m_prslt != nullptr) {
            *m_prslt = static_cast<uint32>(status);
        }
        return true;
    }

private:
    class Target;  // never defined: the type under which every member pointer is kept
    typedef int32 (Target::*Call)(CRefCount*);

    // The one place that knows the types again. The member pointer went into
    // m_call byte by byte and comes back the same way: it is only ever called
    // with the type it was made with.
    template <class TIMPL, class TA>
    static int32 Invoke(const CScopeCall& call) {
        int32 (TIMPL::*member)(TA*);
        std::memcpy(&member, &call.m_call, sizeof(member));
        return (static_cast<TIMPL*>(call.m_preal)->*member)(static_cast<TA*>(call.m_arg));
    }

    template <class TIMPL>
    static CRefCount* HostOf(TIMPL* target) {
        if (target == nullptr) {
            return nullptr;
        }
        if constexpr (std::is_base_of_v<CRefCount, TIMPL>) {
            return target->SafeInstance();
        } else {
            return TIMPL::SafeInstance(target);
        }
    }

    void Retain() const {
        if (m_phost != nullptr) {
            m_phost->AddRef();
        }
        if (m_arg != nullptr) {
            m_arg->AddRef();
        }
    }

    CRefCount* m_phost;                    // liveness host, may be null
    void* m_preal;                         // the target, a TIMPL
    Call m_call = nullptr;                 // the member function, a TIMPL::*
    CRefCount* m_arg;                      // the argument, a TA, may be null
    uint32* m_prslt;                       // where the answer goes, may be null
    int32 (*m_invoke)(const CScopeCall&);  // knows TIMPL and TA
};

// What PushTask answers when the call was not queued (null worker).
const uint32 vaxotask_invalid_id = 0;

// A worker. Its operations may be called from any thread.
class CVAXOTaskBase : public CRefCountSafe {
public:
    // Not started yet. The name is copied; null gives an unnamed thread.
    CVAXOTaskBase(const char* name, ethread_priority priority);

    // Starts the thread and waits until it has its id and its name. True when
    // it runs (also when it already ran); any thread may ask, one thread is
    // started. When the system gives no thread the answer is false; calls pushed
    // before and afterwards are kept, and every PushTask tries again. A worker
    // whose Start was never called is never started by a push.
    bool Start();

    // Queues a copy of the call and returns a number greater than 0 that tells
    // pushes of this worker apart (it wraps after 2^32). A null worker takes
    // nothing: vaxotask_invalid_id.
    static uint32 PushTask(CVAXOTaskBase* task, const CScopeCall& call);

    // The worker thread's id, 0 until it has been started.
    vaxothread_id getthreadid() const { return m_threadid.load(std::memory_order_acquire); }

protected:
    ~CVAXOTaskBase() override;  // through Release()

private:
    struct Impl;  // the platform layer's own

    std::atomic<vaxothread_id> m_threadid;
    std::shared_ptr<Impl> m_pImpl;  // shared with the thread, which outlives the object
};

// The worker of this platform; there is one kind.
typedef CVAXOTaskBase CVAXOTaskDefault;

// A new worker, not yet started, with one reference owned by the caller. Never
// null: without memory it throws std::bad_alloc.
CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority);

#endif
