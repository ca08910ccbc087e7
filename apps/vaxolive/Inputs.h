// What comes from outside while a command runs: signals and lines of the standard input. A
// thread of its own posts them into the session.
//
// SIGINT, SIGTERM and SIGHUP ask the command to leave; the second of them ends the process
// at once, with 128 and the signal's number. One that was ignored when the process started
// stays ignored. SIGPIPE is ignored.
//
// Make it before any other thread: a thread started earlier could take a signal and die of
// it.
#ifndef VAXO_APPS_INPUTS_H
#define VAXO_APPS_INPUTS_H

#include <signal.h>

#include <memory>
#include <string>
#include <thread>

#include "Session.h"

namespace vaxoapp {

class Inputs {
public:
    // `readLines`: lines of the standard input are wanted.
    Inputs(std::shared_ptr<Session> session, bool readLines);
    ~Inputs();
    Inputs(const Inputs&) = delete;
    Inputs& operator=(const Inputs&) = delete;

private:
    void Run();
    void OnSignal();
    bool OnInput();  // false: there is no more
    void OnText(const char* text, std::size_t length);

    const std::shared_ptr<Session> m_session;
    bool m_readLines;
    sigset_t m_before = {};  // what was blocked before
    int m_signals = -1;      // a signalfd
    int m_end = -1;          // an eventfd: the thread is to end
    bool m_wasAsked = false;
    std::string m_line;  // the beginning of a line
    bool m_isTooLong = false;
    std::thread m_thread;
};

}  // namespace vaxoapp

#endif
