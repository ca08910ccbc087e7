#include "road/Samples.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vaxobench {

Samples::Samples(benchmark::State& state) : m_state(state) {
    m_nanoseconds.reserve(static_cast<std::size_t>(state.max_iterations));
}

void Samples::Add(Clock::time_point from, Clock::time_point to, double items) {
    const std::chrono::duration<double> seconds = to - from;
    m_state.SetIterationTime(seconds.count() / items);
    m_nanoseconds.push_back(seconds.count() * 1e9 / items);
}

void Samples::Report() {
    if (m_nanoseconds.empty()) {
        return;
    }
    std::sort(m_nanoseconds.begin(), m_nanoseconds.end());
    const auto quantile = [this](double part) {
        const double rank = std::ceil(part * static_cast<double>(m_nanoseconds.size()));
        return m_nanoseconds[static_cast<std::size_t>(rank) - 1];
    };
    m_state.counters["p50"] = quantile(0.50);
    m_state.counters["p99"] = quantile(0.99);
}

}  // namespace vaxobench
