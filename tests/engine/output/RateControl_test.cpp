#include "engine/output/RateControl.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using vaxoengine::RateChoice;
using vaxoengine::RateControl;

constexpr RateChoice kSet{2000000, 24};
constexpr milliseconds kStep{250};

// `count` times the same reading.
RateChoice Give(RateControl& control, int delay, int taken, int count = 1) {
    for (int i = 0; i < count; ++i) {
        control.Step({milliseconds(delay), taken}, kStep);
    }
    return control.Now();
}

TEST(RateControl, BeginsAtTheSetValuesAndStaysThereWhileNothingWaits) {
    RateControl control(kSet);
    EXPECT_EQ(control.Now(), kSet);
    EXPECT_EQ(Give(control, 0, 2100000, 400), kSet);
}

TEST(RateControl, ALongDelayLowersTheRateAtOnce) {
    RateControl control(kSet);
    EXPECT_LT(Give(control, 400, 600000).bitrate, kSet.bitrate * 7 / 10);
}

TEST(RateControl, ADelayUnderTheLongOneLowersNothing) {
    RateControl control(kSet);
    EXPECT_EQ(Give(control, 300, 600000, 100), kSet);
}

TEST(RateControl, CutsAreHalfASecondApart) {
    RateControl control(kSet);
    const RateChoice first = Give(control, 400, 600000);
    EXPECT_EQ(Give(control, 450, 600000), first);
    EXPECT_LT(Give(control, 500, 600000).bitrate, first.bitrate);
}

TEST(RateControl, ALongerDelayLowersTheRateMore) {
    RateControl some(kSet);
    RateControl much(kSet);
    EXPECT_LT(Give(much, 1500, 1000000).bitrate, Give(some, 400, 1000000).bitrate / 2);
}

TEST(RateControl, ANetworkThatTakesNothingLeadsToTheFloorWithinTwoSeconds) {
    RateControl control(kSet);
    EXPECT_EQ(Give(control, 1000, 0, 8), (RateChoice{kSet.bitrate / 8, 12}));
}

TEST(RateControl, TheFloorIsNeverUnderWhatPicturesNeedUnlessLessIsSet) {
    RateControl small({100000, 15});
    EXPECT_EQ(Give(small, 1000, 0, 40), (RateChoice{RateControl::kFloor, 15}));
    RateControl smaller({40000, 15});
    EXPECT_EQ(Give(smaller, 1000, 0, 40), (RateChoice{40000, 15}));
}

// Below what the network takes there is nothing to gain while the queue gets shorter.
TEST(RateControl, AQueueThatDrainsIsLeftAlone) {
    RateControl control(kSet);
    Give(control, 0, 1500000, 20);  // so that this is what it takes on average, too
    const RateChoice first = Give(control, 1000, 1500000);
    for (int delay = 960; delay > 300; delay -= 40) {
        EXPECT_EQ(Give(control, delay, 1500000), first) << delay;
    }
}

TEST(RateControl, AQueueThatDoesNotDrainLowersTheRateAgain) {
    RateControl control(kSet);
    Give(control, 0, 1500000, 20);  // so that this is what it takes on average, too
    const RateChoice first = Give(control, 1000, 1500000);
    EXPECT_EQ(Give(control, 1000, 1500000, 3), first);
    EXPECT_EQ(Give(control, 1000, 1500000).bitrate, static_cast<int>(first.bitrate * 0.7));
}

// The longest wait is a key frame's, perhaps.
TEST(RateControl, ANetworkThatTakesMoreThanNeededHasASecondToDrain) {
    RateControl control(kSet);
    Give(control, 0, 3000000, 20);
    EXPECT_EQ(Give(control, 400, 3000000, 4), kSet);
    EXPECT_LT(Give(control, 400, 3000000).bitrate, kSet.bitrate);
}

TEST(RateControl, ADelayThatIsNeitherLongNorShortKeepsTheRate) {
    RateControl control(kSet);
    const RateChoice low = Give(control, 1000, 0, 8);
    EXPECT_EQ(Give(control, 200, 400000, 400), low);
}

TEST(RateControl, ItRisesAfterThreeSecondsOfClearByAtMostATwentiethASecond) {
    RateControl control(kSet);
    RateChoice last = Give(control, 1000, 0, 8);
    EXPECT_EQ(Give(control, 0, 400000, 11), last);
    for (int second = 0; second < 17; ++second) {
        const RateChoice next = Give(control, 0, 400000);
        EXPECT_GT(next.bitrate, last.bitrate);
        EXPECT_LE(next.bitrate, last.bitrate + kSet.bitrate / 20);
        last = next;
        EXPECT_EQ(Give(control, 0, 400000, 3), last);
    }
    EXPECT_EQ(Give(control, 0, 2100000, 8), kSet);
}

TEST(RateControl, ALongPauseCountsAsASecond) {
    RateControl control(kSet);
    const RateChoice low = Give(control, 1000, 0, 8);
    EXPECT_EQ(control.Step({milliseconds(0), 0}, milliseconds(3600000)), low);
}

// Congestion soon after rises teaches patience near 1.7 of 2 Mbit/s; a long peace undoes it.
TEST(RateControl, PatienceGrowsWithEachFailureAndIsForgottenInPeace) {
    constexpr int kBrink = 1720000;
    RateControl control(kSet);
    const auto congest = [&] { return Give(control, 400, 2110000).bitrate; };
    EXPECT_LT(congest(), kBrink);
    EXPECT_GT(Give(control, 0, 2110000, 24).bitrate, kBrink);
    EXPECT_LT(congest(), kBrink);
    EXPECT_LT(Give(control, 0, 2110000, 23).bitrate, kBrink);
    EXPECT_GT(Give(control, 0, 2110000, 4).bitrate, kBrink);
    EXPECT_LT(congest(), kBrink);
    EXPECT_LT(Give(control, 0, 2110000, 47).bitrate, kBrink);
    EXPECT_EQ(Give(control, 0, 2110000, 260), kSet);  // 65 s
    EXPECT_LT(congest(), kBrink);
    EXPECT_GT(Give(control, 0, 2110000, 24).bitrate, kBrink);
}

TEST(RateControl, AKeyFrameThatWaitsEachSecondDoesNotHoldUpTheRise) {
    RateControl control(kSet);
    Give(control, 1000, 0, 8);
    for (int second = 0; second < 30; ++second) {
        Give(control, 250, 400000);
        Give(control, 0, 400000, 3);
    }
    EXPECT_EQ(control.Now(), kSet);
}

// Rises from the floor to the top: where pictures come back, and where they went.
TEST(RateControl, PicturesGoAndComeBackAtDifferentRates) {
    RateControl control(kSet);
    EXPECT_EQ(Give(control, 1000, 0, 8).fps, 12);
    int some = 0;
    int all = 0;
    for (int i = 0; i < 200; ++i) {
        const RateChoice now = Give(control, 0, 400000);
        some = some == 0 && now.fps == 16 ? now.bitrate : some;
        all = all == 0 && now.fps == 24 ? now.bitrate : all;
    }
    EXPECT_GE(some, kSet.bitrate * 3 / 10);
    EXPECT_LE(some, kSet.bitrate * 35 / 100);
    EXPECT_GE(all, kSet.bitrate * 6 / 10);
    EXPECT_LE(all, kSet.bitrate * 65 / 100);
    // 55 % is above where they went and below where they come back.
    RateControl above(kSet);
    const RateChoice cut = Give(above, 400, 1300000);
    EXPECT_GE(cut.bitrate, kSet.bitrate / 2);
    EXPECT_LT(cut.bitrate, kSet.bitrate * 7 / 10);
    EXPECT_EQ(cut.fps, 24);
}

TEST(RateControl, AFewPicturesASecondRemain) {
    RateControl fifteen({2000000, 15});
    EXPECT_EQ(Give(fifteen, 1000, 0, 8).fps, RateControl::kFewestPictures);
    RateControl five({2000000, 5});
    EXPECT_EQ(Give(five, 1000, 0, 8).fps, 5);
}

TEST(RateControl, SwitchedOffItNeverChanges) {
    RateControl control(kSet);
    control.Enable(false);
    for (int delay = 0; delay < 5000; delay += 10) {
        EXPECT_EQ(Give(control, delay, 0), kSet);
    }
}

TEST(RateControl, SwitchingAndSettingBeginAnew) {
    RateControl control(kSet);
    const RateChoice low = Give(control, 1000, 0, 8);
    control.Enable(true);  // it is on
    EXPECT_EQ(control.Now(), low);
    control.Enable(false);
    EXPECT_EQ(control.Now(), kSet);
    control.Enable(true);
    EXPECT_EQ(control.Now(), kSet);
    EXPECT_EQ(Give(control, 1000, 0, 8), low);
    control.Set({800000, 20});
    EXPECT_EQ(control.Now(), (RateChoice{800000, 20}));
}

TEST(RateControl, NonsenseKeepsTheBounds) {
    constexpr int kInts[] = {INT_MIN, -1, 0, 1, 100000, 3000000, INT_MAX};
    const milliseconds times[] = {milliseconds::min(), milliseconds(-1),   milliseconds(0),
                                  milliseconds(1),     milliseconds(250),  milliseconds(400),
                                  milliseconds(5000),  milliseconds::max()};
    for (const RateChoice set :
         {kSet, RateChoice{40000, 5}, RateChoice{1, 1}, RateChoice{INT_MAX, INT_MAX}}) {
        std::mt19937 random(7);
        RateControl control(set);
        const int floor = std::min(set.bitrate, std::max(RateControl::kFloor, set.bitrate / 8));
        for (int i = 0; i < 20000; ++i) {
            const RateChoice now = control.Step(
                {times[random() % std::size(times)], kInts[random() % std::size(kInts)]},
                times[random() % std::size(times)]);
            ASSERT_GE(now.bitrate, floor);
            ASSERT_LE(now.bitrate, set.bitrate);
            ASSERT_GE(now.fps, std::min(set.fps, RateControl::kFewestPictures));
            ASSERT_LE(now.fps, set.fps);
        }
    }
}

}  // namespace
