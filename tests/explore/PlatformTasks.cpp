// Threads, events and workers of the platform layer under the explorer.
#include "explore/PlatformTasks.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "vaxoevent.h"
#include "vaxotask.h"
#include "vaxothread.h"

using explore::Kind;

namespace {

std::map<std::pair<int, std::string>, std::uint64_t>& Pushes() {
    static auto& s_pushes = *new std::map<std::pair<int, std::string>, std::uint64_t>();
    return s_pushes;
}

}  // namespace

std::uint64_t explore::PushesBySelf(const std::string& worker) {
    return Pushes()[{Self(), worker}];
}

// ---- Threads -----------------------------------------------------------------

vaxothread_id vaxothread_selfid() {
    return 100 + explore::Self();
}

void vaxothread_set_name(const char* /*name*/) {}

// ---- Workers -----------------------------------------------------------------

struct CVAXOTaskBase::Impl {
    std::string name;
    int thread = -1;  // not started
    bool isStarting = false;
    bool retired = false;
    uint32 pushes = 0;
    std::deque<std::unique_ptr<CScopeCall>> calls;

    static void Serve(const std::shared_ptr<Impl>& impl);
};

void CVAXOTaskBase::Impl::Serve(const std::shared_ptr<Impl>& impl) {
    for (;;) {
        explore::Reach(
            Kind::WorkerTake, impl.get(), [&] { return impl->retired || !impl->calls.empty(); },
            explore::Kept::AsWorker);
        explore::Acquire(impl.get());
        if (impl->retired) {
            impl->calls.clear();
            return;
        }
        std::unique_ptr<CScopeCall> call;
        {
            const explore::Unseen unseen;
            call = std::move(impl->calls.front());
            impl->calls.pop_front();
        }
        (*call)();
    }
}

CVAXOTaskBase::CVAXOTaskBase(const char* name, ethread_priority /*priority*/)
    : m_threadid(0), m_pImpl(new Impl()) {
    m_pImpl->name = name == nullptr ? "" : name;
}

CVAXOTaskBase::~CVAXOTaskBase() {
    explore::Reach(Kind::WorkerRetire, m_pImpl.get());
    explore::Release(m_pImpl.get());
    if (m_pImpl->thread < 0) {
        m_pImpl->calls.clear();
    }
    const explore::Unseen unseen;
    m_pImpl->retired = true;
}

bool CVAXOTaskBase::Start() {
    const std::shared_ptr<Impl> impl = m_pImpl;
    // To spawn is a step as well: whoever starts it meanwhile waits for the first.
    explore::Reach(Kind::WorkerStart, impl.get(), [impl] { return !impl->isStarting; });
    const explore::Unseen unseen;
    if (impl->thread < 0) {
        impl->isStarting = true;
        impl->thread = explore::Spawn(
            impl->name, [impl] { Impl::Serve(impl); }, explore::Kept::AsWorker);
        m_threadid = 100 + impl->thread;
        impl->isStarting = false;
    }
    return true;
}

uint32 CVAXOTaskBase::PushTask(CVAXOTaskBase* task, const CScopeCall& call) {
    if (task == nullptr) {
        return vaxotask_invalid_id;
    }
    // The call may be what drops the worker: from the push on only this is touched.
    const std::shared_ptr<Impl> impl = task->m_pImpl;
    explore::Reach(Kind::WorkerPush, impl.get());
    auto copy = std::make_unique<CScopeCall>(call);
    explore::Release(impl.get());
    const explore::Unseen unseen;
    impl->calls.push_back(std::move(copy));
    ++Pushes()[{explore::Self(), impl->name}];
    return ++impl->pushes;
}

CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority) {
    return new CVAXOTaskBase(name, priority);
}

// ---- Events ------------------------------------------------------------------

struct vaxoevent_t {
    bool autoreset;
    bool signaled;
};

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    auto* const event = new vaxoevent_t{autoreset != 0, signaled != 0};
    explore::Forget(event);
    return event;
}

void vaxoevent_wait(hvaxoevent event) {
    vaxoevent_timedwait(event, -1);
}

// A time-out of any length may be over at once, or never.
bool vaxoevent_timedwait(hvaxoevent event, int64 milliseconds) {
    if (event == nullptr) {
        return false;
    }
    explore::Reach(Kind::EventWait, event, [=] { return milliseconds >= 0 || event->signaled; });
    const explore::Unseen unseen;
    const bool signaled = event->signaled;
    if (signaled) {
        event->signaled = !event->autoreset;
        explore::Acquire(event);
    }
    return signaled;
}

void vaxoevent_signal(hvaxoevent event) {
    if (event != nullptr) {
        explore::Reach(Kind::EventSignal, event);
        explore::Release(event);
        const explore::Unseen unseen;
        event->signaled = true;
    }
}

void vaxoevent_reset(hvaxoevent event) {
    if (event != nullptr) {
        explore::Reach(Kind::EventReset, event);
        const explore::Unseen unseen;
        event->signaled = false;
    }
}

bool vaxoevent_issignaled(hvaxoevent event) {
    if (event == nullptr) {
        return false;
    }
    explore::Reach(Kind::EventLook, event);
    const explore::Unseen unseen;
    return event->signaled;
}

void vaxoevent_destory(hvaxoevent event) {
    if (event != nullptr) {
        explore::Reach(Kind::EventDestroy, event);
        explore::Forget(event);
        delete event;
    }
}
