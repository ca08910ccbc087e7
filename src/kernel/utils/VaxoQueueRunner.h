// Moves work onto numbered worker threads.
//
// Queue id 0 is the default worker. Every other id names a worker of its own,
// called "QR.%d" with its id, created on first use and kept for the life of the
// runner. In this library 0 runs the commands and the getters, 2 delivers the
// application's callbacks.
//
// Guarantees
// - AsyncRun and SyncRun may be called from any thread, also from a job.
// - Jobs of one id run one after another on that id's thread, in the order they
//   were queued; what a thread did before queueing is visible to the job.
// - Two threads that ask for the same new id at once get the same worker.
// - A job queued before the runner was destroyed and not yet begun does not run.
// - SyncRun from a job of the same id runs inline and cannot deadlock.
//
// Non-guarantees
// - No order between different ids.
// - A job that is empty or throws ends the process.
// - SyncRun has no time-out. If the runner is destroyed before its job ran, or a
//   worker waits in a SyncRun for another that waits for it, the caller waits for
//   ever.
// - Copies of the job are destroyed on the worker, those of a SyncRun possibly
//   a little after SyncRun returned.
//
// A worker that cannot be had: when the system gives no thread, AsyncRun keeps the
// job and every later AsyncRun tries again; SyncRun tries once more and, failing
// that, returns without having run the job. A null worker takes no job at all.
#ifndef VAXO_VAXOQUEUERUNNER_H
#define VAXO_VAXOQUEUERUNNER_H

#include <cstddef>

#include "utils/VaxoTaskCall.h"
#include "vaxolock.h"
#include "vaxomap.h"
#include "vaxorefc.h"
#include "vaxotask.h"

class CVaxoQueueRunner {
public:
    // Ties queued calls to the runner's life.
    typedef CScopeSource<CVaxoQueueRunner, false, CRefCountSafe> Source;

    // The one runner of the process, created on first use. It is never destroyed:
    // its workers never stop, and nothing they use may go at process exit.
    static CVaxoQueueRunner* GetSharedInstance();

    // A runner of one's own starts its default worker at once. Destroying it
    // retires its workers without waiting: the job that runs now is finished, the
    // others are dropped. One of its own jobs may destroy it, even before the
    // AsyncRun that queued the job has returned; no other call may be under way.
    CVaxoQueueRunner();
    ~CVaxoQueueRunner();
    CVaxoQueueRunner(const CVaxoQueueRunner&) = delete;
    CVaxoQueueRunner& operator=(const CVaxoQueueRunner&) = delete;

    // The default worker. Owned by the runner.
    CVAXOTaskDefault* GetDefaultTask() const { return m_pTask; }

    // Queues a copy of the job on worker `id` and returns at once.
    void AsyncRun(VaxoRunnable job, int id);

    // Queues a copy of the job on worker `id` and returns when it has run; on that
    // worker itself, runs it inline.
    void SyncRun(VaxoRunnable job, int id);

    // For the liveness source: where it stands in the object, and the object that
    // stands for the runner in a queued call.
    static std::size_t offset_of_source();
    static CRefCount* SafeInstance(CVaxoQueueRunner* runner);  // the holder of that source

private:
    CVAXOTaskDefault* GetWorkQueue(int id);
    void Push(CVAXOTaskDefault* task, vaxo_task_call_base* record);

    // The worker-side bodies. Static, because the runner may be gone while the
    // last job runs: they touch the record only.
    static void AsyncRunInner(VaxoRunnable job, CVAXOTaskDefault* task);
    static bool AsyncRunInner_hidden(void* record);
    static void SyncRunInner(VaxoRunnable job, hvaxoevent event);
    static bool SyncRunInner_hidden(void* record);

    // What the worker invokes. Touches nothing of the runner, for the same reason.
    int32 vaxo_asyn_call(CCallTaskArg* arg);

    Source init_normal_source;  // detached when the runner goes
    CVAXOTaskDefault* m_pTask = nullptr;
    CVAXOLock m_lock;                             // guards m_id2task and worker creation
    vaxostl::map<int, CVAXOTaskBase*> m_id2task;  // ids other than 0; only grows
};

#endif
