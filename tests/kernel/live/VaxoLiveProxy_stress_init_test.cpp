// The engine comes and goes all the time, while others log out: a Logout reads the list of
// an engine on its own thread, and that engine may be the former one by then.
#include <gtest/gtest.h>

#include "kernel/live/StressCrowd.h"

namespace {

using livetest::Caller;
using livetest::Crowd;
using livetest::Stage;

const unsigned int s_steps = 300;

// Three threads change the engine, five log out.
Crowd::Action Storm(unsigned int caller) {
    return caller < 3 ? &Caller::StormStep : &Caller::LogoutStep;
}

void CheckEngines(int createdBefore) {
    EXPECT_GT(livetest::EnginesCreated(), createdBefore + 1);
    EXPECT_EQ(livetest::EnginesAlive(), 0);
    EXPECT_EQ(livetest::EngineMisuses(), 0);
    EXPECT_EQ(livetest::StressApp::Alive(), 0);
}

}  // namespace

TEST(LiveProxyInitStorm, EveryCommandAndEveryEventIsAccountedFor) {
    const int created = livetest::EnginesCreated();
    const unsigned int seed = livetest::NewSeed();
    Stage stage(seed, true, false);
    {
        Crowd crowd(seed, stage);
        crowd.Run(s_steps, true, Storm);
        crowd.ComeToRest();
        EXPECT_EQ(crowd.CheckTags(), stage.follower.refused);
        crowd.CheckCalls();
        EXPECT_EQ(stage.Ran("Uninit"), stage.follower.popped["SyncCmd(101/)"] -
                                           stage.follower.failures["SyncCmd(101/)"]);
    }
    stage.CheckCommands();
    stage.CheckReports();
    stage.book.Check();
    CheckEngines(created);
}

TEST(LiveProxyInitStorm, AnEngineMayGoWhileALogoutReadsItsList) {
    const int created = livetest::EnginesCreated();
    const unsigned int seed = livetest::NewSeed();
    Stage stage(seed, false, false);
    {
        Crowd crowd(seed, stage);
        crowd.Run(s_steps, true, Storm);
        crowd.ComeToRest();
        crowd.CheckTags();
        // An Uninit finds an engine or not; every Init makes or keeps one.
        EXPECT_EQ(crowd.Calls("Init") + 1, stage.Ran("Init"));
        EXPECT_LE(stage.Ran("Uninit"), crowd.Calls("Uninit") + 1);
    }
    stage.follower.CheckRest();
    stage.book.Check();
    CheckEngines(created);
}
