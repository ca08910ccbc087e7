#include "kernel/utils/ScriptedPlatform.h"

#include <utility>

#include "vaxoevent.h"
#include "vaxolock.h"

namespace scripted {

namespace {

std::unique_ptr<Script>& Slot() {
    static std::unique_ptr<Script> s_script(new Script);
    return s_script;
}

}  // namespace

Script& TheScript() {
    return *Slot();
}

void Reset() {
    Slot() = std::make_unique<Script>();
}

bool RunOne(Worker& worker, bool* made) {
    if (worker.calls.empty()) {
        return false;
    }
    const std::unique_ptr<CScopeCall> call = std::move(worker.calls.front());
    worker.calls.pop_front();
    const vaxothread_id before = std::exchange(TheScript().self, worker.id);
    const bool done = (*call)();
    TheScript().self = before;
    if (made != nullptr) {
        *made = done;
    }
    return true;
}

void RunAll() {
    bool some = true;
    while (some) {
        some = false;
        // By index: a call may make the runner create another worker.
        for (std::size_t i = 0; i < TheScript().workers.size(); ++i) {
            const std::shared_ptr<Worker> worker = TheScript().workers[i];
            some = RunOne(*worker) || some;
        }
    }
}

}  // namespace scripted

using scripted::TheScript;

struct CVAXOTaskBase::Impl {
    std::shared_ptr<scripted::Worker> worker = std::make_shared<scripted::Worker>();
};

CVAXOTaskBase::CVAXOTaskBase(const char* name, ethread_priority priority)
    : m_threadid(0), m_pImpl(std::make_shared<Impl>()) {
    m_pImpl->worker->name = name;
    m_pImpl->worker->priority = priority;
    TheScript().workers.push_back(m_pImpl->worker);
}

CVAXOTaskBase::~CVAXOTaskBase() {
    m_pImpl->worker->released = true;
}

bool CVAXOTaskBase::Start() {
    TheScript().trace.push_back("start " + m_pImpl->worker->name);
    ++m_pImpl->worker->starts;
    if (TheScript().startFails) {
        return false;
    }
    m_pImpl->worker->id = 100 + static_cast<vaxothread_id>(TheScript().workers.size());
    m_threadid = m_pImpl->worker->id;
    return true;
}

uint32 CVAXOTaskBase::PushTask(CVAXOTaskBase* task, const CScopeCall& call) {
    if (TheScript().locksHeld != 0) {
        ++TheScript().pushesUnderLock;
    }
    if (task == nullptr) {
        ++TheScript().pushesToNull;
        return vaxotask_invalid_id;
    }
    TheScript().trace.push_back("push " + task->m_pImpl->worker->name);
    task->m_pImpl->worker->calls.push_back(std::make_unique<CScopeCall>(call));
    return 1;
}

CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority) {
    TheScript().trace.push_back(std::string("create ") + name);
    if (TheScript().createFails) {
        return nullptr;
    }
    return new CVAXOTaskBase(name, priority);
}

vaxothread_id vaxothread_selfid() {
    return TheScript().self;
}

void vaxolock_init(vaxolock_t* /*lock*/) {}
void vaxolock_destroy(vaxolock_t* /*lock*/) {}
void vaxolock_lock(vaxolock_t* /*lock*/) {
    ++TheScript().locksHeld;
}
void vaxolock_unlock(vaxolock_t* /*lock*/) {
    --TheScript().locksHeld;
}

struct vaxoevent_t {
    bool signaled;
};

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    TheScript().trace.push_back("event create " + std::to_string(autoreset) + " " +
                                std::to_string(signaled));
    return new vaxoevent_t{signaled != 0};
}

// Waiting lets the other threads go on: here, the workers.
void vaxoevent_wait(hvaxoevent event) {
    TheScript().trace.emplace_back("event wait");
    scripted::RunAll();
    TheScript().trace.emplace_back(event->signaled ? "event passed" : "event stuck");
}

void vaxoevent_signal(hvaxoevent event) {
    TheScript().trace.emplace_back("event signal");
    event->signaled = true;
}

void vaxoevent_destory(hvaxoevent event) {
    TheScript().trace.emplace_back("event destory");
    delete event;
}
