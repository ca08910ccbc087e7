// Topic Event: from the engine's call of its callback, here on the measuring thread, until the
// application was entered.
#include <benchmark/benchmark.h>

#include <string>

#include "road/Cases.h"
#include "road/Road.h"
#include "road/Samples.h"

namespace vaxobench {

namespace {

// Carries a value with seven texts and ends no command.
void StreamUpdate(benchmark::State& state, Road& road) {
    road.Listen();
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        TheProbe().Expect(1);
        const Clock::time_point from = Clock::now();
        road.StreamUpdate();
        const Clock::time_point entered = TheProbe().Await();
        road.Settle();
        samples.Add(from, entered);
    }
    samples.Report();
}

// Ends the play that holds the queue, and so starts a pass as well.
void PlayState(benchmark::State& state, Road& road) {
    road.Listen();
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        TheProbe().Expect(1);
        road.Hold();
        TheProbe().Await();
        road.Settle();
        TheProbe().Expect(1);
        road.LogOn();
        const Clock::time_point from = Clock::now();
        road.Release();
        const Clock::time_point entered = TheProbe().Await();
        road.Settle();
        road.LogOff();
        samples.Add(from, entered);
    }
    samples.Report();
}

}  // namespace

void RegisterEventCases() {
    for (const Logging logging : {Logging::Off, Logging::File3}) {
        for (const Who& who : Logged(logging)) {
            Register("Event/play-state," + std::string(NameOf(logging)), who, logging,
                     logging == Logging::Off ? 1000 : 400, PlayState);
        }
    }
    for (const Who& who : Logged(Logging::Off)) {
        Register("Event/stream-update", who, Logging::Off, 2000, StreamUpdate);
    }
}

}  // namespace vaxobench
