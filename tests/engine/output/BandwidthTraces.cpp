#include "engine/output/BandwidthTraces.h"

#include <algorithm>
#include <cstddef>
#include <random>

namespace vaxotest {

namespace {

constexpr int kRandomSeconds = 120;

std::vector<int> Walk(std::mt19937& random, int least, int most) {
    std::vector<int> all;
    all.reserve(kRandomSeconds);
    int now = least + static_cast<int>(random() % static_cast<unsigned>(most - least + 1));
    for (int second = 0; second < kRandomSeconds; ++second) {
        const int percent = 75 + static_cast<int>(random() % 60);  // 0.75 to 1.34 times
        now = std::clamp(now * percent / 100, least, most);
        all.push_back(now);
    }
    return all;
}

std::vector<int> OnAndOff(std::mt19937& random, int least, int most) {
    const int on = 1 + static_cast<int>(random() % 20);
    const int off = 1 + static_cast<int>(random() % 10);
    std::vector<int> all;
    all.reserve(kRandomSeconds);
    for (int second = 0; second < kRandomSeconds; ++second) {
        all.push_back(second % (on + off) < on ? most : least);
    }
    return all;
}

std::vector<int> Teeth(std::mt19937& random, int least, int most) {
    const int length = 5 + static_cast<int>(random() % 36);
    std::vector<int> all;
    all.reserve(kRandomSeconds);
    for (int second = 0; second < kRandomSeconds; ++second) {
        all.push_back(most - (most - least) * (second % length) / (length - 1));
    }
    return all;
}

}  // namespace

int BandwidthTrace::BitsAt(int millisecond) const {
    const auto second = static_cast<std::size_t>(std::max(0, millisecond) / 1000);
    return kilobits[std::min(second, kilobits.size() - 1)] * 1000;
}

const std::vector<BandwidthTrace>& MobileTraces() {
    static const std::vector<BandwidthTrace> traces{
        // Walking out of a cell, along its edge and back: low and unsteady, two short gaps.
        {"cell edge", {2400, 2100, 1900, 1500, 1300, 1100, 900,  760,  640,  700,  520,  430,
                       560,  480,  390,  0,    310,  420,  530,  460,  380,  340,  450,  600,
                       520,  410,  0,    290,  480,  640,  700,  820,  760,  930,  1100, 1250,
                       1400, 1300, 1600, 1850, 2000, 2300, 2400, 2400, 2400, 2400, 2400, 2400}},
        // Good, then less and less, nothing for seven seconds, and good again at once.
        {"train tunnel", {3000, 3000, 2900, 3000, 2800, 2600, 2000, 1200, 500,  150,  0,    0,
                          0,    0,    0,    0,    0,    200,  900,  2200, 2900, 3000, 3000, 3000,
                          2900, 3000, 3000, 3000, 2900, 3000, 3000, 3000, 2900, 3000, 3000, 3000,
                          3000, 3000, 2900, 3000, 3000, 3000, 2900, 3000, 3000, 3000, 2900, 3000}},
        // Others take their turns: jumps every few seconds, never much, never nothing.
        {"crowded wireless", {1500, 900, 1300, 700, 1600, 600, 800,  1400, 500, 1100, 1700, 650,
                              750,  550, 1200, 900, 480,  620, 1500, 800,  560, 1000, 700,  450,
                              1300, 600, 950,  520, 1450, 700, 640,  880,  500, 1250, 760,  580,
                              1100, 690, 540,  920, 1350, 610, 470,  830,  720, 1180, 650,  900}},
    };
    return traces;
}

BandwidthTrace RandomTrace(std::uint32_t seed, int leastKilobits, int mostKilobits) {
    std::mt19937 random(seed);
    switch (seed % 3) {
        case 0:
            return {"random walk", Walk(random, leastKilobits, mostKilobits)};
        case 1:
            return {"on and off", OnAndOff(random, leastKilobits, mostKilobits)};
        default:
            return {"saw teeth", Teeth(random, leastKilobits, mostKilobits)};
    }
}

}  // namespace vaxotest
