#include "engine/filters/BoxMean.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using vaxoengine::BoxMean;
using vaxoengine::SamplePlane;

SamplePlane Noise(int width, int height, std::uint32_t limit) {
    SamplePlane plane;
    plane.Resize(width, height);
    std::uint32_t state = 42;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 1664525U + 1013904223U;
            plane.Line(y)[x] = static_cast<std::uint16_t>((state >> 8U) % limit);
        }
    }
    return plane;
}

struct Moments {
    double mean = 0;
    double variance = 0;
};

Moments Slowly(const SamplePlane& in, int x, int y, int radius) {
    double sum = 0;
    double squares = 0;
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            const double sample = in.NearestLine(y + dy)[std::clamp(x + dx, 0, in.Width() - 1)];
            sum += sample;
            squares += sample * sample;
        }
    }
    const double count = (2 * radius + 1) * (2 * radius + 1);
    return {sum / count, squares / count - sum / count * (sum / count)};
}

TEST(BoxMean, IsWhatAddingUpEveryWindowGives) {
    BoxMean box;
    SamplePlane mean;
    for (const auto& [width, height] :
         std::vector<std::pair<int, int>>{{1, 1}, {2, 7}, {40, 3}, {33, 21}}) {
        const SamplePlane in = Noise(width, height, 65536);
        for (const int radius : {1, 2, 5, BoxMean::kMaxRadius}) {
            box.Mean(in, radius, mean);
            ASSERT_EQ(mean.Width(), width);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    ASSERT_NEAR(mean.Line(y)[x], Slowly(in, x, y, radius).mean, 0.51)
                        << width << "x" << height << " at " << x << "," << y << " by " << radius;
                }
            }
        }
    }
}

TEST(BoxMean, KnowsMeanAndContrastOfTheWholeRange) {
    BoxMean box;
    SamplePlane mean;
    SamplePlane contrast;
    for (const std::uint32_t limit : {1U, 40U, 200U, BoxMean::kMaxQuarters + 1U}) {
        const SamplePlane in = Noise(33, 21, limit);
        for (const int radius : {1, 4, BoxMean::kMaxRadius}) {
            box.MeanAndContrast(in, radius, mean, contrast);
            for (int y = 0; y < 21; ++y) {
                for (int x = 0; x < 33; ++x) {
                    const Moments moments = Slowly(in, x, y, radius);
                    ASSERT_NEAR(mean.Line(y)[x], moments.mean * 16, 0.51);
                    const double variance = std::min(moments.variance / 16, 255.0);
                    ASSERT_NEAR(std::sqrt(contrast.Line(y)[x]), variance, 0.75);
                }
            }
        }
    }
}

}  // namespace
