// Single times, each taken by itself, and what is reported of them.
#ifndef VAXO_BENCH_RUNNER_SAMPLES_H
#define VAXO_BENCH_RUNNER_SAMPLES_H

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <vector>

namespace vaxoengine {

typedef std::chrono::steady_clock Clock;

// One thread at a time may use it. Add allocates nothing as long as no more samples come than
// were wanted.
class Samples {
public:
    explicit Samples(std::size_t wanted);

    // False when there are as many as wanted, or three seconds have passed: a peer that takes
    // its time to fall asleep (TBB, on a machine with other work) gets along with fewer.
    bool WantsMore() const { return m_times.size() < m_wanted && Clock::now() < m_until; }

    void Add(Clock::time_point begin, Clock::time_point end) { m_times.push_back(end - begin); }

    // The counters "p50" and "p99" in nanoseconds, and "samples", how many there were; the
    // median is also the benchmark's time.
    // Taken off each is what reading the clock costs, measured here and now: some 20 ns, which
    // would hide much of a post. There must be a sample.
    void Report(benchmark::State& state);

private:
    const std::size_t m_wanted;
    const Clock::time_point m_until;
    std::vector<Clock::duration> m_times;
};

}  // namespace vaxoengine

#endif
