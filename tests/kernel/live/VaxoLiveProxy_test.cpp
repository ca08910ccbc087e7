// The object itself: the singleton, its life cycle, the way of a command into the queue.
#include "live/VaxoLiveProxy.h"

#include <gtest/gtest.h>

#include "kernel/live/LiveProxyFixture.h"

namespace {

using livetest::Settle;
using livetest::Take;
using livetest::Texts;

class LiveProxy : public livetest::LiveProxyFixture {};

}  // namespace

TEST_F(LiveProxy, TheRoadOfOneRequest) {
    StartEngine();
    EXPECT_EQ(proxy->StartPublishing("title", "s1", "room1"), 0);
    Settle();
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd: StartPublish(0/s1)",
                          "log 3 CmdQueue: AddCmd, going to add StartPublish(0/s1), current queue "
                          "size: 0 >>>>>",
                          "log 3 CmdQueue: >> added StartPublish(0/s1), queue size: 1",
                          "log 4 CmdQueue: 0: StartPublish(0/s1)",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: PopCmd, cmd StartPublish(0/s1) poped, final queue "
                          "size: 0",
                          "engine: StartPublishing(title, s1, room1)",
                          "log 3 CmdQueue: > executed StartPublish, waiting for result",
                      }));
    EXPECT_EQ(Executing(), "StartPublish(0/s1)");

    livetest::EngineCallback()->OnPublishStateUpdate(Mediq::AVStateBegin, "s1");
    Settle();
    EXPECT_EQ(Executing(), "");
    const std::vector<livetest::Line> lines = livetest::TakeLines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0].text, "log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: StartPublish");
    EXPECT_EQ(lines[1].text, "log 3 CmdQueue: >> current executing cmd: StartPublish(0/s1)");
}
