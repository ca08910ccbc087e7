// Picture and sound of a played stream stay together.
#include <cmath>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "engine/live/AvMeter.h"
#include "engine/live/Member.h"
#include "engine/source/TempFolder.h"

namespace {

using livetest::AvMeter;
using livetest::LocalServers;
using livetest::Member;

constexpr std::size_t kPairs = 5;
constexpr std::chrono::seconds kLimit(30);
constexpr double kMost = 45;  // milliseconds

void ExpectTogether() {
    AvMeter::Shared().Forget();
    const std::optional<double> offset = AvMeter::Shared().Median(kPairs, kLimit);
    ASSERT_TRUE(offset) << testing::PrintToString(AvMeter::Shared().Offsets());
    EXPECT_LE(std::fabs(*offset), kMost) << testing::PrintToString(AvMeter::Shared().Offsets());
}

TEST(LiveTogether, FlashAndBeepArePlayedTogetherAlsoAfterAReconnect) {
    AvMeter::Shared();
    LocalServers servers;
    const TempFolder folder;
    const std::string file = folder.Encode("flash.mkv", livetest::kFlashAndBeep);
    ASSERT_NE(file, "");
    Member publisher(servers);
    Member viewer(servers);
    ASSERT_EQ(publisher.Enter("both", "bob"), "OnGetStreamList(0)");
    publisher.Engine().SetVideoFPS(30);
    publisher.Engine().SetVideoResolution(320, 180);
    ASSERT_EQ(publisher.PublishFile("s", file), "OnPublishStateUpdate(0, s)");
    ASSERT_EQ(viewer.Enter("both", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
    ASSERT_EQ(viewer.Play("s"), "OnPlayStateUpdate(0, s)");
    ExpectTogether();
    servers.KillMedia();
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(2, s)");
    servers.StartMedia();
    ASSERT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(0, s)");
    ExpectTogether();
}

}  // namespace
