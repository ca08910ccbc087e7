#include "engine/filters/BeautyFilter.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/filters/FilterCanvas.h"

namespace {

using vaxoengine::BeautyFilter;

constexpr unsigned kSmooth = BeautyFilter::kSmooth;
constexpr unsigned kWhiten = BeautyFilter::kWhiten;
constexpr unsigned kSharpen = BeautyFilter::kSharpen;

Canvas After(unsigned features, Canvas canvas) {
    BeautyFilter().Apply(features, canvas.View());
    return canvas;
}

// The luma of a canvas: of pixel (x, y) what `level` says.
template <class Level>
Canvas Painted(int width, int height, Colour colour, Level level) {
    Canvas canvas(width, height);
    canvas.FillColour(colour);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            canvas.Y(x, y) = static_cast<unsigned char>(level(x, y));
        }
    }
    return canvas;
}

// From 30 on the left to 220 on the right.
Canvas Ramp(Colour colour) {
    return Painted(640, 32, colour, [](int x, int) { return 30 + 190 * x / 639; });
}

// Dark left of x = 80, brighter by `height` from there on.
Canvas Step(Colour colour, int height) {
    return Painted(160, 120, colour, [&](int x, int) { return x < 80 ? 100 : 100 + height; });
}

// The mean rise of the luma between two columns.
double Rise(Canvas& canvas, int from, int to) {
    return MeanLuma(canvas, {to, 0, to + 1, canvas.Height()}) -
           MeanLuma(canvas, {from, 0, from + 1, canvas.Height()});
}

// The smallest and the largest difference of neighbours along the lines.
std::pair<int, int> Slopes(Canvas& canvas) {
    std::pair<int, int> found{255, -255};
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 1; x < canvas.Width(); ++x) {
            const int slope = canvas.Y(x, y) - canvas.Y(x - 1, y);
            found = {std::min(found.first, slope), std::max(found.second, slope)};
        }
    }
    return found;
}

TEST(BeautyFilter, WithoutAFeatureOrWithUnknownOnesNothingChanges) {
    const Canvas face = Face();
    EXPECT_TRUE(After(0, face) == face);
    EXPECT_TRUE(After(~BeautyFilter::kAll, face) == face);
    EXPECT_TRUE(After(~0U, face) == After(BeautyFilter::kAll, face));
    EXPECT_FALSE(After(BeautyFilter::kAll, face) == face);
}

TEST(BeautyFilter, SmoothingTakesMostNoiseOffSkin) {
    for (const int peak : {4, 8, 14}) {
        Canvas canvas = Step(kSkin, 0);
        canvas.AddNoise(peak, 7);
        const Area all{0, 0, 160, 120};
        Canvas smooth = After(kSmooth, canvas);
        EXPECT_LT(Deviation(smooth, all), 0.4 * Deviation(canvas, all)) << peak;
        EXPECT_NEAR(MeanLuma(smooth, all), MeanLuma(canvas, all), 0.3) << peak;
    }
    Canvas face = Face();
    Canvas smooth = After(kSmooth, face);
    // The light across the cheek stays, so less is left to go.
    EXPECT_LT(Deviation(smooth, kCheek), 0.8 * Deviation(face, kCheek));
    const Area narrow{155, 130, 161, 170};
    EXPECT_LT(Deviation(smooth, narrow), 0.4 * Deviation(face, narrow));
}

TEST(BeautyFilter, SmoothingKeepsAnEdgeOnSkinInItsPlaceAndNearlyItsHeight) {
    for (const int height : {30, 40, 80, 120}) {
        for (const int noise : {0, 4}) {
            Canvas canvas = Step(kSkin, height);
            canvas.AddNoise(noise, 5);
            const double before = Rise(canvas, 79, 80);
            Canvas smooth = After(kSmooth, canvas);
            EXPECT_GT(Rise(smooth, 79, 80), 0.95 * before) << height << " with noise " << noise;
            EXPECT_LT(Rise(smooth, 79, 80), 1.05 * before) << height << " with noise " << noise;
            EXPECT_NEAR(Rise(smooth, 70, 79), 0, 0.05 * height);
            EXPECT_NEAR(Rise(smooth, 80, 89), 0, 0.05 * height);
        }
    }
}

TEST(BeautyFilter, SmoothingAndWhiteningLeaveAllThatIsNoSkinAsItIs) {
    Canvas face = Face();
    Canvas after = After(kSmooth | kWhiten, face);
    int others = 0;
    for (int y = 0; y < face.Height(); ++y) {
        for (int x = 0; x < face.Width(); ++x) {
            const bool isHair =
                x >= kHair.left && x < kHair.right && y >= kHair.top && y < kHair.bottom;
            if (isHair || face.V(x / 2, y / 2) == kGrey.v) {
                const int allowed = isHair ? 1 : 0;
                ASSERT_NEAR(after.Y(x, y), face.Y(x, y), allowed) << x << "," << y;
                ASSERT_NEAR(after.U(x / 2, y / 2), face.U(x / 2, y / 2), allowed);
                ASSERT_NEAR(after.V(x / 2, y / 2), face.V(x / 2, y / 2), allowed);
                ++others;
            }
        }
    }
    EXPECT_GT(others, 40000);
    EXPECT_EQ(Deviation(after, kEye), Deviation(face, kEye));
}

TEST(BeautyFilter, ColoursOfAChartAreNoSkinAndSkinOfEveryShadeIs) {
    // Grey, red, green, blue, yellow, cyan, magenta, sky, leaves.
    for (const Colour colour :
         {kGrey, Colour{90, 240}, Colour{54, 34}, Colour{240, 110}, Colour{16, 146},
          Colour{166, 16}, Colour{202, 222}, Colour{150, 110}, kGreen}) {
        Canvas canvas = Step(colour, 0);
        canvas.AddNoise(8, 3);
        EXPECT_TRUE(After(kSmooth | kWhiten, canvas) == canvas)
            << int{colour.u} << "," << int{colour.v};
    }
    // Very fair, fair, tanned, brown, dark.
    for (const auto& [colour, luma] : std::vector<std::pair<Colour, int>>{{{118, 141}, 215},
                                                                          {{111, 152}, 175},
                                                                          {{97, 158}, 140},
                                                                          {{106, 150}, 100},
                                                                          {{115, 144}, 66}}) {
        const int level = luma;
        Canvas canvas = Painted(160, 120, colour, [&](int, int) { return level; });
        canvas.AddNoise(6, 3);
        const Area all{0, 0, 160, 120};
        Canvas smooth = After(kSmooth, canvas);
        EXPECT_LT(Deviation(smooth, all), 0.4 * Deviation(canvas, all)) << luma;
    }
}

TEST(BeautyFilter, GradientsStayInOrderAndGetNoBands) {
    for (const Colour colour : {kSkin, Colour{150, 110}}) {
        Canvas ramp = Ramp(colour);
        Canvas smooth = After(kSmooth, ramp);
        for (int x = 0; x < ramp.Width(); ++x) {
            ASSERT_NEAR(smooth.Y(x, 16), ramp.Y(x, 16), 1) << x;
        }
        EXPECT_EQ(Slopes(smooth), std::pair(0, 1));
        Canvas all = After(BeautyFilter::kAll, ramp);
        EXPECT_GE(Slopes(all).first, 0);
        EXPECT_LE(Slopes(all).second, 2);
    }
    // Steep, but no edge; apart from its ends.
    Canvas steep = Painted(100, 60, kSkin, [](int x, int) { return 20 + 2 * x; });
    Canvas smooth = After(kSmooth, steep);
    for (int x = 10; x < 90; ++x) {
        ASSERT_EQ(smooth.Y(x, 30), steep.Y(x, 30)) << x;
    }
    Canvas sky = Ramp({150, 110});
    EXPECT_TRUE(After(BeautyFilter::kAll, sky) == sky);
}

TEST(BeautyFilter, WhiteningLiftsTheMidTonesOfSkinKeepsOrderAndNeverClips) {
    Canvas shades = Painted(256, 64, kSkin, [](int x, int) { return x; });
    Canvas white = After(kWhiten, shades);
    EXPECT_NEAR(white.Y(126, 32), 126 + BeautyFilter::kWhitenLift, 1);
    EXPECT_NEAR(white.Y(80, 32), 80 + BeautyFilter::kWhitenLift * 0.83, 1);
    EXPECT_NEAR(white.Y(180, 32), 180 + BeautyFilter::kWhitenLift * 0.75, 1);
    for (int x = 0; x < 256; ++x) {
        ASSERT_GE(white.Y(x, 32), x);
        if (x <= 32 || x >= 235) {
            ASSERT_EQ(white.Y(x, 32), x) << "black, white and beyond stay";
        } else if (x < 234) {
            ASSERT_LT(white.Y(x, 32), 235);
        }
    }
    EXPECT_GE(Slopes(white).first, 0);
    EXPECT_LE(Slopes(white).second, 2);
    // The colour goes an eighth of the way to grey, where the skin is not dark.
    EXPECT_NEAR(white.U(60, 16), 128 - 20 * 0.875, 1);
    EXPECT_NEAR(white.V(60, 16), 128 + 24 * 0.875, 1);
    EXPECT_EQ(white.V(8, 16), kSkin.v);
}

TEST(BeautyFilter, SharpeningRaisesEdgesWithinTheLimit) {
    for (const int height : {40, 60, 120}) {
        Canvas step = Step(kGrey, height);
        Canvas sharp = After(kSharpen, step);
        EXPECT_GE(Rise(sharp, 79, 80), height + 10) << height;
        int halo = 0;
        for (int y = 0; y < step.Height(); ++y) {
            for (int x = 0; x < step.Width(); ++x) {
                halo = std::max(halo, std::abs(sharp.Y(x, y) - step.Y(x, y)));
            }
        }
        EXPECT_LE(halo, BeautyFilter::kSharpenLimit);
        EXPECT_EQ(sharp.Y(70, 50), 100) << "nothing away from the edge";
    }
    // Text: black strokes on white do not leave the range.
    Canvas text =
        Painted(160, 120, kGrey, [](int x, int y) { return x % 12 < 2 || y % 20 < 3 ? 16 : 235; });
    EXPECT_TRUE(After(kSharpen, text) == text);
    // Grey on light: strokes become darker, the ground beside them lighter.
    Canvas grey = Painted(160, 120, kGrey, [](int x, int) { return x % 20 < 3 ? 90 : 190; });
    Canvas sharp = After(kSharpen, grey);
    EXPECT_LE(sharp.Y(80, 50), 90 - 8);
    EXPECT_GE(sharp.Y(83, 50), 190 + 8);
}

TEST(BeautyFilter, SharpeningLeavesFlatNoiseAlone) {
    const Area all{0, 0, 160, 120};
    Canvas weak = Step(kGrey, 0);
    weak.AddNoise(2, 9);
    EXPECT_TRUE(After(kSharpen, weak) == weak);
    Canvas noise = Step(kGrey, 0);
    noise.AddNoise(4, 9);
    Canvas sharp = After(kSharpen, noise);
    EXPECT_LT(Deviation(sharp, all), 1.05 * Deviation(noise, all));
}

TEST(BeautyFilter, SmoothedSkinIsNotSharpenedAndItsOutlinesAre) {
    Canvas canvas = Step(kSkin, 0);
    canvas.AddNoise(14, 11);
    const Area all{0, 0, 160, 120};
    Canvas smooth = After(kSmooth, canvas);
    Canvas both = After(kSmooth | kSharpen, canvas);
    Canvas sharp = After(kSharpen, canvas);
    EXPECT_GT(Deviation(sharp, all), 1.1 * Deviation(canvas, all));
    EXPECT_LT(Deviation(both, all), 0.4 * Deviation(canvas, all));
    EXPECT_NEAR(Deviation(both, all), Deviation(smooth, all), 0.15 * Deviation(canvas, all));
    Canvas step = After(kSmooth | kSharpen, Step(kSkin, 60));
    EXPECT_GE(Rise(step, 79, 80), 70);
}

TEST(BeautyFilter, AnEvenPictureOfAnySizeStaysEvenAndWhatIsBesideItIsNotTouched) {
    BeautyFilter filter;
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{
             {1, 1}, {2, 2}, {3, 5}, {5, 3}, {641, 3}, {3, 200}, {161, 121}, {2000, 5}}) {
        Canvas canvas(width, height, 13);
        canvas.FillColour(kSkin);
        const Canvas before = canvas;
        filter.Apply(kSmooth | kSharpen, canvas.View());
        EXPECT_TRUE(canvas == before) << width << "x" << height;
        filter.Apply(BeautyFilter::kAll, canvas.View());
        EXPECT_TRUE(canvas.GuardsAreWhole()) << width << "x" << height;
        const int white = canvas.Y(0, 0);
        EXPECT_NEAR(white, 128 + BeautyFilter::kWhitenLift, 1);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_EQ(canvas.Y(x, y), white) << width << "x" << height;
            }
        }
    }
    Canvas canvas(4, 4);
    vaxoengine::Picture none = canvas.View();
    none.width = 0;
    filter.Apply(BeautyFilter::kAll, none);
    EXPECT_TRUE(canvas == Canvas(4, 4));
}

TEST(BeautyFilter, APictureDoesNotDependOnTheOnesBefore) {
    BeautyFilter filter;
    Canvas large(800, 600);
    large.FillColour(kSkin);
    filter.Apply(BeautyFilter::kAll, large.View());
    Canvas face = Face();
    filter.Apply(kSharpen, face.View());
    EXPECT_TRUE(face == After(kSharpen, Face()));
}

}  // namespace
