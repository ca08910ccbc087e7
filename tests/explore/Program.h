// What is explored: a small program on the real library.
#ifndef VAXO_TESTS_EXPLORE_PROGRAM_H
#define VAXO_TESTS_EXPLORE_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

namespace explore {

struct Program {
    std::string name;
    std::string about;
    // A process of its own for every schedule: for what happens once in a process.
    bool fresh = false;
    // Before every run, not controlled.
    std::function<void()> prepare;
    // The run: the thread "main".
    std::function<void()> body;
    // After every step, on any thread. Calls Fail.
    std::function<void()> afterStep;
    // When all is quiet: the library is as it should be, and is brought to rest for the
    // next run. Not controlled, but may Settle. Calls Fail.
    std::function<void()> check;
};

// Runs `body` as one more thread until all is quiet, by default decisions that count as
// no part of the schedule. For Program::check.
void Settle(const std::function<void()>& body);

}  // namespace explore

#endif
