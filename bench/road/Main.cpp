// The program: the cases and who takes part in them.
#include <benchmark/benchmark.h>

#include <exception>
#include <utility>

#include "road/Cases.h"

namespace vaxobench {

std::vector<Who> Logged(Logging logging) {
    std::vector<Who> all = {{"vaxo", &MakeVaxoRoad}, {"marshal", &MakeMarshalRoad}};
    if (logging != Logging::Off) {
        all.push_back({"marshal-at-once", &MakeMarshalAtOnceRoad});
    }
    return all;
}

void Register(const std::string& topicAndCase, const Who& who, Logging logging, int samples,
              std::function<void(benchmark::State&, Road&)> measure) {
    auto run = [make = who.make, logging, measure = std::move(measure)](benchmark::State& state) {
        try {
            measure(state, *make(logging));
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
    };
    benchmark::RegisterBenchmark((topicAndCase + "/" + who.name).c_str(), std::move(run))
        ->Iterations(samples)
        ->UseManualTime();
}

}  // namespace vaxobench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    vaxobench::RegisterCallCases();
    vaxobench::RegisterEventCases();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
