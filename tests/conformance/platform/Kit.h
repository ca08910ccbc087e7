// What the cases of the kit are written with. README.md is the guide.
//
// A case checks one rule of the platform layer's headers. It uses the layer and what is
// declared here, nothing else that could make a thread wait: so it runs on the system's
// threads (ThreadStage.cpp) and under the schedule explorer (ExplorerStage.cpp) alike.
// One case runs at a time.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_KIT_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_KIT_H

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace conformance {

// ---- Cases --------------------------------------------------------------------

// What a layer may leave out, and with it the cases that need it.
enum Need : unsigned {
    needs_nothing = 0,
    needs_tries = 1,  // the try functions of the reader-writer lock
    needs_clock = 2,  // time-outs and waits that take real time
    needs_names = 4,  // thread names that the system shows
    needs_sink = 8,   // the log gives its lines to a sink
    needs_file = 16   // the log can open a file
};

struct Case {
    const char* name;  // "event/kept"
    const char* rule;  // in plain words
    unsigned needs;
    void (*run)();
};
typedef std::vector<Case> Cases;

// One for each concern; the order is that in which a porter should make them pass.
Cases LockCases();
Cases ReadWriteCases();
Cases TryCases();  // empty in a build for a layer without the try functions
Cases EventCases();
Cases ThreadCases();
Cases RefcCases();
Cases TaskCases();
Cases WorkerCases();
Cases LogCases();
Cases LogFileCases();

const Cases& AllCases();

// ---- The stage: provided by whoever runs the cases ------------------------------

// Runs every body on a thread of its own, all at the same time; back when all have ended.
void Together(const std::vector<std::function<void()>>& bodies);

// `count` threads that run body(own number).
void Together(int count, const std::function<void(int)>& body);

// How often a case repeats itself: `many` on the system's threads, a few times where all
// schedules of a few are looked at.
int Rounds(int many);

// The case has failed: reports the rule and what was seen, and ends the process.
[[noreturn]] void Break(const std::string& seen);

inline void Require(bool holds, const char* otherwise) {
    if (!holds) {
        Break(otherwise);
    }
}

// What the report says if the case never ends.
void WaitingFor(const char* what);

// Asks until it holds, without a bound of its own. For cases that need the clock.
void Poll(const char* what, const std::function<bool()>& holds);

// One thread says that it is somewhere; others wait for it. No part of the layer. It orders
// memory, so it stays away from the accesses whose order the layer is to make.
class Flag {
public:
    Flag() = default;
    Flag(const Flag&) = delete;
    Flag& operator=(const Flag&) = delete;

    void Raise();
    void Await(const char* what) const;
    bool IsRaised() const { return m_isRaised.load(); }

private:
    std::atomic<bool> m_isRaised{false};
};

}  // namespace conformance

#endif
