#include "engine/player/LivePacer.h"

#include <cstdint>
#include <random>

#include <gtest/gtest.h>

namespace {

using vaxoengine::LivePacer;

constexpr std::int64_t kMilli = LivePacer::kMilli;

// A stream of pictures each 33 ms and sound each 21 ms, whose pieces come after ways that the
// test chooses.
class Stream {
public:
    void Run(std::int64_t milliseconds) {
        for (const std::int64_t end = m_time + milliseconds; m_time < end; ++m_time) {
            if (pictures && m_time % 33 == 0) {
                pictureShift = pacer.Picture((m_time + pictureWay) * kMilli, m_time * kMilli);
            }
            if (sound && m_time % 21 == 0) {
                soundShift = pacer.Sound((m_time + soundWay) * kMilli, m_time * kMilli);
            }
        }
    }

    LivePacer pacer;
    bool pictures = true;
    bool sound = true;
    std::int64_t pictureWay = 100;
    std::int64_t soundWay = 150;
    std::int64_t pictureShift = 0;
    std::int64_t soundShift = 0;

private:
    std::int64_t m_time = 0;
};

TEST(LivePacer, PicturesAloneAreDueTheirCushionAfterTheyCome) {
    Stream stream;
    stream.sound = false;
    stream.Run(1000);
    EXPECT_EQ(stream.pictureShift, 100 * kMilli + LivePacer::kPictureCushion);
}

TEST(LivePacer, SoundAloneIsDueItsCushionAfterItComes) {
    Stream stream;
    stream.pictures = false;
    stream.Run(1000);
    EXPECT_EQ(stream.soundShift, 150 * kMilli + LivePacer::kSoundCushion);
}

TEST(LivePacer, PicturesWaitForSoundThatTakesLonger) {
    Stream stream;
    stream.Run(1000);
    EXPECT_EQ(stream.soundShift, 150 * kMilli + LivePacer::kSoundCushion);
    EXPECT_EQ(stream.soundShift - stream.pictureShift, LivePacer::kSoundBehind);
}

TEST(LivePacer, SoundWaitsForPicturesThatTakeLonger) {
    Stream stream;
    stream.pictureWay = 900;
    stream.Run(3000);
    EXPECT_EQ(stream.pictureShift, 900 * kMilli + LivePacer::kPictureCushion);
    EXPECT_EQ(stream.pictureShift - stream.soundShift, LivePacer::kSoundAhead);
}

TEST(LivePacer, WhateverTheWaysTheTwoStayTogetherAndNeitherIsEarly) {
    std::mt19937 random(20261122);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same ways
    Stream stream;
    for (int i = 0; i < 500; ++i) {
        stream.pictureWay = static_cast<std::int64_t>(random() % 1500);
        stream.soundWay = static_cast<std::int64_t>(random() % 1500);
        stream.Run(2200);
        ASSERT_LE(stream.soundShift - stream.pictureShift, LivePacer::kSoundBehind) << i;
        ASSERT_LE(stream.pictureShift - stream.soundShift, LivePacer::kSoundAhead) << i;
        ASSERT_GE(stream.pictureShift, stream.pictureWay * kMilli) << i;
        ASSERT_GE(stream.soundShift, stream.soundWay * kMilli) << i;
    }
}

TEST(LivePacer, SoundThatEndedHoldsNoPictureBack) {
    Stream stream;
    stream.soundWay = 800;
    stream.Run(1000);
    stream.sound = false;
    stream.Run(5000);
    EXPECT_EQ(stream.pictureShift, 100 * kMilli + LivePacer::kPictureCushion);
}

TEST(LivePacer, AStreamThatStaysLateIsBehindAndOneThatCatchesUpIsNot) {
    Stream stream;
    stream.Run(5000);
    EXPECT_EQ(stream.pacer.Behind(), 0);
    stream.pictureWay = 3100;
    stream.Run(1500);
    stream.pictureWay = 100;
    stream.Run(100);
    EXPECT_LT(stream.pacer.Behind(), 10 * kMilli);
    stream.pictureWay = 3100;
    stream.Run(2500);
    EXPECT_GT(stream.pacer.Behind(), 2990 * kMilli);
}

TEST(LivePacer, AClockThatDriftsIsNotBehind) {
    Stream stream;
    for (int i = 0; i < 1000; ++i) {
        stream.Run(10000);  // 150 ppm: 1.5 ms in ten seconds
        stream.pictureWay += 1 + i % 2;
        ASSERT_LT(stream.pacer.Behind(), 10 * kMilli) << i;
    }
}

}  // namespace
