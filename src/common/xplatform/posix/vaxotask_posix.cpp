#include "vaxotask.h"

#include <pthread.h>

#include <string>
#include <utility>

#include "vaxocallqueue.h"
#include "vaxoevent.h"
#include "vaxolock.h"
#include "vaxosignals.h"
#include "vaxothread_native.h"

// What the worker object and its thread share. The thread keeps it alive after
// the object is gone. It lives on the heap, so that a thread that still runs when
// the process ends uses nothing that is being destroyed.
struct CVAXOTaskBase::Impl {
    enum State : int32 {
        state_new,     // Start not called, or not finished
        state_failed,  // Start called in vain
        state_running,
    };

    // What a new thread is given. It lies on the stack of Start.
    struct Birth {
        std::shared_ptr<Impl> impl;
        std::atomic<vaxothread_id>* id;
    };

    Impl(const char* threadname, ethread_priority threadpriority)
        : named(threadname != nullptr),
          name(named ? threadname : ""),
          priority(threadpriority),
          state(state_new),
          pushes(0),
          born(true, false) {}

    static void* ThreadMain(void* argument) noexcept;
    static bool CreateThread(Birth& birth);
    uint32 NextNumber();

    const bool named;
    const std::string name;
    const ethread_priority priority;
    CVAXOLock startlock;  // one start at a time
    std::atomic<State> state;
    std::atomic<uint32> pushes;
    CVAXOEvent born;  // the thread has its id, its name and its share of this
    CVAXOCallQueue queue;
};

// noexcept: a call that throws ends the process here, with its stack still in
// place.
void* CVAXOTaskBase::Impl::ThreadMain(void* argument) noexcept {
    auto* const birth = static_cast<Birth*>(argument);
    const std::shared_ptr<Impl> impl = std::move(birth->impl);
    if (impl->named) {
        vaxothread_set_name(impl->name.c_str());
    }
    vaxonative_set_thread_priority(impl->priority);
    // Start is waiting, so its worker object is there to take the id; and the
    // first call, which may ask for it, has not begun.
    birth->id->store(vaxothread_selfid(), std::memory_order_release);
    impl->state.store(state_running, std::memory_order_release);
    impl->born.Post();  // from here on Start returns and `birth` is gone
    impl->queue.Run();
    return nullptr;
}

bool CVAXOTaskBase::Impl::CreateThread(Birth& birth) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return false;
    }
    (void)pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    int status = 0;
    {
        const CVAXOSignalsBlocked blocked;
        pthread_t thread;
        status = pthread_create(&thread, &attributes, &ThreadMain, &birth);
    }
    (void)pthread_attr_destroy(&attributes);
    return status == 0;
}

uint32 CVAXOTaskBase::Impl::NextNumber() {
    uint32 number = vaxotask_invalid_id;
    while (number == vaxotask_invalid_id) {  // once in 2^32 the count passes it
        number = pushes.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return number;
}

CVAXOTaskBase::CVAXOTaskBase(const char* name, ethread_priority priority)
    : m_threadid(0), m_pImpl(std::make_shared<Impl>(name, priority)) {}

// A worker that never got a thread has the only share, and its queue goes here.
CVAXOTaskBase::~CVAXOTaskBase() {
    m_pImpl->queue.Retire();
}

bool CVAXOTaskBase::Start() {
    const CVAXOAutolock guard(m_pImpl->startlock);
    if (m_pImpl->state.load(std::memory_order_acquire) == Impl::state_running) {
        return true;
    }
    Impl::Birth birth = {m_pImpl, &m_threadid};
    if (!Impl::CreateThread(birth)) {
        m_pImpl->state.store(Impl::state_failed, std::memory_order_release);
        return false;
    }
    m_pImpl->born.Wait(-1);
    return true;
}

uint32 CVAXOTaskBase::PushTask(CVAXOTaskBase* task, const CScopeCall& call) {
    if (task == nullptr) {
        return vaxotask_invalid_id;
    }
    Impl& impl = *task->m_pImpl;
    const uint32 number = impl.NextNumber();
    if (impl.state.load(std::memory_order_acquire) == Impl::state_failed) {
        task->Start();
    }
    impl.queue.Push(call);  // the last use of the worker: the call may release it
    return number;
}

CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority) {
    return new CVAXOTaskBase(name, priority);
}
