#include "engine/capture/Looks.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vaxoengine {

namespace {

constexpr int kBlackLevel = 16;
constexpr int kWhiteLevel = 235;
constexpr int kNeutral = 128;
constexpr int kTintFrom = 24;  // darker places are not tinted
constexpr int kFraction = 10;  // bits behind the point in the colour arithmetic

constexpr std::array<Look, kLooks> kTable{{
    {"none"},
    {"grey", 1, 0, 0},
    {"sepia", 1, 0.02, 0, 0, -22, 16},
    {"vivid", 1.12, 0, 1.5},
    {"warm", 1, 0.02, 1.05, 0, -12, 8},
    {"cool", 1, 0, 1, 0, 12, -8},
    {"bright", 1.05, 0.1},
    {"drama", 1.4, -0.04, 0.75},
    {"faded", 0.75, 0.06, 0.6, 0, -4, 2},
    {"negative", 1, 0, 1, 180, 0, 0, true},
}};

// A look as the pixels want it.
struct Prepared {
    std::array<unsigned char, 256> luma{};
    std::array<int, 256> tintWeight{};  // by the new luma; kFraction bits
    int cosine = 0;
    int sine = 0;
    int tintU = 0;
    int tintV = 0;
};

Prepared Prepare(const Look& look) {
    constexpr double kMiddle = (kBlackLevel + kWhiteLevel) / 2.0;
    constexpr double kRange = kWhiteLevel - kBlackLevel;
    Prepared made;
    for (int i = 0; i < 256; ++i) {
        double value = kMiddle + (i - kMiddle) * look.contrast + look.brightness * kRange;
        value = std::clamp<double>(value, kBlackLevel, kWhiteLevel);
        if (look.invert) {
            value = kBlackLevel + kWhiteLevel - value;
        }
        const auto index = static_cast<std::size_t>(i);
        made.luma[index] = static_cast<unsigned char>(std::lround(value));
        // Black stays black: bars and a closed camera are not tinted.
        made.tintWeight[index] =
            std::clamp((i - kTintFrom) * (1 << (kFraction - 6)), 0, 1 << kFraction);
    }
    const double angle = look.hue * std::acos(-1.0) / 180;
    made.cosine =
        static_cast<int>(std::lround(std::cos(angle) * look.saturation * (1 << kFraction)));
    made.sine = static_cast<int>(std::lround(std::sin(angle) * look.saturation * (1 << kFraction)));
    made.tintU = look.tintU;
    made.tintV = look.tintV;
    return made;
}

const Prepared& PreparedAt(int index) {
    static const std::array<Prepared, kLooks> all = [] {
        std::array<Prepared, kLooks> made;
        std::transform(kTable.begin(), kTable.end(), made.begin(), Prepare);
        return made;
    }();
    return all[static_cast<std::size_t>(index)];
}

unsigned char Colour(int value) {
    return static_cast<unsigned char>(std::clamp(kNeutral + (value >> kFraction), 16, 240));
}

void ApplyLuma(const Prepared& look, const Picture& picture) {
    for (int y = 0; y < picture.height; ++y) {
        unsigned char* const line = picture.luma + y * picture.lumaStride;
        std::transform(line, line + picture.width, line,
                       [&](unsigned char p) { return look.luma[p]; });
    }
}

void ApplyColour(const Prepared& look, const Picture& picture) {
    constexpr int kHalf = 1 << (kFraction - 1);
    for (int y = 0; y < (picture.height + 1) / 2; ++y) {
        const unsigned char* const luma = picture.luma + y * (2 * picture.lumaStride);
        unsigned char* const lineU = picture.u + y * picture.uStride;
        unsigned char* const lineV = picture.v + y * picture.vStride;
        for (std::ptrdiff_t x = 0; x < (picture.width + 1) / 2; ++x) {
            const int u = lineU[x] - kNeutral;
            const int v = lineV[x] - kNeutral;
            const int weight = look.tintWeight[luma[2 * x]];
            lineU[x] = Colour(u * look.cosine - v * look.sine + look.tintU * weight + kHalf);
            lineV[x] = Colour(u * look.sine + v * look.cosine + look.tintV * weight + kHalf);
        }
    }
}

}  // namespace

const Look& LookAt(int index) {
    return kTable[static_cast<std::size_t>(index)];
}

void ApplyLook(int index, const Picture& picture) {
    if (index == 0) {
        return;
    }
    const Prepared& look = PreparedAt(index);
    ApplyLuma(look, picture);
    ApplyColour(look, picture);
}

}  // namespace vaxoengine
