// How the cases come into the program.
#ifndef VAXO_BENCH_ROAD_CASES_H
#define VAXO_BENCH_ROAD_CASES_H

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "road/Road.h"

namespace vaxobench {

struct Who {
    std::string name;
    std::unique_ptr<Road> (*make)(Logging logging);
};

// Those that log. The library gives every line to the system at once; of the peer there is
// one that does the same, and one that lets the C library collect them.
std::vector<Who> Logged(Logging logging);

// The case TOPIC/CASE/WHO, of so many samples: `measure` gets a road made for it alone.
void Register(const std::string& topicAndCase, const Who& who, Logging logging, int samples,
              std::function<void(benchmark::State&, Road&)> measure);

void RegisterCallCases();
void RegisterEventCases();

}  // namespace vaxobench

#endif
