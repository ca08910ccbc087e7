// The one thread that calls an engine's operations, in the place of the proxy's worker 0.
#ifndef VAXO_TESTS_CONFORMANCE_WORKER_H
#define VAXO_TESTS_CONFORMANCE_WORKER_H

#include <functional>
#include <future>

namespace conformance {

class Worker {
public:
    // One a process, never destroyed.
    static Worker& Shared();

    // Leaves a job behind those that wait.
    std::future<void> Post(std::function<void()> job);
    // Runs a job and waits for it; on the worker itself, at once. When it does not return in time
    // the rule is told and the program ends with status 1: nothing else can be run any more.
    void Run(std::function<void()> job);
    // Waits for a posted job, as Run does.
    static void Await(std::future<void>& posted);
    bool IsCurrent() const;

private:
    Worker();
    struct Impl;
    Impl* m_impl;
};

}  // namespace conformance

#endif
