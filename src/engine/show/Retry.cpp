#include "engine/show/Retry.h"

#include <utility>

namespace vaxoengine {

Retry::Retry(BackoffLimits limits, Backoff::Draw draw) : m_backoff(limits, std::move(draw)) {}

bool Retry::Again(std::function<void()> job, Clock::time_point now) {
    if (!m_since) {
        m_since = now;
    }
    const auto gone = std::chrono::duration_cast<std::chrono::milliseconds>(now - *m_since);
    const auto pause = m_backoff.Next(gone);
    if (pause) {
        m_timer.Once(*pause, std::move(job));
    }
    return pause.has_value();
}

void Retry::Reset() {
    m_timer.Stop();
    m_since.reset();
    m_backoff.Reset();
}

}  // namespace vaxoengine
