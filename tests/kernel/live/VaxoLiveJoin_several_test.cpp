// Joins with several commands waiting, or one executing: who is asked, who goes, who stays.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kernel/live/LiveJoinSteps.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"

namespace {

using livetest::OfThread;
using livetest::Settle;
using livetest::Take;
using livetest::Texts;

class LiveJoinSeveral : public livetest::LiveJoinFixture {};

}  // namespace

TEST_F(LiveJoinSeveral, TheExecutingCommandIsNeverConsulted) {
    const VaxoAVMgrCmdType types[] = {GetInRoom,  LeaveRoom,    PlayStream,
                                      StopStream, StartPublish, StopPublish};
    for (const VaxoAVMgrCmdType executing : types) {
        const auto held = std::make_shared<VaxoAVMgrCmd>(
            executing, [] { return 0; },
            [](livetest::CmdPtr) {
                livetest::Note("consulted");
                return CmdJoin_InvalidateLater;
            });
        proxy->AddCmd(held);
        Settle();
        for (const VaxoAVMgrCmdType newcomer : types) {
            Take();
            EXPECT_EQ(Offer(newcomer, "x"), 0);
            Settle();
            for (const std::string& line : Take()) {
                EXPECT_NE(line, "consulted");
            }
            EXPECT_EQ(queue->GetExecutingCmd(), held);
        }
        Drain();
    }
}

TEST_F(LiveJoinSeveral, AnExecutingPlayAndItsTwinMeetNoJoin) {
    StartEngine();
    HoldWithPlay("a");
    EXPECT_EQ(proxy->PlayStream("a", 0), 0);
    EXPECT_EQ(OfThread(livetest::TakeLines(), vaxothread_selfid()),
              Offering("PlayStream(0/a)", 0, {}, {"PlayStream(0/a)"}));
    EXPECT_EQ(Executing(), "PlayStream(0/a)");
    EXPECT_EQ(Waiting(), Texts{"PlayStream(0/a)"});
}

TEST_F(LiveJoinSeveral, OneNewcomerRemovesSeveralAndTheLastConsultedDecides) {
    HoldQueue();
    Wait(GetInRoom, "room2");
    Wait(PlayStream, "a");
    Wait(LeaveRoom, "");
    EXPECT_EQ(Waiting(), (Texts{"GetInRoom(0/room2)", "PlayStream(0/a)", "LeaveRoom(0/)"}));
    EXPECT_EQ(proxy->StartPublishing("t", "s1", "room2"), 0);
    EXPECT_EQ(OfThread(livetest::TakeLines(), vaxothread_selfid()),
              Offering("StartPublish(0/s1)", 4,
                       {">> join result by GetInRoom(0/room2), InvalidateFormer",
                        ">> join result by PlayStream(0/a), CoExist",
                        ">> join result by LeaveRoom(0/), InvalidateFormer",
                        ">> join result by SyncCmd(99/), CoExist"},
                       {"PlayStream(0/a)", "SyncCmd(99/)", "StartPublish(0/s1)"}));
}

TEST_F(LiveJoinSeveral, TwoNeighboursGoAndTheCommandBehindThemIsStillConsulted) {
    HoldQueue();
    Wait(GetInRoom, "room1");
    Wait(StartPublish, "room1");  // removes the entry: its stream is not the channel
    proxy->GetStreamList("user", "name", "room1", 0);
    Wait(SyncCmd, "");
    Take();
    EXPECT_EQ(proxy->GetStreamList("user", "name", "room3", 0), 0);
    EXPECT_EQ(OfThread(livetest::TakeLines(), vaxothread_selfid()),
              Offering("GetInRoom(0/room3)", 3,
                       {">> join result by StartPublish(0/another stream), InvalidateFormer",
                        ">> join result by GetInRoom(0/room1), InvalidateFormer",
                        ">> join result by SyncCmd(100/), CoExist"},
                       {"SyncCmd(100/)", "GetInRoom(0/room3)"}));
}

TEST_F(LiveJoinSeveral, OnlyTheLaterOfTwoPublishesRemains) {
    HoldQueue();
    EXPECT_EQ(proxy->StartPublishing("t", "s1", "room1"), 0);
    EXPECT_EQ(proxy->StartPublishing("t", "s2", "room1"), 0);
    EXPECT_EQ(Waiting(), Texts{"StartPublish(0/s2)"});
}

TEST_F(LiveJoinSeveral, AStopRemovesTheWaitingPlayOfItsStreamAlone) {
    HoldQueue();
    proxy->PlayStream("a", 0);
    proxy->PlayStream("b", 1);
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/a)", "PlayStream(0/b)"}));
    EXPECT_EQ(proxy->StopPlayStream("a"), 0);
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/b)", "StopStream(0/a)"}));
}

TEST_F(LiveJoinSeveral, RemovalsBeforeARefusalStandAndNobodyBehindIsConsulted) {
    HoldQueue();
    Wait(SyncCmd, "");
    const auto goes = std::make_shared<bool>(false);
    livetest::CmdPtr obliging = std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [goes](livetest::CmdPtr) { return *goes ? CmdJoin_InvalidateFormer : CmdJoin_CoExist; });
    proxy->AddCmd(obliging);
    Wait(StopStream, "a");
    Wait(PlayStream, "b");
    *goes = true;
    Take();
    EXPECT_EQ(proxy->AddCmd(Unrun(static_cast<VaxoAVMgrCmdType>(0), "x", 3)),
              CmdJoin_InvalidateLater);
    EXPECT_EQ(OfThread(livetest::TakeLines(), vaxothread_selfid()),
              (Texts{
                  "log 3 CmdProxy: AddCmd: (3/x)",
                  "log 3 CmdQueue: AddCmd, going to add (3/x), current queue size: 4 >>>>>",
                  "log 3 CmdQueue: >> join result by SyncCmd(100/), CoExist",
                  "log 3 CmdQueue: >> join result by SyncCmd(0/), InvalidateFormer",
                  "log 1 CmdProxy: StopPlayStream, encounter ",
                  "log 3 CmdQueue: >> join result by StopStream(0/a), InvalidateLater",
                  "log 4 CmdQueue: 0: SyncCmd(100/)",
                  "log 4 CmdQueue: 1: StopStream(0/a)",
                  "log 4 CmdQueue: 2: PlayStream(0/b)",
                  "log 3 CmdProxy: AddCmd, cmd invalid!",
              }));
    EXPECT_EQ(obliging.use_count(), 1);
}

TEST_F(LiveJoinSeveral, ARefusedCommandStartsThePassForThoseThatWait) {
    queue->AddCmd(livetest::CmdPtr(new VaxoAVMgrCmd(
        SyncCmd,
        [] {
            livetest::Note("the waiting command ran");
            return 0;
        },
        [](livetest::CmdPtr) { return CmdJoin_InvalidateLater; })));
    Settle();
    EXPECT_EQ(livetest::TakeOnly("the waiting").size(), 0U);
    EXPECT_EQ(proxy->PlayStream("a", 0), 1);
    Settle();
    EXPECT_EQ(livetest::TakeOnly("the waiting").size(), 1U);
    EXPECT_EQ(Executing(), "");
}

TEST_F(LiveJoinSeveral, AnyCallAnswersOneWhenItIsRefused) {
    HoldQueue();
    const auto refuse = std::make_shared<bool>(false);
    queue->AddCmd(livetest::CmdPtr(new VaxoAVMgrCmd(
        SyncCmd, [] { return 0; },
        [refuse](livetest::CmdPtr) {
            return *refuse ? CmdJoin_InvalidateLater : CmdJoin_CoExist;
        })));
    *refuse = true;
    for (int type = 1; type <= 7; ++type) {
        Take();
        EXPECT_EQ(Offer(static_cast<VaxoAVMgrCmdType>(type), "x"), 1);
        const Texts lines = OfThread(livetest::TakeLines(), vaxothread_selfid());
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), "log 3 CmdProxy: AddCmd, cmd invalid!");
    }
    *refuse = false;
    EXPECT_EQ(Waiting(), Texts{"SyncCmd(0/)"});
}
