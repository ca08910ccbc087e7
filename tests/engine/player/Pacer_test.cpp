#include "engine/player/Pacer.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "engine/player/PlayError.h"

namespace {

using vaxoengine::KindOfPlayError;
using vaxoengine::Pacer;
using vaxoengine::PlayError;

constexpr std::int64_t kMilli = 1000000;
constexpr std::int64_t kCushion = 20 * kMilli;

// Pieces of the sender's time `from` to `to`, one each 10 ms, that come `way` after it; when the
// last one is due, in milliseconds after it came.
std::int64_t DueAfter(Pacer& pacer, std::int64_t from, std::int64_t to, std::int64_t way) {
    std::int64_t due = 0;
    for (std::int64_t media = from; media <= to; media += 10) {
        const std::int64_t now = media + way;
        due = media + pacer.Shift(now * kMilli, media * kMilli) / kMilli - now;
    }
    return due;
}

TEST(Pacer, APieceIsDueTheCushionAfterItComes) {
    Pacer pacer(kCushion);
    EXPECT_EQ(DueAfter(pacer, 3600000, 3600000, -3599000), 20);
    EXPECT_EQ(DueAfter(pacer, 3600010, 3602000, -3599000), 20);
}

TEST(Pacer, AShortDelayDoesNotMoveWhatIsDue) {
    Pacer pacer(kCushion);
    DueAfter(pacer, 0, 500, 100);
    EXPECT_EQ(DueAfter(pacer, 510, 510, 300), -180) << "late by the delay, less the cushion";
    EXPECT_EQ(DueAfter(pacer, 520, 520, 100), 20);
}

TEST(Pacer, ALongerWayIsFollowedWithinTwoSeconds) {
    Pacer pacer(kCushion);
    DueAfter(pacer, 0, 3000, 100);
    EXPECT_LT(DueAfter(pacer, 3010, 3500, 400), 0);
    EXPECT_EQ(DueAfter(pacer, 3510, 5600, 400), 20);
}

TEST(Pacer, AShorterWayIsTakenAtOnce) {
    Pacer pacer(kCushion);
    DueAfter(pacer, 0, 3000, 2100);
    EXPECT_EQ(DueAfter(pacer, 3010, 3010, 100), 20);
}

TEST(PlayErrorTest, TheServersAnswersAreToldApart) {
    EXPECT_EQ(KindOfPlayError("source: play denied; stream not found: { \"level\" }"),
              PlayError::notFound);
    EXPECT_EQ(KindOfPlayError("source: 'play' cmd failed: connection closed remotely"),
              PlayError::refused);
    EXPECT_EQ(KindOfPlayError("source: play denied: { }"), PlayError::refused);
    EXPECT_EQ(KindOfPlayError("source: Connection refused: Could not connect to 127.0.0.1"),
              PlayError::other);
}

}  // namespace
