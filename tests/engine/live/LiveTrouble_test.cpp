// Keys that do not fit, servers that are not there or go away.
#include <chrono>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/VaxoAppSetting.h"
#include "engine/live/Member.h"
#include "servers/ServerTools.h"

namespace {

using livetest::Application;
using livetest::LocalServers;
using livetest::Member;

TEST(LiveTrouble, AWrongKeyIsRefusedByTheChannel) {
    Application wrong = LocalServers::Shared().App();
    wrong.key = LocalServers::Shared().OtherApp().key;
    Member member(LocalServers::Shared(), wrong);
    EXPECT_EQ(member.Enter("room", "bob"), "OnGetStreamList(2)");
    EXPECT_EQ(member.Leave(), "OnLogout(0)");
}

TEST(LiveTrouble, WithoutAnyServerEveryRequestEndsInItsEvent) {
    Member member(LocalServers::Shared());
    CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
    settings->SetServiceURL("mqtts://127.0.0.1:1");
    settings->SetMediaURL("rtmp://127.0.0.1:1/live");
    EXPECT_EQ(member.Enter("room", "bob"), "OnGetStreamList(1)");
    EXPECT_EQ(member.Publish("s"), "OnPublishStateUpdate(4, s)");
    EXPECT_EQ(member.Play("s"), "OnPlayStateUpdate(5, s)");
    EXPECT_EQ(member.Leave(), "OnLogout(0)");
}

TEST(LiveTrouble, WithoutAMediaServerPublishAndPlayEndInTheirEvents) {
    Member publisher(LocalServers::Shared());
    ASSERT_EQ(publisher.Enter("half", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Publish("half"), "OnPublishStateUpdate(0, half)");
    Member viewer(LocalServers::Shared());
    ASSERT_EQ(viewer.Enter("half", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(half, "), "");
    CVaxoAppSetting::SharedInstance()->SetMediaURL("rtmp://127.0.0.1:1/live");
    EXPECT_EQ(viewer.Play("half"), "OnPlayStateUpdate(3, half)");
    EXPECT_EQ(viewer.Publish("other"), "OnPublishStateUpdate(3, other)");
    CVaxoAppSetting::SharedInstance()->SetMediaURL("");
    EXPECT_EQ(viewer.Play("half"), "OnPlayStateUpdate(5, half)");
    EXPECT_EQ(viewer.Publish("other"), "OnPublishStateUpdate(4, other)");
}

TEST(LiveTrouble, WithoutAServiceAddressTheEntrySaysSo) {
    Member member(LocalServers::Shared());
    CVaxoAppSetting::SharedInstance()->SetServiceURL("");
    EXPECT_EQ(member.Enter("room", "bob"), "OnGetStreamList(5)");
}

TEST(LiveTrouble, AMediaServerWithOtherKeysRefusesTheSignature) {
    const LocalServers strangers;
    Member publisher(LocalServers::Shared());
    Member viewer(LocalServers::Shared());
    ASSERT_EQ(publisher.Enter("keys", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Publish("s"), "OnPublishStateUpdate(0, s)");
    ASSERT_EQ(viewer.Enter("keys", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
    CVaxoAppSetting::SharedInstance()->SetMediaURL(strangers.MediaURL().c_str());
    CVaxoAppSetting::SharedInstance()->SetUploadURL(strangers.UploadURL().c_str());
    EXPECT_EQ(viewer.Play("s"), "OnPlayStateUpdate(101, s)");
    EXPECT_EQ(viewer.Publish("other"), "OnPublishStateUpdate(101, other)");
    // Whom nobody tells the reason says what it knows.
    CVaxoAppSetting::SharedInstance()->SetUploadURL("");
    EXPECT_EQ(viewer.Play("s"), "OnPlayStateUpdate(5, s)");
    EXPECT_EQ(viewer.Publish("other"), "OnPublishStateUpdate(4, other)");
}

TEST(LiveTrouble, AMediaServerThatComesBackIsUsedAgain) {
    LocalServers servers;
    Member publisher(servers);
    Member viewer(servers);
    ASSERT_EQ(publisher.Enter("back", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Publish("s"), "OnPublishStateUpdate(0, s)");
    ASSERT_EQ(viewer.Enter("back", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
    ASSERT_EQ(viewer.Play("s"), "OnPlayStateUpdate(0, s)");
    servers.KillMedia();
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(2, s)");
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(2, s)");
    servers.StartMedia();
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(0, s)");
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(0, s)");
}

TEST(LiveTrouble, AFrozenMediaServerIsNoticedWithinSixSecondsOnBothSides) {
    LocalServers servers;
    Member publisher(servers);
    Member viewer(servers);
    ASSERT_EQ(publisher.Enter("frost", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Publish("s"), "OnPublishStateUpdate(0, s)");
    ASSERT_EQ(viewer.Enter("frost", "ann"), "OnGetStreamList(0)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
    ASSERT_EQ(viewer.Play("s"), "OnPlayStateUpdate(0, s)");
    const auto before = std::chrono::steady_clock::now();
    servers.FreezeMedia();
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(2, s)");
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(2, s)");
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(6));
    servers.ThawMedia();
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(0, s)");
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(0, s)");
}

TEST(LiveTrouble, AChannelServerThatComesBackHasTheStreamAgain) {
    LocalServers servers;
    Member publisher(servers);
    ASSERT_EQ(publisher.Enter("back", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Publish("s"), "OnPublishStateUpdate(0, s)");
    servers.KillChannel();
    EXPECT_EQ(publisher.Wait("OnDisconnected(").substr(0, 15), "OnDisconnected(");
    servers.StartChannel();
    EXPECT_EQ(publisher.Wait("OnReconnected("), "OnReconnected(back)");
    Member viewer(servers);
    ASSERT_EQ(viewer.Enter("back", "ann"), "OnGetStreamList(0)");
    EXPECT_NE(viewer.Wait("OnStreamUpdate(s, "), "");
    EXPECT_EQ(publisher.Count("OnPublishStateUpdate("), 0U);
}

TEST(LiveTrouble, AnUninitInTheMiddleOfAnEntryAnswersIt) {
    auto member = std::make_unique<Member>(LocalServers::Shared());
    ASSERT_EQ(member->Engine().GetStreamList("bob", "", "room", 0), 0);
    EXPECT_EQ(member->Engine().Uninit(), 0);
    EXPECT_EQ(member->Wait("OnGetStreamList(").substr(0, 16), "OnGetStreamList(");
    EXPECT_EQ(member->Engine().Logout(), Strova::VaxoLiveStatus_NotReady);
    EXPECT_EQ(member->Engine().Uninit(), Strova::VaxoLiveStatus_NotReady);
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    EXPECT_EQ(member->Engine().GetStreamList(streams), Strova::VaxoLiveStatus_NotReady);
}

}  // namespace
