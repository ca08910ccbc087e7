// A publish over a network that takes less than what was set.
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "VaxoLiveOptions.h"
#include "VaxoLiveStats.h"
#include "Within.h"
#include "base/VaxoAppSetting.h"
#include "engine/live/Member.h"
#include "servers/Relay.h"

namespace {

using livetest::LocalServers;
using livetest::Member;
using livetest::Relay;

constexpr std::chrono::seconds kLimit(40);
constexpr int kSet = 1200000;
constexpr int kNarrow = 600000;

unsigned short MediaPort() {
    const std::string url = LocalServers::Shared().MediaURL();
    return static_cast<unsigned short>(std::stoi(url.substr(url.rfind(':') + 1)));
}

unsigned Sent() {
    return Strova::VaxoLiveGetStats().bitrate;
}

// Of the one play, in milliseconds; -1 without one, and while the statistics are those of the
// publisher's engine: the two write them in turns.
int Latency() {
    const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
    return stats.plays.empty() ? -1 : stats.plays[0].latencyMillis;
}

class LiveAdapt : public testing::Test {
protected:
    void UseRelay() {
        const std::string url = "rtmp://127.0.0.1:" + std::to_string(relay.Port()) + "/live";
        CVaxoAppSetting::SharedInstance()->SetMediaURL(url.c_str());
    }
    void Begin(const std::string& channel) {
        UseRelay();
        ASSERT_EQ(member.Enter(channel, "bob"), "OnGetStreamList(0)");
        member.Engine().SetVideoFPS(30);
        member.Engine().SetVideoBitrate(kSet);
        ASSERT_EQ(member.Publish(channel), "OnPublishStateUpdate(0, " + channel + ")");
        ASSERT_TRUE(Within(kLimit, [] { return Sent() > kSet * 3 / 4; })) << Sent();
    }
    ~LiveAdapt() override { Strova::VaxoLiveSetAdaptive(true); }

    Member member{LocalServers::Shared()};
    Relay relay{MediaPort()};
};

TEST_F(LiveAdapt, ANetworkThatTakesLessIsGivenLessAndMoreWhenItTakesMore) {
    Begin("narrow");
    relay.SetRate(kNarrow, 0);
    ASSERT_TRUE(Within(kLimit, [] { return Sent() < kNarrow; })) << Sent();
    relay.SetRate(0, 0);
    EXPECT_TRUE(Within(kLimit, [] { return Sent() > kSet * 3 / 4; })) << Sent();
    EXPECT_EQ(member.Count("OnPublishStateUpdate("), 0U) << "the connection was lost";
}

TEST_F(LiveAdapt, AViewerWhoHasFallenBehindComesBackAtTheLiveEdge) {
    ASSERT_EQ(member.Enter("edge", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(member.Publish("edge"), "OnPublishStateUpdate(0, edge)");
    Member viewer{LocalServers::Shared()};
    ASSERT_EQ(viewer.Enter("edge", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(edge, "), "");
    UseRelay();
    ASSERT_EQ(viewer.Play("edge"), "OnPlayStateUpdate(0, edge)");
    ASSERT_TRUE(Within(kLimit, [] { return Latency() >= 0 && Latency() < 500; })) << Latency();
    relay.SetDelay(std::chrono::milliseconds(2500));
    EXPECT_TRUE(Within(kLimit, [] { return Latency() > 2000; })) << Latency();
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(2, edge)");
    relay.SetDelay(std::chrono::milliseconds(0));
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(0, edge)");
    EXPECT_TRUE(Within(kLimit, [] { return Latency() >= 0 && Latency() < 500; })) << Latency();
}

TEST_F(LiveAdapt, SwitchedOffItSendsWhatWasSet) {
    Strova::VaxoLiveSetAdaptive(false);
    Begin("fixed");
    relay.SetRate(kNarrow, 0);
    // Far more than the system's buffers hold is waiting, and the encoder does not follow.
    const unsigned long long before = relay.BytesUp();
    ASSERT_TRUE(Within(kLimit, [&] { return relay.BytesUp() > before + kNarrow / 8 * 6; }));
    EXPECT_GT(Sent(), static_cast<unsigned>(kSet * 3 / 4));
}

}  // namespace
