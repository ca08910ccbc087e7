// What beautifying does to one line of a picture. BeautyFilter.h says why and where.
//
// Loops over plain arrays, for the compiler to make vectors of; luma is held in 16 bits with a
// sign between the steps. `width` counts what the first array holds. Arrays do not overlap.
#ifndef VAXO_ENGINE_FILTERS_BEAUTYLINES_H
#define VAXO_ENGINE_FILTERS_BEAUTYLINES_H

#include <cstdint>

namespace vaxoengine {

void LoadLine(std::int16_t* luma, int width, const unsigned char* pixels);
// From luma that a byte holds.
void StoreLine(unsigned char* pixels, int width, const std::int16_t* luma);

// Half the size: sums of four pixels, that is quarters of a level. Two lines of 2 * width
// pixels.
void HalveLine(std::uint16_t* half, int width, const unsigned char* upper,
               const unsigned char* lower);

// Three quarters of `near` and one of `far`, both in 64ths of a level.
void MixLines(std::uint16_t* mixed, int width, const std::uint16_t* near, const std::uint16_t* far);
// Twice the width: a pixel takes three quarters of the sample it lies in and one of the
// neighbour it lies next to. `half` has one valid sample more on either side.
void DoubleLine(std::uint16_t* line, int width, const std::uint16_t* half);
// Twice the width: every weight two times.
void SpreadWeights(std::int16_t* line, int width, const std::int16_t* half);

// How far a pixel is drawn towards its mean, 0..255.
void PullWeights(std::int16_t* pull, int width, const std::uint16_t* contrast,
                 const std::uint16_t* mask);
// Draws luma towards `mean`, which is in 64ths of a level.
void SmoothLine(std::int16_t* luma, int width, const std::uint16_t* mean, const std::int16_t* pull);

// The weight of WhitenLine.
void WhitenWeights(std::int16_t* weights, int width, const std::uint16_t* mask);
void WhitenLine(std::int16_t* luma, int width, const std::int16_t* weights);
// Of one colour plane.
void WhitenColourLine(unsigned char* colour, int width, const std::uint16_t* mask);

// The blurred picture in 256ths of a level: five lines, weighted 1 4 6 4 1 downwards and along.
// The lines have two valid pixels more on either side; so has `work`.
void BlurLine(std::uint16_t* blurred, int width, const unsigned char* const (&lines)[5],
              std::uint16_t* work);
// Adds to `luma` what `original` has more than `blurred`, less where `pull` says that the
// pixel is being smoothed. All of the same width.
void SharpenLine(std::int16_t* luma, int width, const unsigned char* original,
                 const std::uint16_t* blurred, const std::int16_t* pull);

}  // namespace vaxoengine

#endif
