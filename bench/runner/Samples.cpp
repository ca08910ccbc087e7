#include "runner/Samples.h"

#include <algorithm>

namespace vaxoengine {

namespace {

// Reorders the times.
double Quantile(std::vector<Clock::duration>& times, std::size_t percent) {
    const auto at = static_cast<std::ptrdiff_t>((times.size() - 1) * percent / 100);
    const auto nth = times.begin() + at;
    std::nth_element(times.begin(), nth, times.end());
    return std::chrono::duration<double, std::nano>(*nth).count();
}

double ClockCost() {
    const std::size_t count = 2001;
    std::vector<Clock::duration> times(count);
    for (Clock::duration& time : times) {
        const Clock::time_point begin = Clock::now();
        time = Clock::now() - begin;
    }
    return Quantile(times, 50);
}

}  // namespace

Samples::Samples(std::size_t wanted)
    : m_wanted(wanted), m_until(Clock::now() + std::chrono::seconds(3)) {
    m_times.reserve(wanted);
}

void Samples::Report(benchmark::State& state) {
    const double clock = ClockCost();
    const double median = std::max(0.0, Quantile(m_times, 50) - clock);
    state.counters["p50"] = median;
    state.counters["p99"] = std::max(0.0, Quantile(m_times, 99) - clock);
    state.counters["samples"] = static_cast<double>(m_times.size());
    state.SetIterationTime(median / 1e9);
}

}  // namespace vaxoengine
