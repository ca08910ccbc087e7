#include "engine/output/RecordedTraces.h"

#include <fstream>
#include <sstream>
#include <string>

namespace vaxotest {

namespace {

BandwidthTrace ReadTrace(const char* name) {
    BandwidthTrace trace{name, {}};
    std::ifstream file(std::string(VAXO_SOURCE_DIR "/tests/engine/output/traces/") + name + ".txt");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind('#', 0) == 0) {
            continue;
        }
        std::istringstream figures(line);
        int second = -1;
        int kilobits = -1;
        if (!(figures >> second >> kilobits) || second != trace.Seconds() || kilobits < 0) {
            return {name, {}};
        }
        trace.kilobits.push_back(kilobits);
    }
    return trace;
}

}  // namespace

std::vector<BandwidthTrace> RecordedTraces() {
    std::vector<BandwidthTrace> traces;
    for (const char* name : {"bus-b57", "bus-b62", "rail-road", "subway-7", "subway-q"}) {
        traces.push_back(ReadTrace(name));
    }
    return traces;
}

}  // namespace vaxotest
