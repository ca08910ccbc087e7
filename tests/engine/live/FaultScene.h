// One fault of the servers, and what it does to streams in every phase: a set of servers, in
// which each phase has a channel, a publisher and a viewer of its own; the fault; its repair; the
// end of everything. All phases together, because a run is mostly waiting.
//
// Nothing is judged here but what comes before the fault. One scene at a time in a process (the
// settings are the process').
#ifndef VAXO_TESTS_ENGINE_LIVE_FAULTSCENE_H
#define VAXO_TESTS_ENGINE_LIVE_FAULTSCENE_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "engine/live/LiveFaultsTable.h"

namespace livetest {

struct Timed {
    std::string word;
    std::chrono::milliseconds after;  // after what it follows from, see below
};

// Words of one member, in the order they came.
struct Told {
    std::vector<Timed> during;  // after the fault, or the request when it is an answer
    std::vector<Timed> after;   // after the repair, or the request when it is an answer
    std::vector<Timed> end;     // after the first request to leave; then comes another one
};

struct ActTold {
    Told publisher;
    Told viewer;
    bool listed = false;     // at the end the viewer had the stream in its list
    bool published = false;  // and there was one
};

struct SceneTold {
    std::map<Phase, ActTold> acts;
    bool nothingLeft = false;  // when all had left, the media server held no stream any more
};

// Runs it: some 15 s.
SceneTold RunFaultScene(Fault fault);

std::vector<std::string> WordsOf(const std::vector<Timed>& told);

}  // namespace livetest

#endif
