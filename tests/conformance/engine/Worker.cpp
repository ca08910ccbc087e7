#include "conformance/engine/Worker.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "conformance/engine/Ledger.h"
#include "conformance/engine/Rules.h"

namespace conformance {

struct Worker::Impl {
    std::mutex lock;  // guards the jobs
    std::condition_variable filled;
    std::deque<std::packaged_task<void()>> jobs;
    std::thread::id thread;

    std::packaged_task<void()> Take() {
        std::unique_lock<std::mutex> hold(lock);
        filled.wait(hold, [this] { return !jobs.empty(); });
        std::packaged_task<void()> job = std::move(jobs.front());
        jobs.pop_front();
        return job;
    }
};

Worker& Worker::Shared() {
    static auto* const worker = new Worker;
    return *worker;
}

Worker::Worker() : m_impl(new Impl) {
    std::thread thread([impl = m_impl] {
        while (true) {
            impl->Take()();
        }
    });
    m_impl->thread = thread.get_id();
    thread.detach();
}

std::future<void> Worker::Post(std::function<void()> job) {
    std::packaged_task<void()> task(std::move(job));
    std::future<void> done = task.get_future();
    const std::lock_guard<std::mutex> hold(m_impl->lock);
    m_impl->jobs.push_back(std::move(task));
    m_impl->filled.notify_one();
    return done;
}

void Worker::Run(std::function<void()> job) {
    if (IsCurrent()) {
        job();
        return;
    }
    std::future<void> done = Post(std::move(job));
    Await(done);
}

void Worker::Await(std::future<void>& posted) {
    if (posted.wait_for(Limit()) == std::future_status::ready) {
        posted.get();
        return;
    }
    ADD_FAILURE() << "broken rule: " << rule::Returns
                  << "\n  an operation has not returned; the program ends here";
    static_cast<void>(std::fflush(nullptr));
    std::_Exit(1);
}

bool Worker::IsCurrent() const {
    return std::this_thread::get_id() == m_impl->thread;
}

}  // namespace conformance
