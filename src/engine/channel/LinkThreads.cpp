#include "engine/channel/LinkThreads.h"

#include <mosquitto.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "common/xplatform/posix/vaxosignals.h"
#include "vaxothread.h"

namespace vaxoengine {

namespace {

struct LinkThread {
    std::thread thread;
    std::function<void()> stop;
    bool finished = false;
};

struct Threads {
    std::mutex mutex;
    std::condition_variable finished;
    std::list<LinkThread> list;
    bool exiting = false;
    const pid_t process = getpid();
};

void EndAll();

// Brings up the two libraries and registers the handler behind theirs, so that it runs
// before them.
Threads* MakeThreads() {
    mosquitto_lib_init();
    // The TLS library would come up with the first connection only. Asking for an engine of
    // it brings it up now; that there is none of this name does not matter.
    mosquitto* const probe = mosquitto_new(nullptr, true, nullptr);
    if (probe != nullptr) {
        mosquitto_string_option(probe, MOSQ_OPT_TLS_ENGINE, "none");
        mosquitto_destroy(probe);
    }
    std::atexit(EndAll);
    return new Threads;
}

// Never destroyed: threads may outlive the exit handlers.
Threads& Shared() {
    static Threads* const threads = MakeThreads();
    return *threads;
}

// Joining takes the finished ones to their very end, thread-local data of the TLS library
// included.
void JoinFinished(Threads* threads, std::unique_lock<std::mutex>* lock) {
    std::list<LinkThread> done;
    for (auto thread = threads->list.begin(); thread != threads->list.end();) {
        const auto next = std::next(thread);
        if (thread->finished && thread->thread.get_id() != std::this_thread::get_id()) {
            done.splice(done.end(), threads->list, thread);
        }
        thread = next;
    }
    lock->unlock();
    for (LinkThread& thread : done) {
        thread.thread.join();
    }
    lock->lock();
}

void EndAll() {
    Threads& threads = Shared();
    if (getpid() != threads.process) {
        return;  // a forked child has none of the threads, and the lock may be held for ever
    }
    std::unique_lock<std::mutex> lock(threads.mutex);
    threads.exiting = true;
    for (LinkThread& thread : threads.list) {
        thread.stop();
    }
    threads.finished.wait_for(lock, std::chrono::seconds(1), [&threads] {
        return std::all_of(threads.list.begin(), threads.list.end(),
                           [](const LinkThread& thread) { return thread.finished; });
    });
    JoinFinished(&threads, &lock);
}

void RunThread(LinkThread* self, std::function<void()> body) {
    vaxothread_set_name("vaxo-channel");
    body();
    body = nullptr;  // what it holds goes before the thread counts as finished
    Threads& threads = Shared();
    const std::lock_guard<std::mutex> lock(threads.mutex);
    self->stop = [] {};
    self->finished = true;
    threads.finished.notify_all();
}

}  // namespace

bool StartLinkThread(std::function<void()> body, std::function<void()> stop) {
    Threads& threads = Shared();
    std::unique_lock<std::mutex> lock(threads.mutex);
    JoinFinished(&threads, &lock);
    if (threads.exiting) {
        return false;
    }
    const CVAXOSignalsBlocked blocked;
    const auto place = threads.list.emplace(threads.list.end());
    place->stop = std::move(stop);
    LinkThread* const self = &*place;
    try {
        place->thread = std::thread(RunThread, self, std::move(body));
    } catch (const std::system_error&) {
        threads.list.erase(place);
        return false;
    }
    return true;
}

bool LinkThreadsMayRun() {
    Threads& threads = Shared();
    const std::lock_guard<std::mutex> lock(threads.mutex);
    return !threads.exiting;
}

}  // namespace vaxoengine
