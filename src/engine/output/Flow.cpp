#include "engine/output/Flow.h"

#include <algorithm>
#include <limits>

namespace vaxoengine {

namespace {

constexpr std::chrono::milliseconds kSpan{1000};
// Where hardly anything arrives a few bytes would be hours.
constexpr long long kLeastTaken = 16000;
constexpr long long kMostTaken = std::numeric_limits<int>::max();

}  // namespace

RateReading FlowMeter::Next(const Flow& flow, std::chrono::milliseconds since) {
    m_last.push_back({std::max(since, std::chrono::milliseconds(1)), flow.arrived});
    std::chrono::milliseconds span{0};  // behind the first entry
    for (const Entry& entry : m_last) {
        span += entry.since;
    }
    span -= m_last.front().since;
    while (m_last.size() > 2 && span - m_last[1].since >= kSpan) {
        span -= m_last[1].since;
        m_last.pop_front();
    }
    RateReading reading{};
    const unsigned long long before = m_last.front().arrived;
    if (span.count() > 0 && flow.arrived > before) {
        const auto bits = static_cast<double>(flow.arrived - before) * 8;
        const auto taken = bits * 1000 / static_cast<double>(span.count());
        reading.taken = static_cast<int>(std::min(taken, static_cast<double>(kMostTaken)));
    }
    const long long rate = std::max<long long>(reading.taken, kLeastTaken);
    const long long unsent = static_cast<long long>(flow.unsent) * 8 * 1000 / rate;
    reading.delay = flow.queued + flow.late + std::chrono::milliseconds(unsent);
    return reading;
}

}  // namespace vaxoengine
