// How the network keeps up with what is published, and how that is made a reading.
#ifndef VAXO_ENGINE_OUTPUT_FLOW_H
#define VAXO_ENGINE_OUTPUT_FLOW_H

#include <chrono>
#include <deque>

#include "engine/output/RateControl.h"

namespace vaxoengine {

struct Flow {
    std::chrono::milliseconds queued{0};  // media that wait for the connection to take them
    std::chrono::milliseconds late{0};    // longer way than at best: queues in the network
    unsigned unsent = 0;                  // bytes the system keeps, of those it has taken
    unsigned long long arrived = 0;       // bytes on the other side, so far as is known
};

// Readings of one connection. What arrives is told in bursts: it is counted over the last
// second. Pure; one thread at a time.
class FlowMeter {
public:
    // `since`: the last call; the first one only begins.
    RateReading Next(const Flow& flow, std::chrono::milliseconds since);
    void Reset() { m_last.clear(); }  // another connection

private:
    struct Entry {
        std::chrono::milliseconds since;
        unsigned long long arrived;
    };
    std::deque<Entry> m_last;
};

}  // namespace vaxoengine

#endif
