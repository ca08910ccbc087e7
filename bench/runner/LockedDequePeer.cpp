#include "runner/LockedDequePeer.h"

#include <utility>

namespace vaxoengine {

LockedDequePeer::LockedDequePeer() : m_thread([this] { Run(); }) {}

LockedDequePeer::~LockedDequePeer() {
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_stopped = true;
    }
    m_condition.notify_one();
    m_thread.join();
}

// The signal is given after the mutex is free, so that who wakes does not wait for it again.
// (glibc makes no system call when nobody waits.)
void LockedDequePeer::Post(Job job) {
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    m_condition.notify_one();
}

void LockedDequePeer::Call(Job job) {
    CallByEvent(*this, std::move(job));
}

// One job for each locking, as the plain form of it has it.
void LockedDequePeer::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        m_condition.wait(lock, [this] { return m_stopped || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            return;
        }
        {
            const Job job = std::move(m_jobs.front());
            m_jobs.pop_front();
            lock.unlock();
            job();
        }  // the job is destroyed before the mutex is taken again
        lock.lock();
    }
}

}  // namespace vaxoengine
