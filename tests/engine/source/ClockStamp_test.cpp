#include "engine/source/ClockStamp.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using vaxoengine::DrawClockStamp;
using vaxoengine::ReadClockStamp;

// A picture of `step` bytes a pixel whose rows are longer than they are wide.
struct Picture {
    Picture(int pictureWidth, int pictureHeight, int pixelStep = 1)
        : width(pictureWidth),
          height(pictureHeight),
          step(pixelStep),
          stride(pictureWidth * pixelStep + 24),
          bytes(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height), 77) {}

    unsigned char& At(int x, int y) {
        return bytes[static_cast<std::size_t>(y) * static_cast<std::size_t>(stride) +
                     static_cast<std::size_t>(x) * static_cast<std::size_t>(step)];
    }
    void Draw(std::uint32_t millis) { DrawClockStamp(bytes.data(), width, height, stride, millis); }
    bool Read(std::uint32_t& millis) const {
        return ReadClockStamp(bytes.data(), width, height, stride, step, millis);
    }

    int width;
    int height;
    int step;
    int stride;
    std::vector<unsigned char> bytes;
};

Picture Scaled(Picture from, int width, int height, int step = 1) {
    Picture to(width, height, step);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            to.At(x, y) = from.At(x * from.width / width, y * from.height / height);
        }
    }
    return to;
}

const std::vector<std::uint32_t> kTimes = {1, 2, 0x80000000U, 0x12345678U, 0xFFFFFFFFU, 0xFFU};

TEST(ClockStamp, IsReadAsDrawnAtManySizes) {
    const std::vector<std::pair<int, int>> sizes = {
        {160, 90},  {161, 4},   {176, 144},  {199, 50},  {320, 240},  {500, 281},
        {640, 360}, {854, 480}, {1280, 720}, {359, 640}, {1920, 1080}};
    for (const auto& [width, height] : sizes) {
        for (const std::uint32_t time : kTimes) {
            Picture picture(width, height);
            picture.Draw(time);
            std::uint32_t read = 0;
            ASSERT_TRUE(picture.Read(read)) << width << "x" << height << " " << time;
            EXPECT_EQ(read, time) << width << "x" << height;
        }
    }
}

TEST(ClockStamp, TouchesOnlyItsRowOfSquares) {
    Picture picture(320, 180);
    picture.Draw(0x12345678U);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.stride; x++) {
            if (y >= 8 || x >= 320) {
                ASSERT_EQ(picture.At(x, y), 77) << x << "," << y;
            }
        }
    }
}

TEST(ClockStamp, SmallPictureGetsNoneAndShowsNone) {
    const std::vector<std::pair<int, int>> sizes = {
        {64, 36}, {159, 90}, {640, 15}, {0, 0}, {-1, 9}};
    for (const auto& [width, height] : sizes) {
        Picture picture(std::max(width, 1), std::max(height, 1));
        const auto before = picture.bytes;
        DrawClockStamp(picture.bytes.data(), width, height, picture.stride, 0x12345678U);
        EXPECT_EQ(picture.bytes, before) << width << "x" << height;
        std::uint32_t read = 5;
        EXPECT_FALSE(ReadClockStamp(picture.bytes.data(), width, height, picture.stride, 1, read));
        EXPECT_EQ(read, 5U);
    }
}

TEST(ClockStamp, SurvivesAChangeOfBrightnessAndContrast) {
    for (const int percent : {40, 70, 130}) {
        for (const int shift : {-30, 0, 60}) {
            Picture picture(640, 360);
            picture.Draw(0xCAFE1234U);
            for (unsigned char& byte : picture.bytes) {
                byte = static_cast<unsigned char>(std::clamp(byte * percent / 100 + shift, 0, 255));
            }
            std::uint32_t read = 0;
            ASSERT_TRUE(picture.Read(read)) << percent << " " << shift;
            EXPECT_EQ(read, 0xCAFE1234U);
        }
    }
}

TEST(ClockStamp, SurvivesScaling) {
    Picture drawn(640, 360);
    drawn.Draw(0x9ABCDEF1U);
    const std::vector<std::pair<int, int>> sizes = {{320, 180}, {426, 240},  {500, 281},
                                                    {853, 480}, {1280, 720}, {1919, 1079}};
    for (const auto& [width, height] : sizes) {
        std::uint32_t read = 0;
        ASSERT_TRUE(Scaled(drawn, width, height).Read(read)) << width;
        EXPECT_EQ(read, 0x9ABCDEF1U);
    }
    Picture odd(500, 282);
    odd.Draw(0x9ABCDEF1U);
    std::uint32_t read = 0;
    ASSERT_TRUE(Scaled(odd, 1000, 564).Read(read));
    EXPECT_EQ(read, 0x9ABCDEF1U);
}

TEST(ClockStamp, IsReadFromPixelsOfFourBytes) {
    Picture drawn(640, 360);
    drawn.Draw(0x01020304U);
    std::uint32_t read = 0;
    ASSERT_TRUE(Scaled(drawn, 640, 360, 4).Read(read));
    EXPECT_EQ(read, 0x01020304U);
}

TEST(ClockStamp, EachFlippedSquareIsFound) {
    for (int square = 0; square < 40; square++) {
        Picture picture(640, 360);
        picture.Draw(0x12345678U);
        for (int y = 0; y < 16; y++) {
            for (int x = square * 16; x < square * 16 + 16; x++) {
                picture.At(x, y) = static_cast<unsigned char>(251 - picture.At(x, y));
            }
        }
        std::uint32_t read = 5;
        EXPECT_FALSE(picture.Read(read)) << square;
        EXPECT_EQ(read, 5U);
    }
}

TEST(ClockStamp, GreySquareIsDamage) {
    Picture picture(640, 360);
    picture.Draw(0x12345678U);
    for (int y = 0; y < 16; y++) {
        std::fill(&picture.At(160, y), &picture.At(176, y), static_cast<unsigned char>(130));
    }
    std::uint32_t read = 0;
    EXPECT_FALSE(picture.Read(read));
}

TEST(ClockStamp, PicturesWithoutOneShowNone) {
    std::uint32_t read = 0;
    for (const int brightness : {0, 16, 128, 255}) {
        Picture picture(640, 360);
        std::fill(picture.bytes.begin(), picture.bytes.end(),
                  static_cast<unsigned char>(brightness));
        EXPECT_FALSE(picture.Read(read)) << brightness;
    }
    Picture ramp(640, 360);
    for (int y = 0; y < 360; y++) {
        for (int x = 0; x < 640; x++) {
            ramp.At(x, y) = static_cast<unsigned char>(x * 255 / 639);
        }
    }
    EXPECT_FALSE(ramp.Read(read));
}

TEST(ClockStamp, ZeroIsDrawnAsOne) {
    Picture picture(640, 360);
    picture.Draw(0);
    std::uint32_t read = 0;
    ASSERT_TRUE(picture.Read(read));
    EXPECT_EQ(read, 1U);
}

}  // namespace
