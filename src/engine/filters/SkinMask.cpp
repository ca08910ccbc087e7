#include "engine/filters/SkinMask.h"

#include <algorithm>
#include <cstdint>

namespace vaxoengine {

namespace {

constexpr int kFull = 255;
constexpr int kLowU = 77;
constexpr int kHighU = 127;
constexpr int kLowV = 133;
constexpr int kHighV = 173;
constexpr int kPerLevel = 43;  // full six levels inside the range
constexpr int kDark = 4 * 32;  // in quarters of a level
constexpr int kDarkToFull = 4 * 24;
constexpr int kDarkScale = 43;  // with kDarkShift: kFull after kDarkToFull quarters
constexpr int kDarkShift = 4;
constexpr int kFew = 64;  // a quarter of the surroundings

// The weights of samples by themselves.
void OwnWeights(const unsigned char* u, const unsigned char* v, const std::uint16_t* luma,
                int width, std::uint16_t* weights) {
    for (int x = 0; x < width; ++x) {
        const int insideU = std::min(u[x] - kLowU, kHighU - u[x]);
        const int insideV = std::min(v[x] - kLowV, kHighV - v[x]);
        const int colour = std::min(insideU, insideV) * kPerLevel;
        const int light = std::min(luma[x] - kDark, kDarkToFull) * kDarkScale / (1 << kDarkShift);
        const int weight = std::max(std::min(std::min(colour, light), kFull), 0);
        weights[x] = static_cast<std::uint16_t>(weight);
    }
}

void LimitToSurroundings(const std::uint16_t* around, int width, std::uint16_t* weights) {
    for (int x = 0; x < width; ++x) {
        const int soft = std::max((around[x] - kFew) * 2, 0);
        weights[x] = static_cast<std::uint16_t>(std::min<int>(weights[x], soft));
    }
}

}  // namespace

void SkinMask::Make(const Picture& picture, const SamplePlane& halfLuma, int radius, BoxMean& box,
                    SamplePlane& mask) {
    const int width = halfLuma.Width();
    const int height = halfLuma.Height();
    mask.Resize(width, height);
    for (int y = 0; y < height; ++y) {
        OwnWeights(picture.u + y * picture.uStride, picture.v + y * picture.vStride,
                   halfLuma.Line(y), width, mask.Line(y));
    }
    box.Mean(mask, radius, m_around);
    for (int y = 0; y < height; ++y) {
        LimitToSurroundings(m_around.Line(y), width, mask.Line(y));
    }
}

}  // namespace vaxoengine
