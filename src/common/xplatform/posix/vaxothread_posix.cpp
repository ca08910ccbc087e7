#include <pthread.h>

#include "vaxothread.h"
#include "vaxothread_native.h"

namespace {

// The calling thread's id, 0 while it has not been asked for. The system is asked
// once a thread: locks ask for the id at every turn.
thread_local vaxothread_id g_own_id = 0;

// The only thread of a child process has got a new id.
void ForgetOwnId() {
    g_own_id = 0;
}

// False until this file has been initialised, and for good if the system cannot
// tell of a fork: then ids are not kept.
const bool g_fork_is_told = pthread_atfork(nullptr, nullptr, &ForgetOwnId) == 0;

}  // namespace

vaxothread_id vaxothread_selfid() {
    if (g_own_id != 0) {
        return g_own_id;
    }
    const vaxothread_id id = vaxonative_thread_id();
    if (g_fork_is_told) {
        g_own_id = id;
    }
    return id;
}

void vaxothread_set_name(const char* name) {
    if (name != nullptr) {
        vaxonative_set_thread_name(name);
    }
}
