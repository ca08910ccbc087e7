#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "conformance/platform/toy/Fault.h"
#include "vaxoevent.h"
#include "vaxothread.h"

// ---- Events ---------------------------------------------------------------------

struct vaxoevent_t {
    vaxoevent_t(bool resetsItself, bool starts) : autoreset(resetsItself), isSignaled(starts) {}

    const bool autoreset;
    bool isSignaled;
    int waiters = 0;
    int signals = 0;
    std::mutex mutex;
    std::condition_variable changed;

    void Take() {
        if ((autoreset && !toy::Is("event-never-resets")) || toy::Is("event-always-resets")) {
            isSignaled = false;
        }
    }
};

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    return new vaxoevent_t(autoreset != 0, signaled != 0);
}

void vaxoevent_wait(hvaxoevent event) {
    vaxoevent_timedwait(event, -1);
}

bool vaxoevent_timedwait(hvaxoevent event, int64 milliseconds) {
    if (event == nullptr) {
        return false;
    }
    if (toy::Is("event-short-times")) {
        milliseconds = static_cast<int32>(milliseconds);
    }
    std::unique_lock<std::mutex> guard(event->mutex);
    const auto signaled = [event] { return event->isSignaled; };
    const int64 longest = int64(1) << 40;  // beyond what the clock can be asked for
    ++event->waiters;
    if (milliseconds < 0 || milliseconds > longest) {
        event->changed.wait(guard, signaled);
    } else if (!toy::Is("event-no-time")) {
        event->changed.wait_for(guard, std::chrono::milliseconds(milliseconds), signaled);
    }
    --event->waiters;
    if (!event->isSignaled) {
        return false;
    }
    event->Take();
    return true;
}

// With the mutex held to the end: whoever waits may free the event afterwards.
void vaxoevent_signal(hvaxoevent event) {
    if (event == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> guard(event->mutex);
    event->isSignaled = !(toy::Is("event-loses-a-set") && event->waiters == 0);
    if (toy::Is("event-forgets-to-wake") && ++event->signals % 100 == 0) {
        return;
    }
    event->changed.notify_all();
}

void vaxoevent_reset(hvaxoevent event) {
    if (event != nullptr && !toy::Is("event-reset-does-nothing")) {
        const std::lock_guard<std::mutex> guard(event->mutex);
        event->isSignaled = false;
    }
}

bool vaxoevent_issignaled(hvaxoevent event) {
    if (event == nullptr) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(event->mutex);
    return event->isSignaled;
}

void vaxoevent_destory(hvaxoevent event) {
    delete event;
}

// ---- Threads --------------------------------------------------------------------

vaxothread_id vaxothread_selfid() {
    static std::atomic<vaxothread_id> s_last{0};
    thread_local vaxothread_id t_id = 0;
    if (t_id == 0 || toy::Is("thread-id-changes")) {
        t_id = ++s_last;
    }
    return toy::Is("thread-ids-equal") ? 1 : t_id;
}

void vaxothread_set_name(const char* /*name*/) {}
