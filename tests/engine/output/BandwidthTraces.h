// Made-up bandwidths for tests of the rate control. None of them was measured.
#ifndef VAXO_TESTS_ENGINE_OUTPUT_BANDWIDTHTRACES_H
#define VAXO_TESTS_ENGINE_OUTPUT_BANDWIDTHTRACES_H

#include <cstdint>
#include <vector>

namespace vaxotest {

// What the network takes, in kbit a second, one figure for each second; the last one stays.
struct BandwidthTrace {
    const char* name;
    std::vector<int> kilobits;

    int BitsAt(int millisecond) const;
    int Seconds() const { return static_cast<int>(kilobits.size()); }
};

// In the shape of mobile networks, with plausible figures: the edge of a cell, a train through
// a tunnel, a crowded wireless network.
const std::vector<BandwidthTrace>& MobileTraces();

// A random walk, on and off, or saw teeth, by the seed: two minutes, never below `least`.
BandwidthTrace RandomTrace(std::uint32_t seed, int leastKilobits, int mostKilobits);

}  // namespace vaxotest

#endif
