// Eight threads call, four threads of the engine answer, and in the end every command and
// every event must be accounted for.
#include <gtest/gtest.h>

#include "kernel/live/StressCrowd.h"

namespace {

using livetest::Caller;
using livetest::Crowd;
using livetest::Stage;

const unsigned int s_steps = 500;

}  // namespace

TEST(LiveProxyStress, EveryCommandAndEveryEventIsAccountedFor) {
    const unsigned int seed = livetest::NewSeed();
    Stage stage(seed, true, false);
    {
        Crowd crowd(seed, stage);
        crowd.Run(s_steps, true, [](unsigned int) { return &Caller::Step; });
        crowd.ComeToRest();
        EXPECT_EQ(crowd.CheckTags(), stage.follower.refused);
        crowd.CheckCalls();
        EXPECT_EQ(crowd.Calls("upload"), stage.Ran("upload"));
        EXPECT_EQ(stage.follower.popped["GetInRoom"], stage.Ran("offer"));
    }
    stage.CheckCommands();
    stage.CheckReports();
    EXPECT_GT(stage.follower.removed["PlayStream"], 0);
    EXPECT_GT(stage.follower.refused, 0);
    EXPECT_GT(stage.follower.foreign, 0);
    stage.book.Check();
    EXPECT_EQ(livetest::StressApp::Alive(), 0);
    EXPECT_EQ(livetest::EnginesAlive(), 0);
    EXPECT_EQ(livetest::EngineMisuses(), 0);
}

TEST(LiveProxyStress, NothingIsLeftUnorderedWhenNobodyWatches) {
    const unsigned int seed = livetest::NewSeed();
    Stage stage(seed, false, true);
    {
        Crowd crowd(seed, stage);
        crowd.Run(s_steps, true, [](unsigned int) { return &Caller::Step; });
        crowd.ComeToRest();
        crowd.CheckTags();
        auto& removed = stage.follower.removed;
        const long logouts = crowd.Calls("Logout");
        EXPECT_EQ(crowd.Calls("PlayStream"), stage.Ran("PlayStream") + removed["PlayStream"]);
        EXPECT_EQ(crowd.Calls("StopPlayStream") + 2 * logouts,
                  stage.Ran("StopPlayStream") + removed["StopStream"]);
        EXPECT_EQ(crowd.Calls("StartPublishing"),
                  stage.Ran("StartPublishing") + removed["StartPublish"]);
        EXPECT_EQ(crowd.Calls("StopPublishing") + logouts, stage.Ran("StopPublishing"));
        EXPECT_EQ(crowd.Calls("GetStreamList"), stage.Ran("GetStreamList") + removed["GetInRoom"]);
        EXPECT_EQ(logouts, stage.Ran("Logout") + removed["LeaveRoom"]);
        for (const char* operation :
             {"SetView", "SetVideoBitrate", "SetAudioDevice", "TakeSnapshotRender", "EnableMic",
              "EnableCam", "TakeSnapshotPreview", "SetAuxCallback", "upload"}) {
            EXPECT_EQ(crowd.Calls(operation), stage.Ran(operation)) << operation;
        }
    }
    stage.follower.CheckRest();
    stage.book.Check();
    EXPECT_EQ(livetest::StressApp::Alive(), 0);
    EXPECT_EQ(livetest::EngineMisuses(), 0);
}

// Getters come past the command that holds the queue and past those behind it.
TEST(LiveProxyStress, WhileTheQueueIsHeldNothingButItsEventReleasesItAndGettersAnswer) {
    const unsigned int seed = livetest::NewSeed();
    Stage stage(seed, false, true);
    {
        Crowd crowd(seed, stage);
        stage.Hold();
        crowd.Run(16, false, [](unsigned int) { return &Caller::Step; });
        stage.SendOtherAnswers();
        crowd.Run(50, false, [](unsigned int) { return &Caller::ReadAll; });
        EXPECT_EQ(stage.Ran("EnableMic") + stage.Ran("PlayStream"), 1);  // the one that holds
        stage.Release();
        crowd.ComeToRest();
        EXPECT_GT(stage.Ran("EnableMic") + stage.Ran("PlayStream"), 1);
    }
    stage.follower.CheckRest();
    stage.book.Check();
    EXPECT_EQ(livetest::EngineMisuses(), 0);
}
