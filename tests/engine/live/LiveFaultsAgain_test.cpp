// A media server that falls again and again costs nothing that stays.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "engine/live/Member.h"
#include "engine/live/Used.h"
#include "servers/ServerTools.h"

namespace {

using livetest::LocalServers;
using livetest::Member;
using livetest::OwnConnections;
using livetest::Used;

// The publish, its pulse and the play; each member's to the channel.
constexpr std::size_t kMediaConnections = 3;
constexpr std::size_t kConnections = kMediaConnections + 2;

// script/faults asks for more.
int Falls() {
    const char* const asked = std::getenv("VAXO_FALLS");
    return asked != nullptr ? std::stoi(asked) : 5;
}

class LiveFaultsAgain : public testing::Test {
protected:
    void Begin() {
        ASSERT_EQ(publisher.Enter("again", "bob"), "OnGetStreamList(0)");
        publisher.Engine().SetVideoResolution(160, 90);
        ASSERT_EQ(publisher.Publish("s"), "OnPublishStateUpdate(0, s)");
        ASSERT_EQ(viewer.Enter("again", "ann"), "OnGetStreamList(0)");
        ASSERT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
        ASSERT_EQ(viewer.Play("s"), "OnPlayStateUpdate(0, s)");
    }
    void FallAndComeBack() {
        servers.KillMedia();
        ASSERT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(2, s)");
        ASSERT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(2, s)");
        servers.StartMedia();
        ASSERT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(0, s)");
        ASSERT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(0, s)");
    }

    bool Settled() const {
        return livetest::Eventually(
            [this] { return livetest::ConnectionsTo(servers.MediaURL()) == kMediaConnections; });
    }

    LocalServers servers;
    Member publisher{servers};
    Member viewer{servers};
};

TEST_F(LiveFaultsAgain, FallsOfTheMediaServerLeaveNothingBehind) {
    const int falls = Falls();
    ASSERT_NO_FATAL_FAILURE(Begin());
    ASSERT_NO_FATAL_FAILURE(FallAndComeBack());  // what is made once and kept is there now
    ASSERT_TRUE(Settled());
    const Used before;
    for (int i = 0; i < falls; ++i) {
        SCOPED_TRACE(i);
        ASSERT_NO_FATAL_FAILURE(FallAndComeBack());
    }
    ASSERT_TRUE(Settled());
    EXPECT_TRUE(livetest::Eventually([] { return OwnConnections().size() == kConnections; }))
        << testing::PrintToString(OwnConnections());
    // Less than one in each fall.
    livetest::ExpectBackTo(before, static_cast<std::size_t>(falls) - 1);
    EXPECT_EQ(viewer.Leave(), "OnLogout(0)");
    EXPECT_EQ(publisher.Leave(), "OnLogout(0)");
}

}  // namespace
