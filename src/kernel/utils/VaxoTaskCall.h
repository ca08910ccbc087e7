// The records behind a queued call: what a worker is handed.
//
// tagCallTaskArg owns one record and is counted; the worker's copy of the call
// holds the last reference, so the record, and the job in it, are freed when that
// copy is destroyed, run or not.
#ifndef VAXO_VAXOTASKCALL_H
#define VAXO_VAXOTASKCALL_H

#include <functional>
#include <utility>

#include "vaxoblocks.h"
#include "vaxoevent.h"
#include "vaxorefc.h"
#include "vaxotask.h"
#include "vaxotypes.h"

// The unit of work: a callable taking nothing and returning nothing. It must not
// be empty and must not throw.
typedef std::function<void()> VaxoRunnable;

typedef bool (*vaxo_any_call)(void* record);
typedef void (*vaxo_any_call_nr)(void* record);

// A record: a label and the function that runs it. The function is always given
// the record's vaxo_task_call_base address.
struct vaxo_task_call_base : public vaxo::block_made<vaxo_task_call_base> {
    vaxo_task_call_base(const char* name, vaxo_any_call call) : fname(name), func(call) {}
    virtual ~vaxo_task_call_base() = default;

    vaxo_task_call_base(const vaxo_task_call_base&) = delete;
    vaxo_task_call_base& operator=(const vaxo_task_call_base&) = delete;

    const char* fname;  // static storage
    union {
        vaxo_any_call func;  // the member the runner sets and calls
        vaxo_any_call_nr func_nr;
    };
};

// The counted owner of a record, made with one reference.
struct tagCallTaskArg : public CRefCountSafe, public vaxo::block_made<tagCallTaskArg> {
    explicit tagCallTaskArg(vaxo_task_call_base* call) : pCall(call) {}
    ~tagCallTaskArg() override { delete pCall; }

    vaxo_task_call_base* pCall;
};

typedef tagCallTaskArg CCallTaskArg;

class CVaxoQueueRunner;

struct vaxo_task_call_base_CVaxoQueueRunner : public vaxo_task_call_base {
    vaxo_task_call_base_CVaxoQueueRunner(const char* name, vaxo_any_call call,
                                         CVaxoQueueRunner* runner)
        : vaxo_task_call_base(name, call), fthis(runner) {}

    CVaxoQueueRunner* fthis;       // may be gone when the record runs: never followed
    CVAXOEvent* _event = nullptr;  // posted after the body has run; the runner sets none
};

struct vaxo_task_call_CVaxoQueueRunnerAsyncRunInner : public vaxo_task_call_base_CVaxoQueueRunner {
    vaxo_task_call_CVaxoQueueRunnerAsyncRunInner(vaxo_any_call call, CVaxoQueueRunner* runner,
                                                 VaxoRunnable job)
        : vaxo_task_call_base_CVaxoQueueRunner("AsyncRunInner", call, runner),
          _job(std::move(job)) {}

    VaxoRunnable _job;
    CVAXOTaskDefault* _pTask = nullptr;  // part of the record's shape; nothing reads it
};

struct vaxo_task_call_CVaxoQueueRunnerSyncRunInner : public vaxo_task_call_base_CVaxoQueueRunner {
    vaxo_task_call_CVaxoQueueRunnerSyncRunInner(vaxo_any_call call, CVaxoQueueRunner* runner,
                                                VaxoRunnable job, hvaxoevent event)
        : vaxo_task_call_base_CVaxoQueueRunner("SyncRunInner", call, runner),
          _job(std::move(job)),
          _e(event) {}

    VaxoRunnable _job;
    hvaxoevent _e;  // the caller's; gone as soon as it has been signalled
};

#endif
