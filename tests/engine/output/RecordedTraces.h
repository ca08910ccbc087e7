// Bandwidths that were measured in buses and trains. Where they come from, and under which
// licence, stands in traces/README.md.
#ifndef VAXO_TESTS_ENGINE_OUTPUT_RECORDEDTRACES_H
#define VAXO_TESTS_ENGINE_OUTPUT_RECORDEDTRACES_H

#include <vector>

#include "engine/output/BandwidthTraces.h"

namespace vaxotest {

// Read from traces/*.txt, each named after its file. One that cannot be read, or whose seconds
// do not count from 0 without a gap, is empty.
std::vector<BandwidthTrace> RecordedTraces();

}  // namespace vaxotest

#endif
