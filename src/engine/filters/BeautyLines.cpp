#include "engine/filters/BeautyLines.h"

#include <cstddef>

#include "engine/filters/BeautyFilter.h"

namespace vaxoengine {

namespace {

constexpr int kBlack = 16;
constexpr int kWhite = 235;
constexpr int kNeutral = 128;
constexpr int kFull = 255;  // of a weight

// A variance of this much leaves half of the smoothing.
constexpr float kSmoothVariance = BeautyFilter::kSmoothContrast * BeautyFilter::kSmoothContrast / 4;
constexpr float kSmoothTolerance = kSmoothVariance * kSmoothVariance;

// Weight times (Y - black) * (white - Y), which is largest in the middle, shifted right: the
// lift in levels.
constexpr int kLiftShift = 24;
constexpr double kMiddle = (kWhite - kBlack) * (kWhite - kBlack) / 4.0;
constexpr int kLiftWeight =
    static_cast<int>(BeautyFilter::kWhitenLift * (1 << kLiftShift) / kMiddle / kFull);
static_assert(kLiftWeight * kFull <= INT16_MAX, "the weights have 16 bits with a sign");

constexpr int kFine = 16;  // sharpening computes in 16ths of a level
constexpr int kThreshold = BeautyFilter::kSharpenThreshold * kFine;
constexpr int kLimit = BeautyFilter::kSharpenLimit * kFine;

std::int16_t Short(int value) {
    return static_cast<std::int16_t>(value);
}

// On 16 bits: vectors of these have a smallest and a greatest on every processor.
std::int16_t AtLeast(std::int16_t value, std::int16_t bound) {
    return value < bound ? bound : value;
}

std::int16_t AtMost(std::int16_t value, std::int16_t bound) {
    return value < bound ? value : bound;
}

}  // namespace

void LoadLine(std::int16_t* luma, int width, const unsigned char* pixels) {
    for (int x = 0; x < width; ++x) {
        luma[x] = pixels[x];
    }
}

void StoreLine(unsigned char* pixels, int width, const std::int16_t* luma) {
    for (int x = 0; x < width; ++x) {
        pixels[x] = static_cast<unsigned char>(luma[x]);
    }
}

void HalveLine(std::uint16_t* half, int width, const unsigned char* upper,
               const unsigned char* lower) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        const int sum = upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
        half[x] = static_cast<std::uint16_t>(sum);
    }
}

void MixLines(std::uint16_t* mixed, int width, const std::uint16_t* near,
              const std::uint16_t* far) {
    for (int x = 0; x < width; ++x) {
        mixed[x] = static_cast<std::uint16_t>((3 * near[x] + far[x] + 2) >> 2);
    }
}

void DoubleLine(std::uint16_t* line, int width, const std::uint16_t* half) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        const int own = 3 * half[x] + 2;
        line[2 * x] = static_cast<std::uint16_t>((own + half[x - 1]) >> 2);
        line[2 * x + 1] = static_cast<std::uint16_t>((own + half[x + 1]) >> 2);
    }
}

void SpreadWeights(std::int16_t* line, int width, const std::int16_t* half) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        line[2 * x] = half[x];
        line[2 * x + 1] = half[x];
    }
}

void PullWeights(std::int16_t* pull, int width, const std::uint16_t* contrast,
                 const std::uint16_t* mask) {
    for (int x = 0; x < width; ++x) {
        const auto strength = static_cast<float>(mask[x]) * kSmoothTolerance;
        // One half: cutting rounds.
        const float share = 0.5F + strength / (static_cast<float>(contrast[x]) + kSmoothTolerance);
        pull[x] = Short(static_cast<std::int32_t>(share));
    }
}

void SmoothLine(std::int16_t* luma, int width, const std::uint16_t* mean,
                const std::int16_t* pull) {
    constexpr int kShift = 6 + 8;  // 64ths, and a weight of nearly 256
    for (int x = 0; x < width; ++x) {
        const std::int16_t away = Short(mean[x] - 64 * luma[x]);
        const int change = away * pull[x];
        luma[x] = Short(luma[x] + ((change + (1 << (kShift - 1))) >> kShift));
    }
}

void WhitenWeights(std::int16_t* weights, int width, const std::uint16_t* mask) {
    for (int x = 0; x < width; ++x) {
        weights[x] = Short(mask[x] * kLiftWeight);
    }
}

void WhitenLine(std::int16_t* luma, int width, const std::int16_t* weights) {
    for (int x = 0; x < width; ++x) {
        const std::int16_t above = AtLeast(Short(luma[x] - kBlack), 0);
        const std::int16_t below = AtLeast(Short(kWhite - luma[x]), 0);
        const std::int16_t middle = Short(above * below);
        const int lift = middle * weights[x];
        luma[x] = Short(luma[x] + ((lift + (1 << (kLiftShift - 1))) >> kLiftShift));
    }
}

void WhitenColourLine(unsigned char* colour, int width, const std::uint16_t* mask) {
    constexpr int kShift = 8 + BeautyFilter::kWhitenColourShift;
    for (int x = 0; x < width; ++x) {
        const std::int16_t weight = Short(mask[x]);
        const std::int16_t pull = Short((kNeutral - colour[x]) * weight);
        colour[x] =
            static_cast<unsigned char>(colour[x] + ((pull + (1 << (kShift - 1))) >> kShift));
    }
}

void BlurLine(std::uint16_t* blurred, int width, const unsigned char* const (&lines)[5],
              std::uint16_t* work) {
    const unsigned char* const a = lines[0];
    const unsigned char* const b = lines[1];
    const unsigned char* const c = lines[2];
    const unsigned char* const d = lines[3];
    const unsigned char* const e = lines[4];
    for (int x = -2; x < width + 2; ++x) {
        work[x] = static_cast<std::uint16_t>(a[x] + e[x] + 4 * (b[x] + d[x]) + 6 * c[x]);
    }
    for (int x = 0; x < width; ++x) {
        blurred[x] = static_cast<std::uint16_t>(work[x - 2] + work[x + 2] +
                                                4 * (work[x - 1] + work[x + 1]) + 6 * work[x]);
    }
}

void SharpenLine(std::int16_t* luma, int width, const unsigned char* original,
                 const std::uint16_t* blurred, const std::int16_t* pull) {
    constexpr int kHalfFull = 128;  // of a weight of 7 bits, so that the product has 16
    constexpr int kShift = 4 + 7;
    for (int x = 0; x < width; ++x) {
        const std::int16_t detail = Short(kFine * original[x] - (blurred[x] >> 4));
        // What is below the threshold goes, and the rest begins at 0.
        const std::int16_t strong =
            Short(AtLeast(Short(detail - kThreshold), 0) + AtMost(Short(detail + kThreshold), 0));
        const std::int16_t limited = AtMost(AtLeast(strong, -2 * kLimit), 2 * kLimit);
        const std::int16_t share = Short((limited * BeautyFilter::kSharpenQuarters) >> 2);
        const std::int16_t wanted = AtMost(AtLeast(share, -kLimit), kLimit);
        const std::int16_t weight = Short(kHalfFull - ((pull[x] + 1) >> 1));
        const std::int16_t change = Short((wanted * weight + (1 << (kShift - 1))) >> kShift);
        // Neither blacker than black nor whiter than white, unless it was.
        const std::int16_t old = luma[x];
        luma[x] = AtMost(AtLeast(Short(old + change), AtMost(old, kBlack)), AtLeast(old, kWhite));
    }
}

}  // namespace vaxoengine
