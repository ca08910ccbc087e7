// Memory that runs out in a command queue of one's own.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "kernel/live/Journal.h"
#include "kernel/live/memory/Starved.h"

namespace {

using starving::Then;
using starving::Watch;

std::shared_ptr<VaxoAVMgrCmd> Command(VaxoAVMgrCmdType type, std::vector<int>& ran, int number) {
    const auto cmd = std::make_shared<VaxoAVMgrCmd>(type, [&ran, number] {
        ran.push_back(number);
        return 0;
    });
    cmd->ddwExtraData = static_cast<uint64>(number);
    return cmd;
}

// The lines of the log that begin so, without their level and tag.
std::vector<std::string> Said(const std::string& start) {
    return livetest::TakeOnly("log 3 CmdQueue: " + start);
}

}  // namespace

TEST(VaxoCmdQueueMemory, ACommandForWhichThereIsNoPlaceIsAnsweredAndToldAsIfItWereStored) {
    const livetest::LogIntoJournal log;
    std::vector<int> ran;
    CVaxoAVMgrCmdQueue queue;
    for (int number = 1; number <= 8; ++number) {
        queue.AddCmd(Command(SyncCmd, ran, number));
    }
    const auto ninth = Command(SyncCmd, ran, 9);
    livetest::Take();
    {
        const Watch watch(1, Then::Works, starving::Callers);
        EXPECT_EQ(queue.AddCmd(ninth), CmdJoin_CoExist);
        EXPECT_TRUE(watch.Refused());
        EXPECT_FALSE(watch.RefusedWithThrow());
    }
    EXPECT_EQ(Said(">> added"),
              std::vector<std::string>{"log 3 CmdQueue: >> added SyncCmd(9/), queue size: 8"});
    EXPECT_EQ(ninth.use_count(), 1);
    starving::ExpectNothingHeld();
    queue.AddCmd(Command(SyncCmd, ran, 10));
    queue.StartCmdExecuteInner();
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 10}));
}

TEST(VaxoCmdQueueMemory, AskingWhatExecutesSurvivesARefusal) {
    std::vector<int> ran;
    CVaxoAVMgrCmdQueue queue;
    queue.AddCmd(Command(PlayStream, ran, 1));
    queue.StartCmdExecuteInner();
    const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
        const Watch watch(refused, Then::Works, starving::Callers);
        bool threw = false;
        try {
            EXPECT_NE(queue.GetExecutingCmd(), nullptr);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        starving::ExpectTold(threw, watch);
        starving::ExpectNothingHeld();
        return watch.Refused();
    });
    EXPECT_EQ(requests, 1);  // the entry of the thread that looks
}

// Before the lock is had the command still executes; with the pass refused it is done.
TEST(VaxoCmdQueueMemory, ACompletionThatFailsCanBeGivenAgain) {
    const long requests = starving::RefuseOneAfterTheOther([](long refused) {
        std::vector<int> ran;
        CVaxoAVMgrCmdQueue queue;
        queue.AddCmd(Command(PlayStream, ran, 1));
        queue.AddCmd(Command(SyncCmd, ran, 2));
        queue.StartCmdExecuteInner();
        bool any = false;
        {
            const Watch watch(refused, Then::Works, starving::Callers);
            bool threw = false;
            try {
                queue.SetCmdExecuteCmdDone(PlayStream);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            starving::ExpectTold(threw, watch);
            any = watch.Refused();
        }
        EXPECT_EQ(queue.GetExecutingCmd() != nullptr, refused == 1);
        starving::ExpectNothingHeld();
        queue.SetCmdExecuteCmdDone(PlayStream);
        EXPECT_EQ(queue.GetExecutingCmd(), nullptr);
        while (threadless::RunOne(0)) {
        }
        EXPECT_EQ(ran, (std::vector<int>{1, 2}));
        return any;
    });
    EXPECT_GE(requests, 4);
}
