// The rate control on bandwidths that were measured in buses and trains.
//
// Each trace with four set values, and each of those with two seeds of the encoder's noise.
// Bounds that are called "measured" were, with the policy as it stood when they were written,
// and have some room; the others are what RateControl.h promises.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/output/RateControl.h"
#include "engine/output/RecordedTraces.h"
#include "engine/output/SimulatedLink.h"

namespace {

using vaxoengine::RateChoice;
using vaxoengine::RateControl;
using vaxotest::BandwidthTrace;
using vaxotest::SimulatedLink;
using Moment = SimulatedLink::Moment;

constexpr int kReading = 250;
constexpr int kFps = 24;

struct Ride {
    BandwidthTrace trace;
    int set;
    std::uint32_t seed;
    std::vector<Moment> moments;
    int mostDelay;
    double use;

    int Floor() const { return std::min(set, std::max(RateControl::kFloor, set / 8)); }
    int Bandwidth(int second) const { return trace.BitsAt(second * 1000); }
    std::string Text() const {
        return std::string(trace.name) + ", set " + std::to_string(set) + ", seed " +
               std::to_string(seed);
    }
};

const std::vector<Ride>& Rides() {
    static const std::vector<Ride> rides = [] {
        std::vector<Ride> all;
        for (const BandwidthTrace& trace : vaxotest::RecordedTraces()) {
            if (trace.kilobits.empty()) {
                continue;  // a test of its own says so
            }
            for (const int set : {400000, 800000, 1500000, 3000000}) {
                for (std::uint32_t seed = 1; seed <= 2; ++seed) {
                    const int end = trace.Seconds() * 1000;
                    SimulatedLink link(
                        {set, kFps}, [&](int time) { return trace.BitsAt(time); }, seed);
                    link.Run(end);
                    all.push_back({trace, set, seed, link.Moments(), link.MostDelay(0, end + 1),
                                   link.Use(0, end + 1)});
                }
            }
        }
        return all;
    }();
    return rides;
}

TEST(RateControlRecorded, TheTracesAreReadWhole) {
    std::map<std::string, int> seconds;
    for (const BandwidthTrace& trace : vaxotest::RecordedTraces()) {
        seconds[trace.name] = trace.Seconds();
    }
    EXPECT_EQ(seconds, (std::map<std::string, int>{{"bus-b57", 288},
                                                   {"bus-b62", 247},
                                                   {"rail-road", 298},
                                                   {"subway-7", 215},
                                                   {"subway-q", 286}}));
    EXPECT_EQ(Rides().size(), 40U);
}

TEST(RateControlRecorded, TheRateStaysBetweenTheFloorAndTheSetValue) {
    for (const Ride& ride : Rides()) {
        SCOPED_TRACE(ride.Text());
        for (const Moment& moment : ride.moments) {
            ASSERT_GE(moment.choice.bitrate, ride.Floor()) << moment.time;
            ASSERT_LE(moment.choice.bitrate, ride.set) << moment.time;
            ASSERT_GE(moment.choice.fps, RateControl::kFewestPictures) << moment.time;
            ASSERT_LE(moment.choice.fps, kFps) << moment.time;
        }
    }
}

// Measured: 15510, 3370, 6290, 3890 and 13540 ms. The first and the last one have ten seconds
// and more in which the network takes next to nothing, and what waits then goes on waiting.
TEST(RateControlRecorded, TheQueueStaysBounded) {
    const std::map<std::string, int> most{{"bus-b57", 17000},
                                          {"bus-b62", 4000},
                                          {"rail-road", 7000},
                                          {"subway-7", 4500},
                                          {"subway-q", 14500}};
    for (const Ride& ride : Rides()) {
        EXPECT_LE(ride.mostDelay, most.at(ride.trace.name)) << ride.Text();
    }
}

// Measured: 2640 ms, three seconds after the network began to take half more than the least
// that can be sent.
TEST(RateControlRecorded, WhereTheNetworkTakesMoreThanTheFloorTheQueueGetsShort) {
    for (const Ride& ride : Rides()) {
        const int enough = (ride.Floor() + RateControl::kBesideVideo) / 2 * 3;
        int since = 0;
        for (const Moment& moment : ride.moments) {
            since = moment.bandwidth < enough ? 0 : since + kReading;
            if (since > 3000) {
                ASSERT_LE(moment.delay, 3000) << moment.time << ", " << ride.Text();
            }
        }
    }
}

struct Drops {
    int count = 0;
    int longest = 0;  // milliseconds from a drop until the rate was under the bandwidth
    int when = 0;
};

// Drops of the bandwidth to less than `share` of what is sent, the floor apart.
Drops DropsTo(double share, const Ride& ride) {
    Drops drops;
    int lasts = 0;
    int before = ride.set;
    for (const Moment& moment : ride.moments) {
        const int rate = moment.choice.bitrate;
        const bool lacks = moment.bandwidth < share * (before + RateControl::kBesideVideo);
        if (before > ride.Floor() && lacks) {
            drops.count += lasts == 0 ? 1 : 0;
            lasts += rate + RateControl::kBesideVideo > moment.bandwidth ? kReading : 0;
        } else {
            lasts = 0;
        }
        if (lasts > drops.longest) {
            drops.longest = lasts;
            drops.when = moment.time;
        }
        before = rate;
    }
    return drops;
}

// One by a tenth is noticed after 3 s, one by half after 0.6 s. The next reading tells it; what
// the network takes is a mean of half a second, so that a second cut may be needed, and cuts
// are half a second apart. Measured: 3000 and 1500 ms.
TEST(RateControlRecorded, AfterADropTheRateIsUnderTheBandwidthInTime) {
    constexpr int kMore = kReading + 500;
    int tenths = 0;
    int halves = 0;
    for (const Ride& ride : Rides()) {
        const Drops tenth = DropsTo(0.9, ride);
        EXPECT_LE(tenth.longest, 3000 + kMore) << tenth.when << ", " << ride.Text();
        tenths += tenth.count;
        const Drops half = DropsTo(0.5, ride);
        EXPECT_LE(half.longest, 600 + kMore + kReading) << half.when << ", " << ride.Text();
        halves += half.count;
    }
    EXPECT_GE(tenths, 400);
    EXPECT_GE(halves, 200);
}

// What it takes to come back, 45 s at most, wherever the network takes half more than the set
// value for so long. Measured: 38 s.
TEST(RateControlRecorded, ItComesBackWhereTheNetworkTakesTheSetValueLongEnough) {
    constexpr int kBack = 45;
    int stretches = 0;
    for (const Ride& ride : Rides()) {
        const int enough = ride.set / 2 * 3 + RateControl::kBesideVideo;
        int since = -1;
        bool low = false;
        for (const Moment& moment : ride.moments) {
            if (moment.bandwidth < enough) {
                since = -1;
                continue;
            }
            if (since < 0) {
                since = moment.time;
                low = moment.choice.bitrate < ride.set;
            }
            if (moment.time - since < kBack * 1000) {
                continue;
            }
            ASSERT_EQ(moment.choice, (RateChoice{ride.set, kFps}))
                << moment.time << ", " << ride.Text();
            stretches += low ? 1 : 0;
            low = false;
        }
    }
    EXPECT_GE(stretches, 20) << "that begin below the set value";
}

// Of what the network and the set value would have allowed. Measured: 0.74, 0.62, 0.47, 0.68
// and 0.60 at least; the floor alone would be 0.15 to 0.4.
TEST(RateControlRecorded, TheBandwidthIsUsed) {
    const std::map<std::string, double> least{{"bus-b57", 0.69},
                                              {"bus-b62", 0.57},
                                              {"rail-road", 0.43},
                                              {"subway-7", 0.63},
                                              {"subway-q", 0.55}};
    for (const Ride& ride : Rides()) {
        EXPECT_GE(ride.use, least.at(ride.trace.name)) << ride.Text();
    }
}

TEST(RateControlRecorded, RisesAreSmallAndLateAndCutsApart) {
    for (const Ride& ride : Rides()) {
        SCOPED_TRACE(ride.Text());
        int risen = -10000;
        int cut = -10000;
        int congested = -10000;
        int last = ride.set;
        for (const Moment& moment : ride.moments) {
            const int rate = moment.choice.bitrate;
            congested = moment.delay > RateControl::kLongDelay.count() ? moment.time : congested;
            if (rate > last) {
                ASSERT_LE(rate - last, ride.set / 20 + 1) << moment.time;
                ASSERT_GE(moment.time - risen, RateControl::kRisePause.count()) << moment.time;
                ASSERT_GE(moment.time - congested, RateControl::kFirstPatience.count())
                    << moment.time;
                risen = moment.time;
            } else if (rate < last) {
                ASSERT_EQ(congested, moment.time);
                ASSERT_GE(moment.time - cut, RateControl::kCutPause.count()) << moment.time;
                cut = moment.time;
            }
            last = rate;
        }
    }
}

// Pictures come back a fifth above where they went, so that they do not flap.
TEST(RateControlRecorded, PicturesComeBackAFifthAboveWhereTheyWent) {
    for (const Ride& ride : Rides()) {
        SCOPED_TRACE(ride.Text());
        int last = kFps;
        for (const Moment& moment : ride.moments) {
            const double part = 1.0 * moment.choice.bitrate / ride.set;
            if (moment.choice.fps > last) {
                ASSERT_GE(part, moment.choice.fps == kFps ? 0.6 : 0.3) << moment.time;
            } else if (moment.choice.fps < last) {
                ASSERT_LE(part, moment.choice.fps == kFps / 2 ? 0.25 : 0.5) << moment.time;
            }
            last = moment.choice.fps;
        }
    }
}

// A cut after a rise. Measured: one in 16 s, in the train whose bandwidth jumps every second.
TEST(RateControlRecorded, TurnsAreRare) {
    for (const Ride& ride : Rides()) {
        int turns = 0;
        bool rising = false;
        int last = ride.set;
        for (const Moment& moment : ride.moments) {
            const int rate = moment.choice.bitrate;
            turns += rising && rate < last ? 1 : 0;
            rising = rate == last ? rising : rate > last;
            last = rate;
        }
        EXPECT_LE(turns, ride.trace.Seconds() / 12) << ride.Text();
    }
}

}  // namespace
