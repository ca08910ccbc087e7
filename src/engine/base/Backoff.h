// When to try again after a failure, as a pure policy: no clock and no timer. Retry waits.
//
// The bound of a pause doubles with each attempt from `first` to `longest`; the pause itself
// is drawn evenly between half of its bound and the bound. Without the draw all viewers of a
// server that fell would come back in the same instant, and again after each refusal.
//
// Guaranteed, for any sequence of calls between two Resets:
//   - every pause is at least first / 2 and at most `longest`;
//   - no attempt begins later than `limit` after the first failure;
//   - while the bounds still double, the pauses before the n-th attempt are first * (2^n - 1)
//     together at most.
// Not thread safe.
#ifndef VAXO_ENGINE_BASE_BACKOFF_H
#define VAXO_ENGINE_BASE_BACKOFF_H

#include <chrono>
#include <functional>
#include <optional>

namespace vaxoengine {

struct BackoffLimits {
    using milliseconds = std::chrono::milliseconds;
    static constexpr milliseconds kNever = milliseconds::max();

    milliseconds first;    // the first bound, > 0
    milliseconds longest;  // the last bound, >= first
    milliseconds limit;    // from the first failure; kNever: goes on for ever
};

class Backoff {
public:
    // Draws from [0, 1].
    using Draw = std::function<double()>;

    // Without `draw`: a generator of its own, seeded by the system.
    explicit Backoff(BackoffLimits limits, Draw draw = {});

    // The pause before the next attempt. `gone`: since the first failure after the last
    // Reset. Empty when the time is over: there is to be no more attempt.
    std::optional<std::chrono::milliseconds> Next(std::chrono::milliseconds gone);
    // After a success.
    void Reset() { m_bound = m_limits.first; }

private:
    const BackoffLimits m_limits;
    const Draw m_draw;
    std::chrono::milliseconds m_bound;
};

}  // namespace vaxoengine

#endif
