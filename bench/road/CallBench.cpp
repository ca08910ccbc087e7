// Topics Call, CallToEngine and Drain. Times are for one call or one command; what is around
// it, the waiting commands too, is not timed.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "road/Cases.h"
#include "road/Road.h"
#include "road/Samples.h"

namespace vaxobench {

namespace {

// Fills the queue with `waiting` commands behind one that holds it. They and `more` will run
// when it is released.
void Fill(Road& road, int waiting, int more) {
    TheProbe().Expect(1);
    road.Hold();
    TheProbe().Await();
    TheProbe().Expect(static_cast<std::uint64_t>(waiting) + static_cast<std::uint64_t>(more));
    for (int i = 0; i < waiting; ++i) {
        road.Call(i);
    }
    road.Settle();
}

void RunAll(Road& road) {
    road.Release();
    TheProbe().Await();
    road.Settle();
}

// Nothing waits and all threads sleep.
void CallQuiet(benchmark::State& state, Road& road, bool toEngine) {
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        TheProbe().Expect(1);
        road.LogOn();
        const Clock::time_point from = Clock::now();
        road.Call(1);
        const Clock::time_point back = Clock::now();
        const Clock::time_point entered = TheProbe().Await();
        road.Settle();
        road.LogOff();
        samples.Add(from, toEngine ? entered : back);
    }
    samples.Report();
}

// Nothing waits, and the engine's thread is awake: nobody is to be woken.
void CallAwake(benchmark::State& state, Road& road) {
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        TheProbe().Expect(1);
        TheProbe().Shut();
        road.Block();
        TheProbe().Await();
        TheProbe().Expect(1);
        road.LogOn();
        const Clock::time_point from = Clock::now();
        road.Call(1);
        const Clock::time_point back = Clock::now();
        TheProbe().Open();
        TheProbe().Await();
        road.Settle();
        road.LogOff();
        samples.Add(from, back);
    }
    samples.Report();
}

// Every measured call adds one that waits, so the queue is filled anew after a few: the number
// stays within a hundredth, or one.
void CallWaiting(benchmark::State& state, Road& road, int waiting) {
    const int batch = waiting / 100 + 1;
    int left = 0;
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        if (left == 0) {
            Fill(road, waiting, batch);
            left = batch;
        }
        road.LogOn();
        const Clock::time_point from = Clock::now();
        road.Call(1);
        const Clock::time_point back = Clock::now();
        road.Settle();
        road.LogOff();
        samples.Add(from, back);
        --left;
        if (left == 0) {
            RunAll(road);
        }
    }
    for (; left > 0; --left) {
        road.Call(1);
        if (left == 1) {
            RunAll(road);
        }
    }
    samples.Report();
}

// From the event that lets the waiting commands run until the last was entered.
void Drain(benchmark::State& state, Road& road, int waiting) {
    Samples samples(state);
    for ([[maybe_unused]] auto _ : state) {
        Fill(road, waiting, 0);
        road.LogOn();
        const Clock::time_point from = Clock::now();
        road.Release();
        const Clock::time_point last = TheProbe().Await();
        road.Settle();
        road.LogOff();
        samples.Add(from, last, waiting);
    }
    samples.Report();
}

void RegisterQuiet(const Who& who, Logging logging) {
    const std::string log = NameOf(logging);
    const int samples = logging == Logging::Off ? 2000 : 400;
    Register("Call/" + log + "/waiting:0", who, logging, samples,
             [](benchmark::State& state, Road& road) { CallQuiet(state, road, false); });
    Register("Call/" + log + "/waiting:0,awake", who, logging, samples, CallAwake);
    Register("CallToEngine/" + log + "/waiting:0", who, logging, samples,
             [](benchmark::State& state, Road& road) { CallQuiet(state, road, true); });
}

void RegisterWaiting(const Who& who, Logging logging, int waiting, int samples) {
    Register("Call/" + std::string(NameOf(logging)) + "/waiting:" + std::to_string(waiting), who,
             logging, samples,
             [waiting](benchmark::State& state, Road& road) { CallWaiting(state, road, waiting); });
}

void RegisterDrain(const Who& who, Logging logging, int waiting, int samples) {
    Register("Drain/" + std::string(NameOf(logging)) + "/waiting:" + std::to_string(waiting), who,
             logging, samples,
             [waiting](benchmark::State& state, Road& road) { Drain(state, road, waiting); });
}

}  // namespace

// The numbers of samples keep one run of the program well under a minute: a queue of 10,000
// takes seconds to fill, and every line of the log some microseconds.
void RegisterCallCases() {
    for (const Logging logging : {Logging::Off, Logging::File3, Logging::File4}) {
        const bool isOff = logging == Logging::Off;
        for (const Who& who : Logged(logging)) {
            RegisterQuiet(who, logging);
            RegisterWaiting(who, logging, 8, isOff ? 1000 : 300);
            RegisterWaiting(who, logging, 64, isOff ? 500 : 150);
            if (logging == Logging::File4) {
                continue;  // each call lists all that wait
            }
            RegisterWaiting(who, logging, 1000, isOff ? 110 : 33);
            RegisterWaiting(who, logging, 10000, 11);
            RegisterDrain(who, logging, 100, isOff ? 200 : 50);
            RegisterDrain(who, logging, 10000, 1);
        }
    }
    RegisterQuiet({"asio-post", &MakePlainPostRoad}, Logging::Off);
}

}  // namespace vaxobench
