// Thread identity, names and priorities.
//
// All functions may be called from any thread.
#ifndef VAXO_VAXOTHREAD_H
#define VAXO_VAXOTHREAD_H

#include "vaxotypes.h"

// A thread's id: distinct among the live threads of the process, never 0. The
// system may give the id of a thread that has ended to a new one.
typedef int32 vaxothread_id;

// A wish, not a claim: where the system does not permit it, the thread runs as it
// was made, and nobody is told.
enum ethread_priority : int32 {
    ethr_priority_low = 0,       // gives way to others: ten steps nicer on Linux
    ethr_priority_normal = 1,    // what the system gives a new thread
    ethr_priority_realtime = 2,  // before all ordinary threads, in turn with its like
};

// The calling thread's id. On Linux this is the kernel's thread id, the number
// that debuggers, `top -H` and the log file show. The system is asked once a
// thread, and again after fork() in the child, whose one thread has a new id.
vaxothread_id vaxothread_selfid();

// Names the calling thread for debuggers and the system's tools. The system may
// keep only a prefix (15 bytes on Linux). A null name is ignored. Named so, the
// main thread of a Linux program gives its name to the whole process.
void vaxothread_set_name(const char* name);

#endif
