#include "engine/capture/Looks.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using vaxoengine::ApplyLook;
using vaxoengine::kLooks;
using vaxoengine::LookAt;
using vaxoengine::Picture;

// A picture with padding behind each line, which nobody may touch.
struct Canvas {
    static constexpr int kPadding = 5;

    Canvas(int w, int h) : width(w), height(h) {
        const int colour = (w + 1) / 2 + kPadding;
        const int lines = (h + 1) / 2;
        luma.assign(static_cast<std::size_t>((w + kPadding) * h), 7);
        u.assign(static_cast<std::size_t>(colour * lines), 7);
        v = u;
    }
    Picture View() {
        const int colour = (width + 1) / 2 + kPadding;
        return {luma.data(), u.data(), v.data(), width, height, width + kPadding, colour, colour};
    }
    void Fill(unsigned char toY, unsigned char toU, unsigned char toV) {
        const Picture p = View();
        for (int y = 0; y < height; ++y) {
            std::fill_n(p.luma + y * p.lumaStride, width, toY);
        }
        for (int y = 0; y < (height + 1) / 2; ++y) {
            std::fill_n(p.u + y * p.uStride, (width + 1) / 2, toU);
            std::fill_n(p.v + y * p.vStride, (width + 1) / 2, toV);
        }
    }

    int width;
    int height;
    std::vector<unsigned char> luma;
    std::vector<unsigned char> u;
    std::vector<unsigned char> v;
};

TEST(Looks, AreNamedApartAndTheFirstIsNone) {
    EXPECT_GE(kLooks, 8);
    EXPECT_STREQ(LookAt(0).name, "none");
    std::set<std::string> names;
    for (int i = 0; i < kLooks; ++i) {
        names.insert(LookAt(i).name);
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kLooks));
}

TEST(Looks, TheFirstChangesNothingAndEveryOtherChangesAColouredPicture) {
    std::set<std::vector<unsigned char>> seen;
    for (int i = 0; i < kLooks; ++i) {
        Canvas canvas(17, 9);
        canvas.Fill(150, 90, 160);
        const Canvas before = canvas;
        ApplyLook(i, canvas.View());
        const bool same =
            before.luma == canvas.luma && before.u == canvas.u && before.v == canvas.v;
        EXPECT_EQ(same, i == 0) << LookAt(i).name;
        seen.insert({canvas.luma[0], canvas.u[0], canvas.v[0]});
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kLooks)) << "two looks look alike";
}

TEST(Looks, StayInsideThePictureAndInTheVideoRange) {
    for (int i = 1; i < kLooks; ++i) {
        for (const int extreme : {0, 16, 235, 255}) {
            Canvas canvas(15, 7);
            const auto value = static_cast<unsigned char>(extreme);
            canvas.Fill(value, value, static_cast<unsigned char>(255 - extreme));
            ApplyLook(i, canvas.View());
            const Picture p = canvas.View();
            for (int y = 0; y < p.height; ++y) {
                const unsigned char* const line = p.luma + y * p.lumaStride;
                EXPECT_TRUE(
                    std::all_of(line, line + p.width, [](int l) { return l >= 16 && l <= 235; }));
                EXPECT_EQ(std::count(line + p.width, line + p.lumaStride, 7), Canvas::kPadding);
            }
            for (int y = 0; y < (p.height + 1) / 2; ++y) {
                const unsigned char* const line = p.u + y * p.uStride;
                EXPECT_EQ(std::count(line + 8, line + p.uStride, 7), Canvas::kPadding);
                EXPECT_TRUE(std::all_of(line, line + 8, [](int c) { return c >= 16 && c <= 240; }));
            }
        }
    }
}

TEST(Looks, GreyHasNoColourAndSepiaLeavesBlackBlack) {
    Canvas canvas(8, 8);
    canvas.Fill(150, 60, 200);
    ApplyLook(1, canvas.View());
    EXPECT_EQ(canvas.u[0], 128);
    EXPECT_EQ(canvas.v[0], 128);
    EXPECT_EQ(canvas.luma[0], 150);

    canvas.Fill(16, 128, 128);
    ApplyLook(2, canvas.View());
    EXPECT_EQ(canvas.u[0], 128);
    canvas.Fill(200, 128, 128);
    ApplyLook(2, canvas.View());
    EXPECT_LT(canvas.u[0], 115);
    EXPECT_GT(canvas.v[0], 135);
}

}  // namespace
