#include "engine/capture/BeautyFilter.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using vaxoengine::BeautyFilter;
using vaxoengine::Picture;

constexpr unsigned char kSkinU = 105;
constexpr unsigned char kSkinV = 150;

struct Canvas {
    Canvas(int w, int h, unsigned char toU, unsigned char toV)
        : width(w),
          height(h),
          luma(Size(w, h)),
          u(Size((w + 1) / 2, (h + 1) / 2), toU),
          v(Size((w + 1) / 2, (h + 1) / 2), toV) {}
    static std::size_t Size(int w, int h) { return static_cast<std::size_t>(w * h); }
    Picture View() {
        const int half = (width + 1) / 2;
        return {luma.data(), u.data(), v.data(), width, height, width, half, half};
    }
    unsigned char& At(int x, int y) { return luma[static_cast<std::size_t>(y * width + x)]; }

    int width;
    int height;
    std::vector<unsigned char> luma;
    std::vector<unsigned char> u;
    std::vector<unsigned char> v;
};

// Two even halves, dark and bright, with fine noise on both.
Canvas Noisy(unsigned char u = kSkinU, unsigned char v = kSkinV) {
    Canvas canvas(160, 90, u, v);
    std::uint32_t state = 12345;
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < canvas.width; ++x) {
            state = state * 1664525U + 1013904223U;
            const int noise = static_cast<int>(state >> 28U) - 8;
            canvas.At(x, y) = static_cast<unsigned char>((x < 80 ? 80 : 180) + noise);
        }
    }
    return canvas;
}

// The noise in the left half, away from the edge.
double Deviation(Canvas& canvas) {
    double sum = 0;
    double squares = 0;
    int count = 0;
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < 60; ++x, ++count) {
            sum += canvas.At(x, y);
            squares += canvas.At(x, y) * canvas.At(x, y);
        }
    }
    return std::sqrt(squares / count - sum / count * (sum / count));
}

TEST(BeautyFilter, OffChangesNothing) {
    Canvas canvas = Noisy();
    const Canvas before = canvas;
    BeautyFilter().Apply(0, canvas.View());
    EXPECT_EQ(canvas.luma, before.luma);
}

TEST(BeautyFilter, SmoothsNoiseTheMoreTheStrongerAndLeavesTheColours) {
    Canvas none = Noisy();
    Canvas some = Noisy();
    Canvas full = Noisy();
    BeautyFilter filter;
    filter.Apply(30, some.View());
    filter.Apply(100, full.View());
    EXPECT_LT(Deviation(some), Deviation(none) * 0.9);
    EXPECT_LT(Deviation(full), Deviation(none) * 0.4);
    EXPECT_EQ(full.u, none.u);
    EXPECT_EQ(full.v, none.v);
}

TEST(BeautyFilter, KeepsAnEdge) {
    Canvas canvas = Noisy();
    BeautyFilter().Apply(100, canvas.View());
    double left = 0;
    double right = 0;
    for (int y = 0; y < canvas.height; ++y) {
        left += canvas.At(79, y);
        right += canvas.At(80, y);
    }
    EXPECT_GT((right - left) / canvas.height, 75);
}

TEST(BeautyFilter, WorksLessWhereThereIsNoSkin) {
    Canvas skin = Noisy();
    Canvas grass = Noisy(60, 60);
    BeautyFilter filter;
    filter.Apply(100, skin.View());
    filter.Apply(100, grass.View());
    EXPECT_GT(Deviation(grass), Deviation(skin) * 1.5);
}

TEST(BeautyFilter, TakesPicturesOfAnySizeOneAfterTheOther) {
    BeautyFilter filter;
    for (const auto& [width, height] :
         std::vector<std::pair<int, int>>{{1, 1}, {3, 200}, {641, 3}, {2, 2}, {4000, 5}}) {
        Canvas canvas(width, height, kSkinU, kSkinV);
        canvas.luma.assign(canvas.luma.size(), 200);
        filter.Apply(100, canvas.View());
        for (const unsigned char value : canvas.luma) {
            ASSERT_EQ(value, 200) << width << "x" << height << ": an even picture stays even";
        }
    }
}

}  // namespace
