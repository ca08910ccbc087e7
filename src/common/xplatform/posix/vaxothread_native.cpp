#include "vaxothread_native.h"

#include <cerrno>
#include <cstring>

#if defined(__linux__)
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#elif defined(__APPLE__)
#include <pthread/qos.h>
#include <sched.h>
#else
#error "This system needs its own answers to the functions of vaxothread_native.h."
#endif

namespace {

// The longest name that the system keeps, without its end.
#if defined(__linux__)
const size_t g_longest_name = 15;
#else
const size_t g_longest_name = 63;
#endif

}  // namespace

vaxothread_id vaxonative_thread_id() {
#if defined(__linux__)
    return static_cast<vaxothread_id>(syscall(SYS_gettid));
#else
    return static_cast<vaxothread_id>(pthread_mach_thread_np(pthread_self()));
#endif
}

void vaxonative_set_thread_name(const char* name) {
    char prefix[g_longest_name + 1];
    const size_t length = strnlen(name, g_longest_name);
    std::memcpy(prefix, name, length);
    prefix[length] = '\0';
#if defined(__linux__)
    (void)pthread_setname_np(pthread_self(), prefix);
#else
    (void)pthread_setname_np(prefix);
#endif
}

#if defined(__linux__)

void vaxonative_set_thread_priority(ethread_priority priority) {
    // On Linux these calls with an id of 0 concern the calling thread alone.
    if (priority == ethr_priority_low) {
        const int steps = 10;
        errno = 0;  // -1 is a value as well as a failure
        const int now = getpriority(PRIO_PROCESS, 0);
        if (errno == 0) {
            (void)setpriority(PRIO_PROCESS, 0, now + steps);
        }
    } else if (priority == ethr_priority_realtime) {
        // Threads that this one starts do not inherit it: a worker made in a
        // realtime worker's call would else be realtime whatever it asked for.
        sched_param parameter = {};
        parameter.sched_priority = sched_get_priority_min(SCHED_RR);
        (void)sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameter);
    }
}

#else

void vaxonative_set_thread_priority(ethread_priority priority) {
    if (priority == ethr_priority_low) {
        (void)pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
    } else if (priority == ethr_priority_realtime) {
        sched_param parameter = {};
        parameter.sched_priority = sched_get_priority_min(SCHED_RR);
        (void)pthread_setschedparam(pthread_self(), SCHED_RR, &parameter);
    }
}

#endif

int vaxonative_prefer_writers(pthread_rwlockattr_t* attributes) {
#if defined(__GLIBC__) || defined(__BIONIC__)
    // By default readers pass a waiting writer. The kind that stops them without
    // regard to a thread's earlier read locks is the only one that has an effect.
    return pthread_rwlockattr_setkind_np(attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
#elif defined(__APPLE__)
    (void)attributes;  // a waiting writer always goes first there
    return 0;
#else
#error "Tell how this system keeps a stream of readers from starving a writer."
#endif
}

int vaxonative_cond_init(pthread_cond_t* condition) {
#if defined(__linux__)
    pthread_condattr_t attributes;
    int status = pthread_condattr_init(&attributes);
    if (status != 0) {
        return status;
    }
    status = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    if (status == 0) {
        status = pthread_cond_init(condition, &attributes);
    }
    (void)pthread_condattr_destroy(&attributes);
    return status;
#else
    return pthread_cond_init(condition, nullptr);
#endif
}

int vaxonative_cond_wait_until(pthread_cond_t* condition, pthread_mutex_t* mutex,
                               const timespec& deadline) {
#if defined(__linux__)
    return pthread_cond_timedwait(condition, mutex, &deadline);
#else
    // No choice of clock there, but a wait for a span of time.
    timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    timespec left = {};
    left.tv_sec = deadline.tv_sec - now.tv_sec;
    left.tv_nsec = deadline.tv_nsec - now.tv_nsec;
    if (left.tv_nsec < 0) {
        left.tv_sec -= 1;
        left.tv_nsec += 1000000000;
    }
    if (left.tv_sec < 0) {
        return ETIMEDOUT;
    }
    return pthread_cond_timedwait_relative_np(condition, mutex, &left);
#endif
}
