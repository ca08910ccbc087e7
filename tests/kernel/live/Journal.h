// One ordered account of what the proxy's tests see: engine calls, HTTP calls, the
// application's callbacks and log lines, each with the thread it came on.
//
// Process-wide and safe on any thread. Lines of different threads stand in the order in
// which they were written down.
#ifndef VAXO_TESTS_LIVE_JOURNAL_H
#define VAXO_TESTS_LIVE_JOURNAL_H

#include <ostream>
#include <string>
#include <vector>

#include "vaxostream.h"
#include "vaxothread.h"

namespace livetest {

struct Line {
    std::string text;  // "engine: PlayStream(s1, 0)", "log 3 CmdProxy: AddCmd, cmd invalid!"
    vaxothread_id thread = 0;
};

void Note(const std::string& text);

// The lines so far; the journal starts over.
std::vector<Line> TakeLines();
std::vector<std::string> Take();

// Those of the lines so far that begin with `prefix`; all are forgotten.
std::vector<std::string> TakeOnly(const std::string& prefix);

// The number of lines ever written.
long Written();

// While one lives, log lines of all levels go into the journal.
class LogIntoJournal {
public:
    LogIntoJournal();
    ~LogIntoJournal();
    LogIntoJournal(const LogIntoJournal&) = delete;
    LogIntoJournal& operator=(const LogIntoJournal&) = delete;
};

// A string's bytes, also when it has no buffer.
std::string Text(const vaxo::strutf8& s);

}  // namespace livetest

#endif
