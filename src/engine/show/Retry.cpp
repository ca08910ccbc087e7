#include "engine/show/Retry.h"

#include <algorithm>
#include <utility>

namespace vaxoengine {

Retry::Retry(std::chrono::milliseconds first, std::chrono::milliseconds longest,
             std::chrono::milliseconds limit)
    : m_first(first), m_longest(longest), m_limit(limit), m_pause(first) {}

bool Retry::Again(std::function<void()> job, Clock::time_point now) {
    if (!m_trying) {
        m_trying = true;
        m_since = now;
    }
    if (now - m_since + m_pause > m_limit) {
        return false;
    }
    m_timer.Once(m_pause, std::move(job));
    m_pause = std::min(m_pause * 2, m_longest);
    return true;
}

void Retry::Reset() {
    m_timer.Stop();
    m_trying = false;
    m_pause = m_first;
}

}  // namespace vaxoengine
