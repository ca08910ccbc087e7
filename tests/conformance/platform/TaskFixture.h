// A worker and something for it to do.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_TASKFIXTURE_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_TASKFIXTURE_H

#include <functional>
#include <string>
#include <utility>

#include "vaxoevent.h"
#include "vaxorefc.h"
#include "vaxotask.h"

// The argument of a call: what to do when it runs, and when it is destroyed.
class Job : public CRefCountSafe {
public:
    typedef std::function<void()> Action;

    Job(Action run, Action end) : m_run(std::move(run)), m_end(std::move(end)) {}
    ~Job() override {
        if (m_end) {
            m_end();
        }
    }
    void Run() const {
        if (m_run) {
            m_run();
        }
    }

private:
    const Action m_run;
    const Action m_end;
};

// The target of the calls, and their liveness host.
class Target {
public:
    static CRefCount* SafeInstance(Target* target) { return target->m_source.holder; }

    int32 Run(Job* job) {
        job->Run();
        return 77;
    }

private:
    CScopeSource<Target, false, CRefCountSafe> m_source{this};
};

// Pushes a call of `run`. The queue's copy is the only one left when this returns,
// so `end` happens where the queue destroys it.
inline uint32 Push(CVAXOTaskBase* task, Target& target, Job::Action run,
                   Job::Action end = nullptr) {
    Job* const job = new Job(std::move(run), std::move(end));
    const uint32 number =
        CVAXOTaskBase::PushTask(task, CScopeCall(&target, &Target::Run, job, nullptr));
    job->Release();
    return number;
}

// A worker that is released with its scope, if not before.
class Worker {
public:
    explicit Worker(const char* name, ethread_priority priority = ethr_priority_normal)
        : m_name(name), m_task(VAXOTaskCreate(m_name.data(), priority)) {}
    ~Worker() { Drop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    CVAXOTaskBase* Task() const { return m_task; }
    bool Start() const { return m_task->Start(); }

    // Everything pushed so far has been run and destroyed when this returns.
    void Drain() {
        CVAXOEvent done(true, false);
        Push(m_task, m_target, [&done] { done.Post(); });
        done.Wait(-1);
    }

    // Drops the one reference; true when that was the last.
    bool Drop() {
        CVAXOTaskBase* const task = std::exchange(m_task, nullptr);
        return task != nullptr && task->Release();
    }

private:
    std::string m_name;
    CVAXOTaskBase* m_task;
    Target m_target;
};

// A call that keeps the worker busy until it is let go.
class Gate {
public:
    Gate(CVAXOTaskBase* task, Target& target) : m_entered(true, false), m_open(true, false) {
        Push(task, target, [this] {
            m_entered.Post();
            m_open.Wait(-1);
        });
    }
    void AwaitEntered() { m_entered.Wait(-1); }
    void Open() { m_open.Post(); }

private:
    CVAXOEvent m_entered;
    CVAXOEvent m_open;
};

#endif
