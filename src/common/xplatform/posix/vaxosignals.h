// Keeps the application's signal handlers off the library's own threads.
//
// For the library's own sources that start a thread; applications do not include it.
#ifndef VAXO_VAXOSIGNALS_H
#define VAXO_VAXOSIGNALS_H

#include <pthread.h>

#include <csignal>

// Blocks the signals of the calling thread while it lives. A thread started
// meanwhile inherits that for good. Faults stay open: blocked, they would end the
// process without the application's crash reporter seeing them.
class CVAXOSignalsBlocked {
public:
    CVAXOSignalsBlocked() {
        sigset_t mask;
        (void)sigfillset(&mask);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
            (void)sigdelset(&mask, fault);
        }
        (void)pthread_sigmask(SIG_SETMASK, &mask, &m_former);
    }
    ~CVAXOSignalsBlocked() { (void)pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }
    CVAXOSignalsBlocked(const CVAXOSignalsBlocked&) = delete;
    CVAXOSignalsBlocked& operator=(const CVAXOSignalsBlocked&) = delete;

private:
    sigset_t m_former{};
};

#endif
