// The rate control on simulated links.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/output/BandwidthTraces.h"
#include "engine/output/RateControl.h"
#include "engine/output/SimulatedLink.h"

namespace {

using vaxoengine::RateChoice;
using vaxoengine::RateControl;
using vaxotest::BandwidthTrace;
using vaxotest::SimulatedLink;
using Moment = SimulatedLink::Moment;

constexpr std::uint32_t kSeeds = 5;

int FloorOf(int set) {
    return std::min(set, std::max(RateControl::kFloor, set / 8));
}

// What is always so.
void ExpectBounds(const SimulatedLink& link, RateChoice set) {
    int risen = -1000;
    int last = set.bitrate;
    for (const Moment& moment : link.Moments()) {
        ASSERT_GE(moment.choice.bitrate, FloorOf(set.bitrate)) << moment.time;
        ASSERT_LE(moment.choice.bitrate, set.bitrate) << moment.time;
        ASSERT_GE(moment.choice.fps, std::min(set.fps, RateControl::kFewestPictures));
        ASSERT_LE(moment.choice.fps, set.fps);
        if (moment.choice.bitrate > last) {
            ASSERT_GE(moment.time - risen, 1000) << moment.time;
            ASSERT_LE(moment.choice.bitrate - last, set.bitrate / 20 + 1) << moment.time;
            risen = moment.time;
        }
        last = moment.choice.bitrate;
    }
}

// The first moment in [from, until) from which on `holds` is so for two seconds; `until`: none.
template <typename Holds>
int Since(const SimulatedLink& link, int from, int until, Holds holds) {
    int begin = until;
    for (const Moment& moment : link.Moments()) {
        if (moment.time < from || moment.time >= until) {
            continue;
        }
        if (!holds(moment)) {
            begin = until;
        } else if (begin == until) {
            begin = moment.time;
        } else if (moment.time - begin >= 2000) {
            return begin;
        }
    }
    return begin;
}

// A link that falls after ten seconds, and takes everything again after 130.
struct Fall {
    int set;
    int percent;  // of the set bitrate, for video
    std::uint32_t seed;

    int Left() const { return set / 100 * percent; }
    std::string Text() const {
        return "set " + std::to_string(set) + ", left " + std::to_string(percent) + " %, seed " +
               std::to_string(seed);
    }
};

constexpr int kFalls = 10000;
constexpr int kReturns = 130000;
constexpr int kEnd = 190000;

SimulatedLink AfterFall(const Fall& fall) {
    const int low = fall.Left() + RateControl::kBesideVideo;
    const int high = 2 * fall.set + RateControl::kBesideVideo;
    SimulatedLink link(
        {fall.set, 24}, [=](int time) { return time < kFalls || time >= kReturns ? high : low; },
        fall.seed);
    link.Run(kEnd);
    return link;
}

// All in which the link takes a quarter more video than the floor, so that queues can drain.
std::vector<Fall> Falls() {
    std::vector<Fall> falls;
    for (const int set : {400000, 800000, 2000000, 5000000}) {
        for (const int percent : {16, 20, 25, 35, 50, 65, 80, 90}) {
            for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
                const Fall fall{set, percent, seed};
                if (fall.Left() >= FloorOf(set) * 5 / 4) {
                    falls.push_back(fall);
                }
            }
        }
    }
    return falls;
}

TEST(RateControlLink, AmpleBandwidthChangesNothing) {
    constexpr RateChoice kSet{800000, 24};
    for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
        SimulatedLink link(
            kSet, [](int) { return 1500000; }, seed);
        link.Run(300000);
        for (const Moment& moment : link.Moments()) {
            ASSERT_EQ(moment.choice, kSet) << moment.time << ", seed " << seed;
        }
    }
}

// One that takes nearly everything is noticed later, because the queue grows slowly.
TEST(RateControlLink, AFallIsFollowedWithinThreeSeconds) {
    for (const Fall& fall : Falls()) {
        const SimulatedLink link = AfterFall(fall);
        const int followed = Since(link, kFalls, kReturns, [&](const Moment& moment) {
            return moment.choice.bitrate <= fall.Left();
        });
        EXPECT_LE(followed - kFalls, fall.percent < 80 ? 3000 : 6000) << fall.Text();
    }
}

TEST(RateControlLink, AfterAFallTheQueueDrains) {
    for (const Fall& fall : Falls()) {
        const SimulatedLink link = AfterFall(fall);
        const int drained = Since(link, kFalls + 3000, kReturns,
                                  [](const Moment& moment) { return moment.delay <= 300; });
        // The floor and what is beside it leave less than a tenth of the link to drain the queue.
        const bool tight =
            (fall.Left() - FloorOf(fall.set)) * 10 < fall.Left() + RateControl::kBesideVideo;
        EXPECT_LE(drained - kFalls, tight ? 20000 : 12000) << fall.Text();
        EXPECT_LE(link.MostDelay(kFalls + 12000, kReturns), 1200) << fall.Text();
    }
}

TEST(RateControlLink, AfterAFallSevenTenthsOfTheLinkAreUsed) {
    for (const Fall& fall : Falls()) {
        const SimulatedLink link = AfterFall(fall);
        EXPECT_GE(link.Use(kFalls + 5000, kReturns), 0.7) << fall.Text();
    }
}

TEST(RateControlLink, ItIsBackAtTheSetValuesWithin45Seconds) {
    for (const Fall& fall : Falls()) {
        const SimulatedLink link = AfterFall(fall);
        const int back = Since(link, kReturns, kEnd, [&](const Moment& moment) {
            return moment.choice == RateChoice{fall.set, 24};
        });
        EXPECT_LE(back - kReturns, 45000) << fall.Text();
        ExpectBounds(link, {fall.set, 24});
    }
}

// Each attempt to rise is followed by congestion, so they become rare.
TEST(RateControlLink, AttemptsBecomeRareOnALinkThatStaysSmall) {
    for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
        SimulatedLink link(
            {2000000, 24}, [](int) { return 1000000; }, seed);
        link.Run(400000);
        std::vector<int> cuts;
        int last = 2000000;
        for (const Moment& moment : link.Moments()) {
            if (moment.choice.bitrate < last &&
                (cuts.empty() || moment.time - cuts.back() > 5000)) {
                cuts.push_back(moment.time);
            }
            last = moment.choice.bitrate;
        }
        ASSERT_GE(cuts.size(), 3U) << "it must look for more now and then; seed " << seed;
        EXPECT_LE(cuts.size(), 20U) << "seed " << seed;
        EXPECT_GE(cuts.back() - cuts[cuts.size() - 2], 20000) << "seed " << seed;
        int changes = 0;
        for (std::size_t i = 1; i < link.Moments().size(); ++i) {
            changes += link.Moments()[i].choice.fps != link.Moments()[i - 1].choice.fps ? 1 : 0;
        }
        EXPECT_LE(changes, 2 * static_cast<int>(cuts.size())) << "seed " << seed;
    }
}

TEST(RateControlLink, OnRandomLinksTheBoundsHoldAndDelaysEnd) {
    constexpr RateChoice kSet{2000000, 24};
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
        const BandwidthTrace trace = vaxotest::RandomTrace(seed, 420, 3000);
        SimulatedLink link(
            kSet, [&](int time) { return trace.BitsAt(time); }, seed);
        link.Run(trace.Seconds() * 1000);
        const std::string text = std::string(trace.name) + ", seed " + std::to_string(seed);
        SCOPED_TRACE(text);
        ExpectBounds(link, kSet);
        EXPECT_LE(link.MostDelay(0, trace.Seconds() * 1000), 6000);
    }
}

TEST(RateControlLink, OnMobileNetworksItFollowsAndComesBack) {
    constexpr RateChoice kSet{1500000, 24};
    for (const BandwidthTrace& trace : vaxotest::MobileTraces()) {
        SCOPED_TRACE(trace.name);
        const int length = trace.Seconds() * 1000;
        const auto least = *std::min_element(trace.kilobits.begin(), trace.kilobits.end());
        SimulatedLink link(
            kSet, [&](int time) { return time < length ? trace.BitsAt(time) : 4000000; }, 3);
        link.Run(length + 60000);
        ExpectBounds(link, kSet);
        EXPECT_GE(link.Use(0, length), 0.55);
        EXPECT_LE(link.MostDelay(0, length), least > 0 ? 1500 : 11000);
        EXPECT_EQ(link.Moments().back().choice, kSet);
    }
}

TEST(RateControlLink, SwitchedOffItNeverChanges) {
    constexpr RateChoice kSet{2000000, 24};
    SimulatedLink link(kSet, [](int) { return 500000; });
    link.control.Enable(false);
    link.Run(60000);
    for (const Moment& moment : link.Moments()) {
        ASSERT_EQ(moment.choice, kSet) << moment.time;
    }
    EXPECT_GT(link.MostDelay(0, 60000), 2000) << "this link was not too small";
}

}  // namespace
