#include <pthread.h>

#include <cerrno>
#include <ctime>
#include <memory>

#include "vaxodeadline.h"
#include "vaxoevent.h"
#include "vaxoposix.h"
#include "vaxothread_native.h"

// Events for systems without futexes (vaxoevent_linux.cpp): a flag under a mutex, and a
// condition variable to wait for it.
//
// Signalling happens with the mutex held. A waiter needs the mutex to leave its
// wait, so by the time it returns the signalling thread is done with the
// condition variable and has released the mutex: nothing of the event is touched
// any more, and the waiter may free it.
struct vaxoevent_t {
    pthread_mutex_t mutex;
    pthread_cond_t condition;
    bool autoreset;
    bool signaled;
};

namespace {

class Guard {
public:
    explicit Guard(hvaxoevent event) : m_mutex(&event->mutex) {
        vaxoposix_must(pthread_mutex_lock(m_mutex));
    }
    ~Guard() { vaxoposix_must(pthread_mutex_unlock(m_mutex)); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    pthread_mutex_t* m_mutex;
};

// Takes the signal of an event that is held and signalled.
void Take(hvaxoevent event) {
    if (event->autoreset) {
        event->signaled = false;
    }
}

}  // namespace

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    auto event = std::make_unique<vaxoevent_t>();
    event->autoreset = autoreset != 0;
    event->signaled = signaled != 0;
    vaxoposix_made(pthread_mutex_init(&event->mutex, nullptr));
    const int status = vaxonative_cond_init(&event->condition);
    if (status != 0) {
        vaxoposix_must(pthread_mutex_destroy(&event->mutex));
        vaxoposix_made(status);
    }
    return event.release();
}

void vaxoevent_wait(hvaxoevent event) {
    if (event == nullptr) {
        return;
    }
    const Guard guard(event);
    while (!event->signaled) {
        vaxoposix_must(pthread_cond_wait(&event->condition, &event->mutex));
    }
    Take(event);
}

bool vaxoevent_timedwait(hvaxoevent event, int64 milliseconds) {
    if (event == nullptr) {
        return false;
    }
    timespec deadline = {};
    if (milliseconds < 0 || (milliseconds > 0 && !vaxodeadline_in(milliseconds, deadline))) {
        vaxoevent_wait(event);
        return true;
    }
    const Guard guard(event);
    bool in_time = milliseconds > 0;
    while (!event->signaled && in_time) {
        const int status = vaxonative_cond_wait_until(&event->condition, &event->mutex, deadline);
        in_time = status != ETIMEDOUT;
        vaxoposix_must(in_time ? status : 0);
    }
    if (!event->signaled) {
        return false;
    }
    Take(event);
    return true;
}

void vaxoevent_signal(hvaxoevent event) {
    if (event == nullptr) {
        return;
    }
    const Guard guard(event);
    event->signaled = true;
    if (event->autoreset) {
        vaxoposix_must(pthread_cond_signal(&event->condition));
    } else {
        vaxoposix_must(pthread_cond_broadcast(&event->condition));
    }
}

void vaxoevent_reset(hvaxoevent event) {
    if (event != nullptr) {
        const Guard guard(event);
        event->signaled = false;
    }
}

bool vaxoevent_issignaled(hvaxoevent event) {
    if (event == nullptr) {
        return false;
    }
    const Guard guard(event);
    return event->signaled;
}

void vaxoevent_destory(hvaxoevent event) {
    if (event != nullptr) {
        vaxoposix_must(pthread_cond_destroy(&event->condition));
        vaxoposix_must(pthread_mutex_destroy(&event->mutex));
        delete event;
    }
}
