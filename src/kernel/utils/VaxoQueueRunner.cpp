#include "utils/VaxoQueueRunner.h"

#include <memory>
#include <type_traits>
#include <utility>

#include "vaxoevent.h"
#include "vaxostream.h"
#include "vaxothread.h"

namespace {

// Gives up one reference of a counted object at the end of a scope, also when
// something throws on the way.
struct Releaser {
    void operator()(CRefCount* counted) const { counted->Release(); }
};

struct EventDestroyer {
    void operator()(hvaxoevent event) const { vaxoevent_destory(event); }
};

// A record travels as the address of its base, the only type the caller knows.
template <class Record>
Record* RecordAt(void* record) {
    return static_cast<Record*>(static_cast<vaxo_task_call_base*>(record));
}

void PostIfSet(CVAXOEvent* event) {
    if (event != nullptr) {
        event->Post();
    }
}

}  // namespace

CVaxoQueueRunner* CVaxoQueueRunner::GetSharedInstance() {
    static auto* const s_pRunner = new CVaxoQueueRunner();
    return s_pRunner;
}

CVaxoQueueRunner::CVaxoQueueRunner() : init_normal_source(this) {
    char name[] = "QR.0";
    m_pTask = VAXOTaskCreate(name, ethr_priority_normal);
    if (m_pTask != nullptr) {
        m_pTask->Start();
    }
}

CVaxoQueueRunner::~CVaxoQueueRunner() {
    // First of all, so that no further queued job begins.
    init_normal_source.holder->Detach();
    if (m_pTask != nullptr) {
        m_pTask->Release();
    }
    for (auto it = m_id2task.begin(); !it.atEnd(); ++it) {
        if (it->second != nullptr) {
            it->second->Release();
        }
    }
}

CVAXOTaskDefault* CVaxoQueueRunner::GetWorkQueue(int id) {
    CVAXOAutolock lock(m_lock);
    if (id == 0) {
        return m_pTask;
    }
    const auto it = m_id2task.find(id);
    if (!it.atEnd()) {
        return it->second;
    }
    vaxo::strutf8 name(nullptr, 0);
    name.format("QR.%d", id);
    std::unique_ptr<CVAXOTaskBase, Releaser> worker(VAXOTaskCreate(name, ethr_priority_normal));
    if (worker) {
        worker->Start();
    }
    m_id2task.set(id, worker.get());
    return worker.release();
}

// Hands the record, which it takes over, to the worker.
void CVaxoQueueRunner::Push(CVAXOTaskDefault* task, vaxo_task_call_base* record) {
    std::unique_ptr<vaxo_task_call_base> owned(record);
    const std::unique_ptr<CCallTaskArg, Releaser> arg(new CCallTaskArg(owned.get()));
    static_cast<void>(owned.release());  // the argument owns it now
    const CScopeCall call(this, &CVaxoQueueRunner::vaxo_asyn_call, arg.get(), nullptr);
    CVAXOTaskBase::PushTask(task, call);
}

void CVaxoQueueRunner::AsyncRun(VaxoRunnable job, int id) {
    CVAXOTaskDefault* const task = GetWorkQueue(id);
    Push(task, new vaxo_task_call_CVaxoQueueRunnerAsyncRunInner(&AsyncRunInner_hidden, this,
                                                                std::move(job)));
}

void CVaxoQueueRunner::SyncRun(VaxoRunnable job, int id) {
    CVAXOTaskDefault* const task = GetWorkQueue(id);
    if (task == nullptr) {
        return;
    }
    if (task->getthreadid() == vaxothread_selfid()) {
        job();
        return;
    }
    if (task->getthreadid() == 0 && !task->Start()) {
        return;
    }
    const std::unique_ptr<vaxoevent_t, EventDestroyer> event(vaxoevent_create(1, 0));
    Push(task, new vaxo_task_call_CVaxoQueueRunnerSyncRunInner(&SyncRunInner_hidden, this,
                                                               std::move(job), event.get()));
    vaxoevent_wait(event.get());
}

void CVaxoQueueRunner::AsyncRunInner(VaxoRunnable job, CVAXOTaskDefault* /*task*/) {
    job();
}

bool CVaxoQueueRunner::AsyncRunInner_hidden(void* record) {
    auto* const call = RecordAt<vaxo_task_call_CVaxoQueueRunnerAsyncRunInner>(record);
    AsyncRunInner(call->_job, call->_pTask);
    PostIfSet(call->_event);
    return true;
}

void CVaxoQueueRunner::SyncRunInner(VaxoRunnable job, hvaxoevent event) {
    job();
    vaxoevent_signal(event);
}

bool CVaxoQueueRunner::SyncRunInner_hidden(void* record) {
    auto* const call = RecordAt<vaxo_task_call_CVaxoQueueRunnerSyncRunInner>(record);
    SyncRunInner(call->_job, call->_e);
    PostIfSet(call->_event);
    return true;
}

int32 CVaxoQueueRunner::vaxo_asyn_call(CCallTaskArg* arg) {
    arg->pCall->func(arg->pCall);
    return 0;
}

std::size_t CVaxoQueueRunner::offset_of_source() {
    static_assert(std::is_standard_layout<CVaxoQueueRunner>::value,
                  "the offset of a member is defined for standard-layout classes");
    return offsetof(CVaxoQueueRunner, init_normal_source);
}

CRefCount* CVaxoQueueRunner::SafeInstance(CVaxoQueueRunner* runner) {
    return runner->init_normal_source.holder;
}
