// What the tests of the platform layer share: meeting points for threads, and a
// look at a thread from outside.
#ifndef VAXO_TESTS_THREADTOOLS_H
#define VAXO_TESTS_THREADTOOLS_H

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vaxothread.h"

// All of `count` threads are inside Meet() before one of them leaves it. Once.
class Rendezvous {
public:
    explicit Rendezvous(int count) : m_missing(count) {}

    void Meet() {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_missing;
};

// Threads that all run action(own number) and begin together.
class Threads {
public:
    template <class Action>
    Threads(int count, Action action) : m_together(count) {
        m_threads.reserve(static_cast<std::size_t>(count));
        for (int number = 0; number < count; ++number) {
            m_threads.emplace_back([this, action, number] {
                m_together.Meet();
                action(number);
            });
        }
    }
    ~Threads() { Join(); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

    void Join() {
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_threads.clear();
    }

private:
    Rendezvous m_together;
    std::vector<std::thread> m_threads;
};

// What `question` answers on a thread of its own.
template <class Question>
bool OnAnotherThread(Question question) {
    bool answer = false;
    std::thread thread([&answer, &question] { answer = question(); });
    thread.join();
    return answer;
}

// Answers when the thread sleeps in the kernel, or is about to as far as can be
// told: a system without /proc cannot show it. Tests use it to get into the
// interesting situation; none may fail for being there too early.
inline void AwaitBlocked(vaxothread_id id) {
    const std::string path = "/proc/self/task/" + std::to_string(id) + "/stat";
    for (;;) {
        std::ifstream stat(path);
        std::string line;
        if (!std::getline(stat, line)) {
            return;
        }
        const std::string::size_type end = line.rfind(')');  // of the thread's name
        if (end != std::string::npos && line.compare(end + 1, 3, " S ") == 0) {
            return;
        }
        std::this_thread::yield();
    }
}

// Waits for a thread's id that the thread itself puts there.
inline vaxothread_id AwaitId(const std::atomic<vaxothread_id>& id) {
    while (id.load() == 0) {
        std::this_thread::yield();
    }
    return id.load();
}

// Answers when the thread has ended.
inline void AwaitGone(vaxothread_id id) {
    const std::string path = "/proc/self/task/" + std::to_string(id) + "/stat";
    while (std::ifstream(path).good()) {
        std::this_thread::yield();
    }
}

// The system's own record of a thread's name.
inline std::string SystemName(vaxothread_id id) {
    std::ifstream comm("/proc/self/task/" + std::to_string(id) + "/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

#endif
