// What single calls took, and what the report says of them.
#ifndef VAXO_BENCH_ROAD_SAMPLES_H
#define VAXO_BENCH_ROAD_SAMPLES_H

#include <benchmark/benchmark.h>

#include <vector>

#include "road/Probe.h"

namespace vaxobench {

class Samples {
public:
    explicit Samples(benchmark::State& state);

    // One measured stretch of `items` calls or commands. Gives the state the iteration's time,
    // an item's. A reading of the clock, some 30 ns, is in it.
    void Add(Clock::time_point from, Clock::time_point to, double items = 1);

    // Counters p50 and p99, nanoseconds for an item: the smallest sample that so many percent
    // of all do not exceed.
    void Report();

private:
    benchmark::State& m_state;
    std::vector<double> m_nanoseconds;
};

}  // namespace vaxobench

#endif
