// A platform layer for tests of the runner alone, linked in place of the real
// one. There are no threads: workers run their calls when the script says so, and
// everything the runner asks of the platform is written down.
#ifndef VAXO_TESTS_SCRIPTEDPLATFORM_H
#define VAXO_TESTS_SCRIPTEDPLATFORM_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "vaxotask.h"

namespace scripted {

// One worker, alive as long as the runner or the script holds it.
struct Worker {
    std::string name;
    ethread_priority priority = ethr_priority_normal;
    vaxothread_id id = 0;
    int starts = 0;
    bool released = false;
    std::deque<std::unique_ptr<CScopeCall>> calls;
};

struct Script {
    // What the platform is to do.
    bool createFails = false;  // VAXOTaskCreate answers null
    bool startFails = false;   // Start answers false and gives no id
    // What it was asked for.
    std::vector<std::string> trace;
    std::vector<std::shared_ptr<Worker>> workers;
    int pushesToNull = 0;
    int locksHeld = 0;  // mutexes held now
    int pushesUnderLock = 0;
    vaxothread_id self = 1;  // the thread being played
};

Script& TheScript();

// Starts a fresh script.
void Reset();

// Runs the worker's oldest call as that worker and destroys it; false when there
// is none. The answer of the call itself goes to `made`.
bool RunOne(Worker& worker, bool* made = nullptr);

// Runs all calls of all workers until none is left.
void RunAll();

}  // namespace scripted

#endif
