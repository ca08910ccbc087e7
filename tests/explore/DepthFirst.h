// Every schedule with at most so many preemptions, one after another.
//
// A preemption is a decision against a thread that could have gone on; to choose among
// others when a thread has to wait costs nothing.
//
// A run that comes to a moment where an earlier one was, with the same past up to the
// order of independent steps, the same thread running and no more preemptions left, can
// show nothing new: what follows is not branched again. Two steps are independent when
// they are made by different threads on different objects. What is not a step - reference
// counts above all - is not part of that past.
#ifndef VAXO_TESTS_EXPLORE_DEPTHFIRST_H
#define VAXO_TESTS_EXPLORE_DEPTHFIRST_H

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "explore/Choosers.h"
#include "explore/Scheduler.h"

namespace explore {

class DepthFirst {
public:
    explicit DepthFirst(int bound) : m_bound(bound) {}

    // The next schedule to run; false when there is none left.
    bool Next(Schedule* schedule);

    // What came of it. After each Next, before the following one. false: the same decisions
    // have led somewhere else than before, so that nothing can be said of the rest.
    bool Learn(const Record& record);

private:
    struct Frame {
        std::uint32_t decision;    // its number in the run
        std::vector<int> options;  // the default first
        std::size_t at;            // the one taken
    };

    bool WasHere(const Decision& decision, int left);

    const int m_bound;
    bool m_begun = false;
    std::vector<Frame> m_frames;                    // decisions with more than one option, in order
    std::unordered_map<std::uint64_t, int> m_seen;  // moment to preemptions left
};

}  // namespace explore

#endif
