#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "conformance/platform/toy/Fault.h"
#include "vaxotask.h"

struct CVAXOTaskBase::Impl {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::unique_ptr<CScopeCall>> calls;
    uint32 pushes = 0;
    bool hasThread = false;
    bool isBorn = false;
    bool isRetired = false;
    bool isRunning = false;

    void Serve();
    std::unique_ptr<CScopeCall> Next();
    void Add(std::unique_ptr<CScopeCall> call);
};

// Null when the worker is to end.
std::unique_ptr<CScopeCall> CVAXOTaskBase::Impl::Next() {
    std::unique_lock<std::mutex> guard(mutex);
    isRunning = false;
    changed.notify_all();
    changed.wait(guard, [this] { return isRetired || !calls.empty(); });
    if (calls.empty() || (isRetired && !toy::Is("task-runs-the-rest"))) {
        return nullptr;
    }
    std::unique_ptr<CScopeCall> call = std::move(calls.front());
    calls.pop_front();
    isRunning = true;
    return call;
}

void CVAXOTaskBase::Impl::Serve() {
    std::unique_ptr<CScopeCall> kept;
    while (std::unique_ptr<CScopeCall> call = Next()) {
        (*call)();
        if (toy::Is("task-keeps-a-copy")) {
            kept = std::move(call);
        } else if (toy::Is("task-destroys-under-its-lock")) {
            const std::lock_guard<std::mutex> guard(mutex);
            call.reset();
        }
    }
    kept.reset();
    while (!calls.empty()) {  // retired: nobody pushes any more
        calls.pop_front();
    }
}

void CVAXOTaskBase::Impl::Add(std::unique_ptr<CScopeCall> call) {
    if (toy::Is("task-out-of-order") && !calls.empty()) {
        calls.push_front(std::move(call));
    } else if (!toy::Is("task-drops-calls") || pushes % 100 != 99) {
        calls.push_back(std::move(call));
    }
    changed.notify_all();
}

// Calls that a fault leaves undestroyed.
static std::deque<std::unique_ptr<CScopeCall>>& Never() {
    static auto& s_never = *new std::deque<std::unique_ptr<CScopeCall>>();
    return s_never;
}

CVAXOTaskBase::CVAXOTaskBase(const char* /*name*/, ethread_priority /*priority*/)
    : m_threadid(0), m_pImpl(std::make_shared<Impl>()) {}

CVAXOTaskBase::~CVAXOTaskBase() {
    std::deque<std::unique_ptr<CScopeCall>> rest;
    const std::lock_guard<std::mutex> guard(m_pImpl->mutex);
    m_pImpl->isRetired = true;
    if (!m_pImpl->hasThread) {
        (toy::Is("task-keeps-what-never-ran") ? Never() : rest).swap(m_pImpl->calls);
    }
    m_pImpl->changed.notify_all();
    while (!rest.empty()) {
        rest.pop_front();
    }
}

bool CVAXOTaskBase::Start() {
    const std::shared_ptr<Impl> impl = m_pImpl;
    std::unique_lock<std::mutex> guard(impl->mutex);
    if (!impl->hasThread) {
        try {
            std::thread([impl, id = &m_threadid] {
                if (!toy::Is("task-id-is-late")) {
                    *id = vaxothread_selfid();  // Start waits, so the worker is there
                }
                {
                    const std::lock_guard<std::mutex> born(impl->mutex);
                    impl->isBorn = true;
                    impl->changed.notify_all();
                }
                impl->Serve();
            }).detach();
        } catch (const std::system_error&) {
            return false;
        }
        impl->hasThread = true;
    }
    impl->changed.wait(guard, [&impl] { return impl->isBorn; });
    return true;
}

uint32 CVAXOTaskBase::PushTask(CVAXOTaskBase* task, const CScopeCall& call) {
    if (task == nullptr) {
        return vaxotask_invalid_id;
    }
    const std::shared_ptr<Impl> impl = task->m_pImpl;  // the call may release the worker
    if (toy::Is("task-started-by-a-push")) {
        task->Start();
    }
    auto copy = std::make_unique<CScopeCall>(call);
    std::unique_lock<std::mutex> guard(impl->mutex);
    if (toy::Is("task-push-waits")) {
        impl->changed.wait(guard, [&impl] { return !impl->isRunning; });
    }
    impl->Add(std::move(copy));
    return toy::Is("task-one-number") ? 1 : ++impl->pushes;
}

CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority) {
    return new CVAXOTaskBase(name, priority);
}
