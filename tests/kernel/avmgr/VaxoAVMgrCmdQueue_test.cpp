// Running commands: passes, holding, completion, the three states.
#include "avmgr/VaxoAVMgrCmdQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "kernel/avmgr/CmdQueueFixture.h"
#include "vaxothread.h"

namespace {

class CmdQueue : public CmdQueueFixture {
protected:
    void Add(const CmdPtr& cmd) {
        queue.AddCmd(cmd);
        log.Take();
    }
};

const VaxoAVMgrCmdType s_holding[] = {GetInRoom,  LeaveRoom,    PlayStream,
                                      StopStream, StartPublish, StopPublish};

}  // namespace

TEST_F(CmdQueue, APassOverAnEmptyQueueSaysSo) {
    Pass();
    EXPECT_EQ(log.Take(), (Lines{Flow("StartCmdExecuteInner"), Flow("> no cmd enqueued.")}));
    EXPECT_FALSE(queue.GetExecutingCmd());
}

TEST_F(CmdQueue, ASyncCmdRunsIsLoggedAndDropped) {
    const CmdPtr cmd = Make(SyncCmd, "s");
    cmd->ddwExtraData = 108;
    Add(cmd);
    Pass();
    const Lines expected = {
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd SyncCmd(108/s) poped, final queue size: 0"),
        Flow("> executed SyncCmd(108/s)"),
        Flow("> no cmd enqueued."),
    };
    EXPECT_EQ(log.Take(), expected);
    EXPECT_EQ(runs, (Texts{"s"}));
    EXPECT_EQ(cmd.use_count(), 1);
}

TEST_F(CmdQueue, AFailedSyncCmdIsLoggedByTheCommandAloneAndThePassGoesOn) {
    Add(Make(SyncCmd, "bad", -1));
    Add(Make(SyncCmd, "good"));
    Pass();
    const Lines expected = {
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd SyncCmd(0/bad) poped, final queue size: 1"),
        LogLine{esyslog_error, "unnamed", ">>>>>> execute SyncCmd(0/bad) failed"},
        Flow("PopCmd, cmd SyncCmd(0/good) poped, final queue size: 0"),
        Flow("> executed SyncCmd(0/good)"),
        Flow("> no cmd enqueued."),
    };
    EXPECT_EQ(log.Take(), expected);
    EXPECT_EQ(runs, (Texts{"bad", "good"}));
}

TEST_F(CmdQueue, EveryTypeButSyncCmdHoldsTheQueueUntilItsCompletion) {
    for (const VaxoAVMgrCmdType type : s_holding) {
        const CmdPtr cmd = Make(type, "h");
        const std::string name = cmd->GetDescription();
        Add(cmd);
        Pass();
        const Lines first = {
            Flow("StartCmdExecuteInner"),
            Flow("PopCmd, cmd " + name + "(0/h) poped, final queue size: 0"),
            Flow("> executed " + name + ", waiting for result"),
        };
        EXPECT_EQ(log.Take(), first);
        EXPECT_EQ(queue.GetExecutingCmd(), cmd);
        Pass();
        EXPECT_EQ(log.Take(),
                  (Lines{Flow("StartCmdExecuteInner"), Flow("> executing: " + name + "(0/h)")}));
        Done(type);
        const Lines done = {
            Flow("SetCmdExecuteCmdDone, cmd type: " + name),
            Flow(">> current executing cmd: " + name + "(0/h)"),
            Flow("StartCmdExecuteInner"),
            Flow("> no cmd enqueued."),
        };
        EXPECT_EQ(log.Take(), done);
        EXPECT_FALSE(queue.GetExecutingCmd());
        EXPECT_EQ(cmd.use_count(), 1);
    }
    EXPECT_EQ(runs.size(), 6U);
}

TEST_F(CmdQueue, AFailedHoldingCommandKeepsHoldingUntilItsCompletion) {
    Add(Make(StartPublish, "p", -1));
    Add(Make(SyncCmd, "s"));
    Pass();
    const Lines expected = {
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd StartPublish(0/p) poped, final queue size: 1"),
        LogLine{esyslog_error, "unnamed", ">>>>>> execute StartPublish(0/p) failed"},
    };
    EXPECT_EQ(log.Take(), expected);
    Pass();
    EXPECT_EQ(runs, (Texts{"p"}));
    Done(StartPublish);
    EXPECT_EQ(runs, (Texts{"p", "s"}));
}

TEST_F(CmdQueue, ACompletionOfAnotherTypeChangesNothingAndStartsNoPass) {
    const CmdPtr cmd = Make(StartPublish, "p");
    Add(cmd);
    Pass();
    log.Take();
    for (int32 type = 0; type <= 8; ++type) {
        if (type == StartPublish) {
            continue;
        }
        Done(static_cast<VaxoAVMgrCmdType>(type));
        const Lines expected = {Flow(std::string("SetCmdExecuteCmdDone, cmd type: ") +
                                     VaxoDescription(static_cast<VaxoAVMgrCmdType>(type)))};
        EXPECT_EQ(log.Take(), expected);
        EXPECT_EQ(queue.GetExecutingCmd(), cmd);
    }
}

TEST_F(CmdQueue, AStrayCompletionMerelyStartsAPass) {
    Add(Make(SyncCmd, "s"));
    Done(PlayStream);
    const Lines expected = {
        Flow("SetCmdExecuteCmdDone, cmd type: PlayStream"),
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd SyncCmd(0/s) poped, final queue size: 0"),
        Flow("> executed SyncCmd(0/s)"),
        Flow("> no cmd enqueued."),
    };
    EXPECT_EQ(log.Take(), expected);
}

TEST_F(CmdQueue, ACompletionGivenTwiceEndsOneCommandOnly) {
    Add(Make(PlayStream, "one"));
    Add(Make(PlayStream, "two"));
    Pass();
    Done(PlayStream);
    EXPECT_EQ(runs, (Texts{"one", "two"}));
    Done(PlayStream);
    Done(PlayStream);
    EXPECT_EQ(runs, (Texts{"one", "two"}));
    EXPECT_FALSE(queue.GetExecutingCmd());
}

TEST_F(CmdQueue, SyncCmdsRunInOnePassUpToTheHoldingCommand) {
    Add(Make(SyncCmd, "s1"));
    Add(Make(SyncCmd, "s2"));
    Add(Make(PlayStream, "p"));
    Add(Make(SyncCmd, "s3"));
    Pass();
    EXPECT_EQ(runs, (Texts{"s1", "s2", "p"}));
    const Lines expected = {
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd SyncCmd(0/s1) poped, final queue size: 3"),
        Flow("> executed SyncCmd(0/s1)"),
        Flow("PopCmd, cmd SyncCmd(0/s2) poped, final queue size: 2"),
        Flow("> executed SyncCmd(0/s2)"),
        Flow("PopCmd, cmd PlayStream(0/p) poped, final queue size: 1"),
        Flow("> executed PlayStream, waiting for result"),
    };
    EXPECT_EQ(log.Take(), expected);
    Pass();
    EXPECT_EQ(runs.size(), 3U);
    Done(PlayStream);
    EXPECT_EQ(runs, (Texts{"s1", "s2", "p", "s3"}));
}

TEST_F(CmdQueue, AHeldQueueStillTakesAndJoinsNewcomers) {
    Add(Make(PlayStream, "p"));
    Pass();
    const CmdPtr waiting = MakeJoin("a", CmdJoin_InvalidateFormer);
    EXPECT_EQ(queue.AddCmd(waiting), CmdJoin_CoExist);
    EXPECT_EQ(queue.AddCmd(Make(SyncCmd, "b")), CmdJoin_InvalidateFormer);
    Pass();
    EXPECT_EQ(runs, (Texts{"p"}));
    Done(PlayStream);
    EXPECT_EQ(runs, (Texts{"p", "b"}));
}

TEST_F(CmdQueue, AValueOutsideTheTypesHoldsTheQueueLikeAnyOtherType) {
    const auto unknown = static_cast<VaxoAVMgrCmdType>(8);
    Add(Make(unknown, "u"));
    Pass();
    EXPECT_TRUE(queue.GetExecutingCmd());
    log.Take();
    Done(unknown);
    EXPECT_EQ(log.Take().front(), Flow("SetCmdExecuteCmdDone, cmd type: "));
    EXPECT_FALSE(queue.GetExecutingCmd());
}

TEST_F(CmdQueue, StartCmdExecuteReturnsWhileTheWorkerIsBusyAndEveryCallPostsAPass) {
    std::atomic<bool> release{false};
    CVaxoQueueRunner::GetSharedInstance()->AsyncRun(
        [&] {
            while (!release.load()) {
                std::this_thread::yield();
            }
        },
        0);
    for (int i = 0; i < 3; ++i) {
        queue.StartCmdExecute();
    }
    EXPECT_TRUE(log.Take().empty());
    release.store(true);
    WaitForWorker0();
    EXPECT_EQ(log.Take().size(), 6U);
}

TEST_F(CmdQueue, CommandsRunOnWorkerZero) {
    vaxothread_id thread = 0;
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(SyncCmd, [&] {
        thread = vaxothread_selfid();
        return 0;
    }));
    Pass();
    EXPECT_EQ(thread, CVaxoQueueRunner::GetSharedInstance()->GetDefaultTask()->getthreadid());
    EXPECT_NE(thread, vaxothread_selfid());
}

TEST_F(CmdQueue, ACommandIsTheExecutingOneBeforeItRuns) {
    CmdPtr seen;
    const auto cmd = std::make_shared<VaxoAVMgrCmd>(GetInRoom, [&] {
        seen = queue.GetExecutingCmd();
        return 0;
    });
    Add(cmd);
    Pass();
    EXPECT_EQ(seen, cmd);
    Done(GetInRoom);
    CmdPtr seenBySync = cmd;
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(SyncCmd, [&] {
        seenBySync = queue.GetExecutingCmd();
        return 0;
    }));
    Pass();
    EXPECT_FALSE(seenBySync);
}

TEST_F(CmdQueue, ACompletionReportedInsideExecuteReleasesTheQueue) {
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(StopPublish, [&] {
        runs.emplace_back("first");
        queue.SetCmdExecuteCmdDone(StopPublish);
        return 0;
    }));
    queue.AddCmd(Make(SyncCmd, "second"));
    log.Take();
    Pass();
    WaitForWorker0();
    EXPECT_EQ(runs, (Texts{"first", "second"}));
    const Lines expected = {
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd StopPublish(0/) poped, final queue size: 1"),
        Flow("SetCmdExecuteCmdDone, cmd type: StopPublish"),
        Flow(">> current executing cmd: StopPublish(0/)"),
        Flow("> executed StopPublish, waiting for result"),
        Flow("StartCmdExecuteInner"),
        Flow("PopCmd, cmd SyncCmd(0/second) poped, final queue size: 0"),
        Flow("> executed SyncCmd(0/second)"),
        Flow("> no cmd enqueued."),
    };
    EXPECT_EQ(log.Take(), expected);
    // The lock was left in order: a write from another thread gets through.
    std::thread([&] { queue.SetCmdExecuteCmdDone(PlayStream); }).join();
}

TEST_F(CmdQueue, AStrayCompletionInsideASyncCmdDoesNotDisturbThePass) {
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(SyncCmd, [&] {
        runs.emplace_back("s");
        queue.SetCmdExecuteCmdDone(PlayStream);
        return 0;
    }));
    Add(Make(PlayStream, "p"));
    Add(Make(SyncCmd, "t"));
    Pass();
    WaitForWorker0();
    EXPECT_EQ(runs, (Texts{"s", "p"}));
    std::thread([&] { queue.SetCmdExecuteCmdDone(PlayStream); }).join();
    WaitForWorker0();
    EXPECT_EQ(runs, (Texts{"s", "p", "t"}));
}

TEST_F(CmdQueue, ACompletionFromAnotherThreadDuringExecuteTakesEffectWhenThePassHasEnded) {
    std::thread engine;
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(PlayStream, [&] {
        std::atomic<bool> entered{false};
        engine = std::thread([&, started = &entered] {
            started->store(true);
            queue.SetCmdExecuteCmdDone(PlayStream);
        });
        while (!entered.load()) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(queue.GetExecutingCmd());
        return 0;
    }));
    queue.AddCmd(Make(SyncCmd, "next"));
    Pass();
    engine.join();
    WaitForWorker0();
    EXPECT_EQ(runs, (Texts{"next"}));
    Lines lines = log.Take();
    std::size_t executed = 0;
    std::size_t cleared = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].text == "> executed PlayStream, waiting for result") {
            executed = i;
        }
        if (lines[i].text == ">> current executing cmd: PlayStream(0/)") {
            cleared = i;
        }
    }
    EXPECT_GT(executed, 0U);
    EXPECT_GT(cleared, executed);
}

TEST_F(CmdQueue, WhatACompletedCommandCapturedMayCallTheQueueWhenItIsDestroyed) {
    struct AtEnd {
        explicit AtEnd(CVaxoAVMgrCmdQueue& owner) : queue(owner) {}
        AtEnd(const AtEnd&) = delete;
        AtEnd& operator=(const AtEnd&) = delete;
        ~AtEnd() {
            // Another thread would wait for ever if a lock were held here.
            std::thread([this] { queue.GetExecutingCmd(); }).join();
            queue.SetCmdExecuteCmdDone(GetInRoom);
        }
        CVaxoAVMgrCmdQueue& queue;
    };
    {
        const auto guard = std::make_shared<AtEnd>(queue);
        Add(std::make_shared<VaxoAVMgrCmd>(PlayStream, [guard] { return 0; }));
    }
    Pass();
    std::thread([&] { queue.SetCmdExecuteCmdDone(PlayStream); }).join();
    WaitForWorker0();
    Add(Make(SyncCmd, "after"));
    Pass();
    EXPECT_EQ(runs, (Texts{"after"}));
}

TEST_F(CmdQueue, TheExecutingCommandIsSharedWithWhoeverAsks) {
    std::weak_ptr<VaxoAVMgrCmd> watch;
    {
        const CmdPtr cmd = Make(PlayStream, "p");
        watch = cmd;
        Add(cmd);
    }
    Pass();
    CmdPtr mine = queue.GetExecutingCmd();
    Done(PlayStream);
    EXPECT_FALSE(watch.expired());
    mine.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(CmdQueue, GetExecutingCmdLogsNothing) {
    queue.GetExecutingCmd();
    EXPECT_TRUE(log.Take().empty());
}

TEST_F(CmdQueue, DestroyingAQueueReleasesTheExecutingAndTheWaitingCommands) {
    const CmdPtr executing = Make(PlayStream, "p");
    const CmdPtr waiting = Make(SyncCmd, "s");
    {
        CVaxoAVMgrCmdQueue own;
        own.AddCmd(executing);
        own.AddCmd(waiting);
        own.StartCmdExecute();
        WaitForWorker0();
        EXPECT_EQ(own.GetExecutingCmd(), executing);
    }
    EXPECT_EQ(executing.use_count(), 1);
    EXPECT_EQ(waiting.use_count(), 1);
}

TEST_F(CmdQueue, DestroyingAQueueReleasesTheExecutingCommandFirst) {
    // Writes its name down when the command that captured it goes.
    struct Note {
        Note(Texts& list, const char* text) : order(list), name(text) {}
        Note(const Note&) = delete;
        Note& operator=(const Note&) = delete;
        ~Note() { order.emplace_back(name); }
        Texts& order;
        const char* name;
    };
    Texts order;
    {
        CVaxoAVMgrCmdQueue own;
        for (const char* name : {"executing", "first", "second"}) {
            auto note = std::make_shared<Note>(order, name);
            own.AddCmd(std::make_shared<VaxoAVMgrCmd>(PlayStream, [note] { return 0; }));
        }
        own.StartCmdExecute();
        WaitForWorker0();
    }
    EXPECT_EQ(order, (Texts{"executing", "first", "second"}));
}

TEST(CmdQueueDeathTest, AProgramMayReturnFromMainInTheMiddleOfACommand) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
            std::atomic<bool> running{false};
            for (int i = 0; i < 1000; ++i) {
                queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(SyncCmd, [&running] {
                    running.store(true);
                    return CVaxoAVMgrCmdQueue::GetSharedInstance()->GetExecutingCmd() ? 1 : 0;
                }));
            }
            queue->StartCmdExecute();
            while (!running.load()) {
                std::this_thread::yield();
            }
            std::exit(7);
        },
        ::testing::ExitedWithCode(7), "");
}

TEST(CmdQueueInstance, EveryThreadGetsTheOneQueueAlsoOnFirstUse) {
    std::atomic<int> arrived{0};
    std::vector<std::shared_ptr<CVaxoAVMgrCmdQueue>> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen) {
        threads.emplace_back([&arrived, &slot] {
            arrived.fetch_add(1);
            while (arrived.load() < 8) {
                std::this_thread::yield();
            }
            slot = CVaxoAVMgrCmdQueue::GetSharedInstance();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& queue : seen) {
        EXPECT_TRUE(queue);
        EXPECT_EQ(queue, seen.front());
    }
}
