// Tries again later, at the times that a Backoff gives. Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_RETRY_H
#define VAXO_ENGINE_SHOW_RETRY_H

#include <chrono>
#include <functional>
#include <optional>

#include "engine/base/Backoff.h"
#include "engine/base/EngineLoop.h"

namespace vaxoengine {

class Retry {
public:
    using Clock = std::chrono::steady_clock;

    explicit Retry(BackoffLimits limits, Backoff::Draw draw = {});

    // Runs the job after the next pause. The time of the limits counts from the first Again
    // after a Reset. False when it is over: nothing will run.
    bool Again(std::function<void()> job, Clock::time_point now = Clock::now());
    // Cancels, and begins anew with the first pause.
    void Reset();

private:
    Backoff m_backoff;
    std::optional<Clock::time_point> m_since;
    EngineTimer m_timer;
};

}  // namespace vaxoengine

#endif
