// Runs schedules of a program in processes of their own, so that a run that hangs, crashes
// or corrupts memory takes none of the explorer with it.
//
// The caller must have a single thread: it forks.
#ifndef VAXO_TESTS_EXPLORE_SESSION_H
#define VAXO_TESTS_EXPLORE_SESSION_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "explore/Choosers.h"
#include "explore/Program.h"

namespace explore {

struct Outcome {
    bool failed = false;
    std::string failure;     // what failed, a deadlock with who waits for what
    Schedule schedule;       // of the run that failed
    bool exhausted = false;  // depth first: nothing is left within the bound
    std::uint64_t schedules = 0;
    std::uint64_t steps = 0;      // of the last run
    std::uint32_t decisions = 0;  // of the last run
    std::uint64_t trace = 0;      // hash of the last run
};

struct Limits {
    std::uint64_t schedules = 1000000;
    std::uint64_t seconds = 600;  // looked at between two runs
};

// Every schedule with at most `bound` preemptions, within the limits.
Outcome ExploreDepthFirst(const Program& program, int bound, const Limits& limits);

// One schedule a seed, from `seed` on.
typedef std::function<std::unique_ptr<Chooser>(std::uint64_t seed)> MakeChooser;
Outcome ExploreSeeds(const Program& program, const MakeChooser& make, std::uint64_t seed,
                     const Limits& limits);

// One run.
Outcome RunOne(const Program& program, const Schedule& schedule);

// A small schedule that fails in the same way: one without or with one preemption if that
// is found soon, else the given one without what it can do without.
Schedule Shrink(const Program& program, const Outcome& failed);

}  // namespace explore

#endif
