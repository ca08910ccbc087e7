// A road to measure: calls to a no-op engine, and events back.
//
// Engine and application note in TheProbe() that they were entered. One road exists at a time.
// Making one sets up all it needs, with the log off; destroying it takes everything down again,
// so that cases may run in any order. One thread, the measuring one, uses a road.
#ifndef VAXO_BENCH_ROAD_ROAD_H
#define VAXO_BENCH_ROAD_ROAD_H

#include <memory>

#include "road/Logging.h"
#include "road/Probe.h"

namespace vaxobench {

class Road {
public:
    Road() = default;
    virtual ~Road() = default;
    Road(const Road&) = delete;
    Road& operator=(const Road&) = delete;

    // The measured call: a setter with one int.
    virtual void Call(int value) = 0;

    // A setter that keeps the engine's thread until the probe opens.
    virtual void Block() = 0;

    // Returns when the threads have run what they were given.
    virtual void Drain() = 0;

    // The defaults are those of a road that holds nothing, tells nothing and logs nothing.

    // A call after which the others wait, also once the engine was entered, until Release, the
    // event of that call.
    virtual void Hold() {}
    virtual void Release() {}

    // From here on an application hears of events.
    virtual void Listen() {}
    virtual void StreamUpdate() {}

    // The log at the level of the case; nothing logged, and every line written.
    virtual void LogOn() {}
    virtual void LogOff() {}

    // Drain, and some time for the threads to fall asleep.
    void Settle() {
        Drain();
        const Clock::time_point rested = Clock::now() + std::chrono::microseconds(20);
        while (Clock::now() < rested) {
        }
    }
};

std::unique_ptr<Road> MakeVaxoRoad(Logging logging);
std::unique_ptr<Road> MakeMarshalRoad(Logging logging);        // "marshal"
std::unique_ptr<Road> MakeMarshalAtOnceRoad(Logging logging);  // "marshal-at-once"
std::unique_ptr<Road> MakePlainPostRoad(Logging logging);      // "asio-post"; never logs

}  // namespace vaxobench

#endif
