#include "conformance/platform/ThreadStage.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <thread>

namespace conformance {
namespace {

struct Stage {
    std::mutex lock;
    std::condition_variable changed;
    std::multiset<std::string> waits;  // of all threads, now
    bool isOver = false;
};

// Never destroyed: a case that failed ends the process while its threads run.
Stage& TheStage() {
    static auto& s_stage = *new Stage();
    return s_stage;
}

std::atomic<const Case*> g_case{nullptr};
std::atomic<const char*> g_waitingFor{nullptr};
std::mutex g_report;  // locked once: of two threads that fail one reports

// While it lives the thread waits for that; the stage is locked at its beginning and end.
class Wait {
public:
    explicit Wait(const char* what) : m_own(TheStage().waits.insert(what)) {}
    ~Wait() { TheStage().waits.erase(m_own); }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

private:
    const std::multiset<std::string>::iterator m_own;
};

// With the stage locked: what the threads of a case that does not end wait for.
std::string Waits() {
    std::string all;
    for (const std::string& wait : TheStage().waits) {
        all += (all.empty() ? "" : "; ") + wait;
    }
    const char* const last = g_waitingFor;
    return !all.empty() ? all : last != nullptr ? last : "a call of the layer to return";
}

}  // namespace

void Together(const std::vector<std::function<void()>>& bodies) {
    std::atomic<std::size_t> missing{bodies.size()};
    std::vector<std::thread> threads;
    threads.reserve(bodies.size());
    for (const std::function<void()>& body : bodies) {
        threads.emplace_back([&missing, &body] {
            for (--missing; missing != 0;) {  // they begin together
                std::this_thread::yield();
            }
            body();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

int Rounds(int many) {
    return many;
}

void Break(const std::string& seen) {
    g_report.lock();
    const Case& broken = *g_case.load();
    std::fprintf(stderr, "RULE BROKEN  %s\n  rule: %s\n  seen: %s\n", broken.name, broken.rule,
                 seen.c_str());
    std::fflush(nullptr);
    std::_Exit(1);
}

void WaitingFor(const char* what) {
    g_waitingFor = what;
}

void Poll(const char* what, const std::function<bool()>& holds) {
    std::unique_lock<std::mutex> guard(TheStage().lock);
    const Wait wait(what);
    guard.unlock();
    while (!holds()) {
        std::this_thread::yield();
    }
    guard.lock();
}

void Flag::Raise() {
    const std::lock_guard<std::mutex> guard(TheStage().lock);
    m_isRaised = true;
    TheStage().changed.notify_all();
}

void Flag::Await(const char* what) const {
    std::unique_lock<std::mutex> guard(TheStage().lock);
    const Wait wait(what);
    TheStage().changed.wait(guard, [this] { return IsRaised(); });
}

void RunOnThreads(const Case& one, std::chrono::seconds limit) {
    g_case = &one;
    g_waitingFor = nullptr;
    Stage& stage = TheStage();
    stage.isOver = false;
    std::thread watch([&stage, limit] {
        std::unique_lock<std::mutex> guard(stage.lock);
        if (!stage.changed.wait_for(guard, limit, [&stage] { return stage.isOver; })) {
            Break("no end within " + std::to_string(limit.count()) + " s; waiting for: " + Waits());
        }
    });
    one.run();
    {
        const std::lock_guard<std::mutex> guard(stage.lock);
        stage.isOver = true;
        stage.changed.notify_all();
    }
    watch.join();
}

}  // namespace conformance
