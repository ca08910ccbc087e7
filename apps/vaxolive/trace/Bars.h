// A story as bars on lanes: what both pictures, the Chrome trace and the page, draw.
#ifndef VAXO_APPS_TRACE_BARS_H
#define VAXO_APPS_TRACE_BARS_H

#include <string>
#include <vector>

#include "Diagnosis.h"

namespace vaxotrace {

enum class LaneKind { Holding, Running, Waiting, Refused };

struct Bar {
    const Command* command = nullptr;
    LaneKind kind = LaneKind::Waiting;
    std::size_t lane = 0;  // of its kind: from 0
    Micros begin = kNoTime;
    Micros end = kNoTime;
    bool isOpen = false;  // goes on behind the last line
};

struct ProcessBars {
    std::vector<Bar> bars;  // in the order of `begin`
    std::size_t waitingLanes = 0;
};

// Of the newest `most` commands of one process. A bar whose begin is not in the log begins with
// the process's first line.
ProcessBars BarsOf(const Story& story, const ProcessDiagnosis& process, std::size_t most);

const char* LaneName(LaneKind kind);

}  // namespace vaxotrace

#endif
