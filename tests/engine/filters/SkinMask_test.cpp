#include "engine/filters/SkinMask.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

#include "engine/filters/FilterCanvas.h"

namespace {

using vaxoengine::BoxMean;
using vaxoengine::SamplePlane;
using vaxoengine::SkinMask;

constexpr int kRadius = 4;

SamplePlane MaskOf(Canvas canvas, std::uint16_t luma = 150) {
    SamplePlane half;
    half.Resize((canvas.Width() + 1) / 2, (canvas.Height() + 1) / 2);
    for (int y = 0; y < half.Height(); ++y) {
        std::fill_n(half.Line(y), half.Width(), static_cast<std::uint16_t>(4 * luma));
    }
    BoxMean box;
    SamplePlane mask;
    SkinMask().Make(canvas.View(), half, kRadius, box, mask);
    return mask;
}

TEST(SkinMask, IsFullOnSkinOfAnyBrightnessButTheDarkest) {
    Canvas canvas(64, 64);
    canvas.FillColour(kSkin);
    EXPECT_EQ(MaskOf(canvas, 235).Line(16)[16], 255);
    EXPECT_EQ(MaskOf(canvas, 56).Line(16)[16], 255);
    EXPECT_NEAR(MaskOf(canvas, 44).Line(16)[16], 128, 3);
    EXPECT_EQ(MaskOf(canvas, 32).Line(16)[16], 0);
    EXPECT_EQ(MaskOf(canvas, 0).Line(16)[16], 0);
}

TEST(SkinMask, HasABorderThatIsSoftInwardsAndNothingOutside) {
    Canvas canvas(80, 80);
    for (int y = 0; y < 80; y += 2) {
        for (int x = 0; x < 40; x += 2) {
            canvas.SetColour(x, y, kSkin);
        }
    }
    const SamplePlane mask = MaskOf(canvas);
    const std::uint16_t* const line = mask.Line(20);
    for (int x = 20; x < 40; ++x) {
        EXPECT_EQ(line[x], 0) << x;
    }
    EXPECT_GT(line[19], 80);
    EXPECT_LT(line[19], 180);
    for (int x = 1; x < 20; ++x) {
        EXPECT_LE(line[x], line[x - 1]) << x;
        EXPECT_LT(line[x - 1] - line[x], 64) << x;
    }
    EXPECT_EQ(line[20 - kRadius], 255);
}

TEST(SkinMask, ALoneSampleOfTheColourOfSkinIsNone) {
    Canvas canvas(64, 64);
    canvas.SetColour(32, 32, kSkin);
    EXPECT_EQ(MaskOf(canvas).Line(16)[16], 0);
}

}  // namespace
