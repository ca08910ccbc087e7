// Waiting for what announces itself to nobody: another process, a file, a list of threads.
#ifndef VAXO_TESTS_WITHIN_H
#define VAXO_TESTS_WITHIN_H

#include <chrono>
#include <thread>

// Asks every 10 ms until the condition holds. false: the time is over first. The time is a
// bound for what has failed, never something to measure by.
template <class Condition>
bool Within(std::chrono::seconds bound, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

#endif
