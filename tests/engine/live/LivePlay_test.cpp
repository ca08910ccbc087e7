// What one member publishes is what another one sees.
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "VaxoLiveStats.h"
#include "engine/live/Member.h"
#include "engine/source/ClockStamp.h"
#include "servers/ServerTools.h"

namespace {

using livetest::LocalServers;
using livetest::Member;
using livetest::Picture;

// One publishes the built-in picture, one plays it.
class LivePlay : public ::testing::Test {
protected:
    void Begin(const std::string& channel) {
        ASSERT_EQ(publisher.Enter(channel, "bob"), "OnGetStreamList(0)");
        ASSERT_EQ(publisher.Publish(channel + "-stream"),
                  "OnPublishStateUpdate(0, " + channel + "-stream)");
        ASSERT_EQ(viewer.Enter(channel, "ann"), "OnGetStreamList(0)");
        ASSERT_NE(viewer.Wait("OnStreamUpdate(" + channel + "-stream, 0)"), "");
        ASSERT_EQ(viewer.Play(channel + "-stream"), "OnPlayStateUpdate(0, " + channel + "-stream)");
    }

    // Waits until what the viewer sees is as the condition says.
    template <class Condition>
    bool Sees(Condition condition) {
        return livetest::Eventually([&] { return condition(viewer.RenderSnapshot()); });
    }

    Member publisher{LocalServers::Shared()};
    Member viewer{LocalServers::Shared()};
};

double Brightness(const Picture& picture) {
    const Picture::Colour mean = picture.Mean(0, 10, 100, 100);
    return (mean.red + mean.green + mean.blue) / 3;
}

// Of the lines between two hundredths of the height.
double Colourfulness(const Picture& picture, int top = 0, int bottom = 100) {
    const auto line = static_cast<std::size_t>(picture.width) * 4;
    const std::size_t begin = static_cast<std::size_t>(picture.height * top / 100) * line;
    const std::size_t end = static_cast<std::size_t>(picture.height * bottom / 100) * line;
    double sum = 0;
    for (std::size_t i = begin; i < end; i += 4) {
        sum += std::abs(picture.rgba[i] - picture.rgba[i + 1]) +
               std::abs(picture.rgba[i + 1] - picture.rgba[i + 2]);
    }
    return sum / (static_cast<double>(end - begin) / 4);
}

bool ReadStamp(const Picture& picture, std::uint32_t& millis) {
    return vaxoengine::ReadClockStamp(picture.rgba.data(), picture.width, picture.height,
                                      picture.width * 4, 4, millis);
}

// The built-in picture has its bright bars at the top.
bool IsUpright(const Picture& picture) {
    return Colourfulness(picture, 10, 60) > 2 * Colourfulness(picture, 75, 100);
}

bool IsUpsideDown(const Picture& picture) {
    return Colourfulness(picture, 40, 90) > 2 * Colourfulness(picture, 0, 25);
}

// Mean difference of two pictures' blocks of a tenth of the picture each.
double Difference(const Picture& one, const Picture& other) {
    double sum = 0;
    for (int y = 10; y < 100; y += 10) {
        for (int x = 0; x < 100; x += 10) {
            const Picture::Colour a = one.Mean(x, y, x + 10, y + 10);
            const Picture::Colour b = other.Mean(x, y, x + 10, y + 10);
            sum +=
                std::abs(a.red - b.red) + std::abs(a.green - b.green) + std::abs(a.blue - b.blue);
        }
    }
    return sum / (90 * 3);
}

TEST_F(LivePlay, ThePicturePlayedIsThePicturePublished) {
    Begin("seen");
    // The picture scrolls: two of about the same moment are compared.
    Picture published;
    Picture played;
    std::uint32_t drawn = 0;
    std::uint32_t millis = 0;
    ASSERT_TRUE(livetest::Eventually([&] {
        published = publisher.PreviewSnapshot();
        played = viewer.RenderSnapshot();
        return ReadStamp(published, drawn) && ReadStamp(played, millis) &&
               std::abs(static_cast<std::int32_t>(drawn - millis)) < 300;
    }));
    EXPECT_EQ(played.width, 640);
    EXPECT_EQ(played.height, 360);
    EXPECT_EQ(published.width, 640);
    EXPECT_LT(Difference(published, played), 12);
    EXPECT_GT(Colourfulness(played), 3);

    const auto shown = static_cast<std::uint32_t>(played.time / 1000);
    EXPECT_LT(shown - millis, 5000U) << "the picture's age in milliseconds";
    EXPECT_TRUE(livetest::Eventually([] {
        const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
        return stats.plays.size() == 1 && stats.plays[0].latencyMillis >= 0;
    }));
}

TEST_F(LivePlay, ACameraThatIsOffIsBlackForTheOtherSide) {
    Begin("dark");
    EXPECT_GT(Brightness(viewer.RenderSnapshot()), 40);
    EXPECT_EQ(publisher.Engine().EnableCam(false), 0);
    EXPECT_TRUE(Sees([](const Picture& picture) { return Brightness(picture) < 20; }));
    EXPECT_EQ(publisher.Engine().EnableCam(true), 0);
    EXPECT_TRUE(Sees([](const Picture& picture) { return Brightness(picture) > 40; }));
}

TEST_F(LivePlay, FilterRotationBitrateAndResolutionChangeWhileItPlays) {
    Begin("changed");
    const Picture before = viewer.RenderSnapshot();
    EXPECT_TRUE(IsUpright(before));
    bool grey = false;
    for (int filter = 1; filter < 20 && publisher.Engine().SetFilter(filter) == 0 && !grey;
         ++filter) {
        // Which one is the grey one is the engine's business: one of them takes the colour.
        for (int look = 0; look < 30 && !grey; ++look) {
            grey = Colourfulness(viewer.RenderSnapshot()) < Colourfulness(before) / 4;
        }
    }
    EXPECT_TRUE(grey);
    EXPECT_EQ(publisher.Engine().SetFilter(0), 0);
    EXPECT_TRUE(Sees([&](const Picture& picture) {
        return Colourfulness(picture) > Colourfulness(before) / 2;
    }));

    EXPECT_EQ(publisher.Engine().SetCaptureRotation(180), 0);
    EXPECT_TRUE(Sees(IsUpsideDown));
    EXPECT_EQ(publisher.Engine().SetCaptureRotation(0), 0);
    EXPECT_TRUE(Sees(IsUpright));

    viewer.TakeEvents();
    EXPECT_EQ(publisher.Engine().SetVideoResolution(320, 180), 0);
    EXPECT_EQ(viewer.Wait("OnVideoSizeChanged("), "OnVideoSizeChanged(changed-stream, 320, 180)");
    EXPECT_EQ(publisher.Engine().SetVideoBitrate(100000), 0);
    EXPECT_TRUE(Sees([](const Picture& picture) { return picture.width == 320; }));
    EXPECT_EQ(publisher.Count("OnPublishStateUpdate("), 0U) << "the connection was lost";
}

TEST_F(LivePlay, AStreamThatEndsIsEndedForItsViewer) {
    Begin("ended");
    EXPECT_EQ(publisher.Engine().StopPublishing(), 0);
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(1, ended-stream)");
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(1, ended-stream)");
    // And may be played again when it comes back.
    ASSERT_EQ(publisher.Publish("ended-stream"), "OnPublishStateUpdate(0, ended-stream)");
    ASSERT_NE(viewer.Wait("OnStreamUpdate(ended-stream, 1)"), "");
    EXPECT_EQ(viewer.Play("ended-stream"), "OnPlayStateUpdate(0, ended-stream)");
}

TEST_F(LivePlay, AnswersEveryRequestAlsoWhenThereIsNothingToDo) {
    EXPECT_EQ(viewer.Leave(), "OnLogout(0)");
    EXPECT_EQ(viewer.Engine().StopPublishing(), 0);
    EXPECT_EQ(viewer.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(1, )");
    EXPECT_EQ(viewer.Engine().StopPlayStream("nothing"), 0);
    EXPECT_EQ(viewer.Wait("OnPlayStateUpdate("), "OnPlayStateUpdate(1, nothing)");
    EXPECT_EQ(viewer.Play("nowhere"), "OnPlayStateUpdate(5, nowhere)");
    EXPECT_EQ(viewer.Publish("nowhere"), "OnPublishStateUpdate(4, nowhere)");
    ASSERT_EQ(viewer.Enter("empty", "ann"), "OnGetStreamList(0)");
    EXPECT_EQ(viewer.Play("nobody"), "OnPlayStateUpdate(6, nobody)");
    EXPECT_EQ(viewer.Leave(), "OnLogout(0)");
}

TEST_F(LivePlay, BadValuesGetAStatusAndNoEvent) {
    Strova::CVaxoLiveShow& engine = viewer.Engine();
    EXPECT_EQ(engine.StartPublishing("t", "", ""), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.PlayStream("", 0), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.GetStreamList("", "", "room", 0), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetVideoResolution(0, 360), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetVideoResolution(641, 360), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetVideoFPS(0), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetVideoBitrate(-1), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetCaptureRotation(45), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetFilter(-1), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.EnableBeautifying(8), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.SetViewMode(3, 0), Strova::VaxoLiveStatus_BadArgument);
    EXPECT_EQ(engine.EnableTorch(true), Strova::VaxoLiveStatus_NotSupported);
    EXPECT_EQ(engine.SetSpeakerPhoneOn(true), Strova::VaxoLiveStatus_NotSupported);
    EXPECT_EQ(engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>("no such camera")),
              Strova::VaxoLiveStatus_NoDevice);
    EXPECT_TRUE(viewer.TakeEvents().empty());
}

}  // namespace
