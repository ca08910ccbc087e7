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
using livetest::Used;

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
        ASSERT_NE(viewer.Wait("OnStreamUpdate(s, 0)"), "");
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

    // The publish, its pulse and the play are all there, and nothing of what was before.
    bool Settled() const {
        return livetest::Eventually(
            [this] { return livetest::ConnectionsTo(servers.MediaURL()) == 3; });
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
    livetest::ExpectBackTo(before);
    RecordProperty("threadsBefore", std::to_string(before.threads));
    RecordProperty("threadsAfter", std::to_string(Used().threads));
    RecordProperty("filesBefore", std::to_string(before.files));
    RecordProperty("filesAfter", std::to_string(Used().files));
    EXPECT_EQ(viewer.Leave(), "OnLogout(0)");
    EXPECT_EQ(publisher.Leave(), "OnLogout(0)");
}

}  // namespace
