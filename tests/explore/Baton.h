// Handing the right to run from one system thread to another.
//
// Plain system calls: a sanitizer must not take the hand-over for a synchronisation of the
// program under exploration.
#ifndef VAXO_TESTS_EXPLORE_BATON_H
#define VAXO_TESTS_EXPLORE_BATON_H

#include <atomic>

namespace explore {

// One for each thread. Give lets exactly one Take return, also when it comes first.
class Baton {
public:
    void Give();
    void Take();  // waits

private:
    std::atomic<int> m_given{0};
};

}  // namespace explore

#endif
