// When to try again: pauses that double, until too much time has gone. Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_RETRY_H
#define VAXO_ENGINE_SHOW_RETRY_H

#include <chrono>
#include <functional>

#include "engine/base/EngineLoop.h"

namespace vaxoengine {

class Retry {
public:
    using Clock = std::chrono::steady_clock;

    // A first pause, the longest pause, and the time after which Again gives up, counted
    // from the first Again after a Reset.
    Retry(std::chrono::milliseconds first, std::chrono::milliseconds longest,
          std::chrono::milliseconds limit);

    // Runs the job after the next pause. False when the time is over: nothing will run.
    bool Again(std::function<void()> job, Clock::time_point now = Clock::now());
    // Cancels, and begins anew with the first pause.
    void Reset();
    std::chrono::milliseconds NextPause() const { return m_pause; }

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_longest;
    std::chrono::milliseconds m_limit;
    std::chrono::milliseconds m_pause;
    Clock::time_point m_since;
    bool m_trying = false;
    EngineTimer m_timer;
};

}  // namespace vaxoengine

#endif
