#include "engine/base/Backoff.h"

#include <chrono>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using vaxoengine::Backoff;
using vaxoengine::BackoffLimits;

const BackoffLimits kLimits = {milliseconds(500), milliseconds(4000), milliseconds(30000)};

// The pauses until it gives up, each attempt failing at once.
std::vector<long> Pauses(Backoff& backoff) {
    std::vector<long> pauses;
    milliseconds gone(0);
    while (const std::optional<milliseconds> pause = backoff.Next(gone)) {
        pauses.push_back(static_cast<long>(pause->count()));
        gone += *pause;
    }
    return pauses;
}

TEST(Backoff, TheBoundsDoubleUpToTheLongest) {
    Backoff backoff({milliseconds(500), milliseconds(3000), milliseconds(10000)},
                    [] { return 1.0; });
    EXPECT_EQ(Pauses(backoff), (std::vector<long>{500, 1000, 2000, 3000, 3000}));
}

TEST(Backoff, TheLeastDrawIsHalfOfTheBound) {
    Backoff backoff({milliseconds(500), milliseconds(4000), milliseconds(4000)},
                    [] { return 0.0; });
    EXPECT_EQ(Pauses(backoff), (std::vector<long>{250, 500, 1000, 2000}));
}

TEST(Backoff, AResetBeginsWithTheFirstPause) {
    Backoff backoff(kLimits, [] { return 1.0; });
    backoff.Next(milliseconds(0));
    backoff.Next(milliseconds(0));
    backoff.Reset();
    EXPECT_EQ(backoff.Next(milliseconds(0)), milliseconds(500));
}

TEST(Backoff, WithoutALimitItNeverGivesUp) {
    Backoff backoff({milliseconds(500), milliseconds(8000), BackoffLimits::kNever});
    for (int i = 0; i < 1000; ++i) {
        const auto pause = backoff.Next(milliseconds(i) * 1000000000);
        ASSERT_TRUE(pause);
        ASSERT_LE(*pause, milliseconds(8000));
    }
}

TEST(Backoff, ATimeThatIsOverAllowsNoAttemptHoweverShortThePause) {
    Backoff backoff(kLimits);
    EXPECT_FALSE(backoff.Next(milliseconds(30001)));
    EXPECT_FALSE(backoff.Next(milliseconds(30000)));
    EXPECT_FALSE(backoff.Next(milliseconds(29800)));  // the first pause is 250 at least
}

TEST(Backoff, EveryPauseAndEveryAttemptKeepsWithinTheLimits) {
    std::mt19937 random(20261122);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same programs
    for (int round = 0; round < 2000; ++round) {
        const milliseconds first(1 + random() % 2000);
        const milliseconds longest = first * (1 + random() % 20);
        const milliseconds limit(random() % 120000);
        Backoff backoff({first, longest, limit});
        milliseconds gone(0);
        milliseconds bound = first;
        while (const auto pause = backoff.Next(gone)) {
            ASSERT_GE(*pause, std::max(bound / 2, milliseconds(1)));
            ASSERT_LE(*pause, bound);
            gone += *pause;
            ASSERT_LE(gone, limit);
            gone += milliseconds(random() % 3000);  // the attempt takes its time, and fails
            bound = std::min(2 * bound, longest);
        }
    }
}

TEST(Backoff, TwoOfThemDoNotComeBackTogether) {
    std::set<long> firsts;
    for (int i = 0; i < 50; ++i) {
        Backoff backoff(kLimits);
        firsts.insert(static_cast<long>(backoff.Next(milliseconds(0))->count()));
    }
    EXPECT_GT(firsts.size(), 10U);
}

}  // namespace
