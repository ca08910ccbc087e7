// The two ways of a command into the queue: the built command, and the function with its
// call number.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::PutWaiting;
using livetest::Settle;
using livetest::Take;
using livetest::Texts;

class LiveProxyAddCmd : public livetest::LiveProxyFixture {
protected:
    // A command that writes its run down.
    static std::shared_ptr<VaxoAVMgrCmd> Make(const char* text) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(SyncCmd, [] {
            livetest::Note("command: ran");
            return 0;
        });
        cmd->ddwExtraData = 5;
        cmd->strExtraData = text;
        return cmd;
    }
};

}  // namespace

TEST_F(LiveProxyAddCmd, ANullCommandIsRefusedUnnamedAndStillStartsAPass) {
    EXPECT_EQ(proxy->AddCmd(std::shared_ptr<VaxoAVMgrCmd>()), CmdJoin_InvalidateLater);
    Settle();
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd, cmd invalid!",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: > no cmd enqueued.",
                      }));
}

TEST_F(LiveProxyAddCmd, ANullCommandLetsTheWaitingOnesRun) {
    const auto waiting = PutWaiting(CmdJoin_CoExist);
    EXPECT_EQ(proxy->AddCmd(std::shared_ptr<VaxoAVMgrCmd>()), CmdJoin_InvalidateLater);
    Settle();
    EXPECT_TRUE(waiting->ran);
    EXPECT_FALSE(waiting->newcomer);
}

TEST_F(LiveProxyAddCmd, ACommandIsLoggedWithItsNumberAndText) {
    EXPECT_EQ(proxy->AddCmd(Make("text")), CmdJoin_CoExist);
    Settle();
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd: SyncCmd(5/text)",
                          "log 3 CmdQueue: AddCmd, going to add SyncCmd(5/text), current queue "
                          "size: 0 >>>>>",
                          "log 3 CmdQueue: >> added SyncCmd(5/text), queue size: 1",
                          "log 4 CmdQueue: 0: SyncCmd(5/text)",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: PopCmd, cmd SyncCmd(5/text) poped, final queue size: 0",
                          "command: ran",
                          "log 3 CmdQueue: > executed SyncCmd(5/text)",
                          "log 3 CmdQueue: > no cmd enqueued.",
                      }));
}

TEST_F(LiveProxyAddCmd, ARefusedCommandNeverRunsAndStillStartsThePass) {
    const auto waiting = PutWaiting(CmdJoin_InvalidateLater);
    Take();
    EXPECT_EQ(proxy->AddCmd(Make("refused")), CmdJoin_InvalidateLater);
    Settle();
    EXPECT_TRUE(waiting->ran);
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd: SyncCmd(5/refused)",
                          "log 3 CmdQueue: AddCmd, going to add SyncCmd(5/refused), current queue "
                          "size: 1 >>>>>",
                          "log 3 CmdQueue: >> join result by SyncCmd(98/), InvalidateLater",
                          "log 4 CmdQueue: 0: SyncCmd(98/)",
                          "log 3 CmdProxy: AddCmd, cmd invalid!",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: PopCmd, cmd SyncCmd(98/) poped, final queue size: 0",
                          "log 3 CmdQueue: > executed SyncCmd(98/)",
                          "log 3 CmdQueue: > no cmd enqueued.",
                      }));
}

TEST_F(LiveProxyAddCmd, TheAnswerIsThatOfTheJoin) {
    PutWaiting(CmdJoin_CoExist);
    EXPECT_EQ(proxy->AddCmd(Make("second")), CmdJoin_CoExist);
    Settle();
    const auto removed = PutWaiting(CmdJoin_InvalidateFormer);
    EXPECT_EQ(proxy->AddCmd(Make("third")), CmdJoin_InvalidateFormer);
    Settle();
    EXPECT_FALSE(removed->ran);
}

TEST_F(LiveProxyAddCmd, AFunctionAnswersZeroWhenItsCommandIsStoredAndOneWhenItIsRefused) {
    int runs = 0;
    const auto count = [&runs] {
        ++runs;
        return 0;
    };
    EXPECT_EQ(proxy->AddCmd(1, SyncCmd, count), 0);
    Settle();
    PutWaiting(CmdJoin_CoExist);
    EXPECT_EQ(proxy->AddCmd(2, SyncCmd, count), 0);
    Settle();
    PutWaiting(CmdJoin_InvalidateFormer);
    EXPECT_EQ(proxy->AddCmd(3, SyncCmd, count), 0);
    Settle();
    PutWaiting(CmdJoin_InvalidateLater);
    EXPECT_EQ(proxy->AddCmd(4, SyncCmd, count), 1);
    Settle();
    EXPECT_EQ(runs, 3);
}

TEST_F(LiveProxyAddCmd, AFunctionBecomesACommandThatCoexistsAndHasNoText) {
    const auto waiting = PutWaiting(CmdJoin_InvalidateLater);
    proxy->AddCmd(17, StopPublish, [] { return 23; });
    Settle();
    const std::shared_ptr<VaxoAVMgrCmd> cmd = waiting->newcomer;
    ASSERT_TRUE(cmd);
    EXPECT_EQ(cmd->GetCmdType(), StopPublish);
    EXPECT_EQ(cmd->ddwExtraData, 17U);
    EXPECT_EQ(cmd->strExtraData.length(), 0U);
    EXPECT_EQ(cmd->Execute(), 23);
    EXPECT_EQ(cmd->Join(std::shared_ptr<VaxoAVMgrCmd>()), CmdJoin_CoExist);
    for (const VaxoAVMgrCmdType type :
         {GetInRoom, LeaveRoom, PlayStream, StopStream, StartPublish, StopPublish, SyncCmd}) {
        EXPECT_EQ(cmd->Join(std::make_shared<VaxoAVMgrCmd>(type, [] { return 0; })),
                  CmdJoin_CoExist);
    }
}

TEST_F(LiveProxyAddCmd, ACallNumberOfSixtyFourBitsIsLoggedWhole) {
    proxy->AddCmd(std::numeric_limits<unsigned long long>::max(), SyncCmd, [] { return 0; });
    livetest::ExpectOneCall(std::numeric_limits<unsigned long long>::max(), Texts(), true);
}

TEST_F(LiveProxyAddCmd, AFunctionThatFailsIsLoggedAndTheCallerHearsNothing) {
    EXPECT_EQ(proxy->AddCmd(17, SyncCmd, [] { return 23; }), 0);
    livetest::ExpectOneCall(17, Texts(), false);
}

TEST_F(LiveProxyAddCmd, AFunctionOfAnotherTypeHoldsTheQueue) {
    EXPECT_EQ(proxy->AddCmd(17, StopPublish, [] { return 0; }), 0);
    Settle();
    EXPECT_EQ(Executing(), "StopPublish(17/)");
}

TEST_F(LiveProxyAddCmd, WhatAFunctionCapturedGoesWhenItHasRunAndWhenItIsRefused) {
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = captured;
    StartEngine();
    HoldWithPlay("s1");
    proxy->AddCmd(17, SyncCmd, [captured] { return *captured; });
    captured.reset();
    Settle();
    EXPECT_FALSE(watched.expired());
    CompleteExecuting();
    EXPECT_TRUE(watched.expired());

    captured = std::make_shared<int>(1);
    const std::weak_ptr<int> refused = captured;
    const auto waiting = PutWaiting(CmdJoin_InvalidateLater);
    EXPECT_EQ(proxy->AddCmd(18, SyncCmd, [captured] { return *captured; }), 1);
    captured.reset();
    Settle();
    EXPECT_FALSE(refused.expired());  // the waiting command has kept it
    waiting->newcomer.reset();
    EXPECT_TRUE(refused.expired());
}

TEST_F(LiveProxyAddCmd, ACallFromInsideACommandRunsInTheSamePass) {
    proxy->AddCmd(17, SyncCmd, [this] {
        return proxy->AddCmd(18, SyncCmd, [] {
            livetest::Note("inner: ran");
            return 0;
        });
    });
    Settle();
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd: SyncCmd(17/)",
                          "log 3 CmdQueue: AddCmd, going to add SyncCmd(17/), "
                          "current queue size: 0 >>>>>",
                          "log 3 CmdQueue: >> added SyncCmd(17/), queue size: 1",
                          "log 4 CmdQueue: 0: SyncCmd(17/)",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: PopCmd, cmd SyncCmd(17/) poped, final "
                          "queue size: 0",
                          "log 3 CmdProxy: AddCmd: SyncCmd(18/)",
                          "log 3 CmdQueue: AddCmd, going to add SyncCmd(18/), "
                          "current queue size: 0 >>>>>",
                          "log 3 CmdQueue: >> added SyncCmd(18/), queue size: 1",
                          "log 4 CmdQueue: 0: SyncCmd(18/)",
                          "log 3 CmdQueue: > executed SyncCmd(17/)",
                          "log 3 CmdQueue: PopCmd, cmd SyncCmd(18/) poped, final "
                          "queue size: 0",
                          "inner: ran",
                          "log 3 CmdQueue: > executed SyncCmd(18/)",
                          "log 3 CmdQueue: > no cmd enqueued.",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: > no cmd enqueued.",
                      }));
}

TEST_F(LiveProxyAddCmd, CallsOfManyThreadsAllRunEachThreadsInItsOrder) {
    const unsigned int threadCount = 8;
    const unsigned int callCount = 50;
    std::vector<std::vector<unsigned int>> ran(threadCount);  // written on worker 0
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (std::vector<unsigned int>& mine : ran) {
        threads.emplace_back([this, &mine] {
            for (unsigned int call = 0; call < callCount; ++call) {
                EXPECT_EQ(proxy->AddCmd(call, SyncCmd,
                                        [&mine, call] {
                                            mine.push_back(call);
                                            return 0;
                                        }),
                          0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Settle();
    std::vector<unsigned int> inOrder;
    for (unsigned int call = 0; call < callCount; ++call) {
        inOrder.push_back(call);
    }
    for (const std::vector<unsigned int>& mine : ran) {
        EXPECT_EQ(mine, inOrder);
    }
}
