// Offering commands: the join walk, what is stored, what is logged.
#include <gtest/gtest.h>

#include "kernel/avmgr/CmdQueueFixture.h"
#include "support/FailingNew.h"

namespace {

class CmdQueueJoin : public CmdQueueFixture {};

class Observer final : public IVaxoAVMgrCmdQueueCallback {
public:
    explicit Observer(std::function<void(CmdPtr)> func) : m_func(std::move(func)) {}
    void OnCmdRemoved(CmdPtr removed) override { m_func(removed); }

private:
    std::function<void(CmdPtr)> m_func;
};

}  // namespace

TEST_F(CmdQueueJoin, AnEmptyQueueStoresTheNewcomerAndLogsThreeLines) {
    const CmdPtr cmd = Make(PlayStream, "stream-1");
    cmd->ddwExtraData = 42;
    EXPECT_EQ(queue.AddCmd(cmd), CmdJoin_CoExist);
    const Lines expected = {
        Flow("AddCmd, going to add PlayStream(42/stream-1), current queue size: 0 >>>>>"),
        Flow(">> added PlayStream(42/stream-1), queue size: 1"),
        Listed("0: PlayStream(42/stream-1)"),
    };
    EXPECT_EQ(log.Take(), expected);
    EXPECT_TRUE(runs.empty());
}

TEST_F(CmdQueueJoin, TheNewestWaitingCommandMayBeRemovedAndTheResultSaysSo) {
    queue.AddCmd(MakeJoin("a", CmdJoin_CoExist));
    queue.AddCmd(MakeJoin("b", CmdJoin_InvalidateFormer));
    log.Take();
    joins.clear();
    const CmdPtr c = MakeJoin("c", CmdJoin_CoExist);
    EXPECT_EQ(queue.AddCmd(c), CmdJoin_InvalidateFormer);
    EXPECT_EQ(joins, (Texts{"a<c", "b<c"}));
    const Lines expected = {
        Flow("AddCmd, going to add SyncCmd(0/c), current queue size: 2 >>>>>"),
        Flow(">> join result by SyncCmd(0/a), CoExist"),
        Flow(">> join result by SyncCmd(0/b), InvalidateFormer"),
        Flow(">> added SyncCmd(0/c), queue size: 2"),
        Listed("0: SyncCmd(0/a)"),
        Listed("1: SyncCmd(0/c)"),
    };
    EXPECT_EQ(log.Take(), expected);
}

TEST_F(CmdQueueJoin, AMiddleCommandIsRemovedTheThirdIsStillConsultedAndDecidesTheResult) {
    bool removeB = false;
    queue.AddCmd(MakeJoin("a", CmdJoin_CoExist));
    auto b = std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [&](CmdPtr) { return removeB ? CmdJoin_InvalidateFormer : CmdJoin_CoExist; });
    queue.AddCmd(b);
    queue.AddCmd(MakeJoin("c", CmdJoin_CoExist));
    removeB = true;
    joins.clear();
    EXPECT_EQ(queue.AddCmd(Make(SyncCmd, "d")), CmdJoin_CoExist);
    EXPECT_EQ(joins, (Texts{"a<d", "c<d"}));
    EXPECT_EQ(b.use_count(), 1);
    Pass();
    EXPECT_EQ(runs, (Texts{"a", "c", "d"}));
}

TEST_F(CmdQueueJoin, ARefusalStopsTheWalkStoresNothingAndStillLists) {
    queue.AddCmd(MakeJoin("a", CmdJoin_CoExist));
    bool refuse = false;
    auto b = std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [&](CmdPtr) { return refuse ? CmdJoin_InvalidateLater : CmdJoin_CoExist; });
    b->strExtraData = "b";
    queue.AddCmd(b);
    queue.AddCmd(MakeJoin("c", CmdJoin_CoExist));
    refuse = true;
    joins.clear();
    log.Take();
    const CmdPtr d = Make(StopStream, "d");
    EXPECT_EQ(queue.AddCmd(d), CmdJoin_InvalidateLater);
    EXPECT_EQ(joins, (Texts{"a<d"}));
    EXPECT_EQ(d.use_count(), 1);
    const Lines expected = {
        Flow("AddCmd, going to add StopStream(0/d), current queue size: 3 >>>>>"),
        Flow(">> join result by SyncCmd(0/a), CoExist"),
        Flow(">> join result by SyncCmd(0/b), InvalidateLater"),
        Listed("0: SyncCmd(0/a)"),
        Listed("1: SyncCmd(0/b)"),
        Listed("2: SyncCmd(0/c)"),
    };
    EXPECT_EQ(log.Take(), expected);
}

TEST_F(CmdQueueJoin, RemovalsBeforeARefusalStand) {
    bool armed = false;
    const auto add = [&](const char* text, VaxoAVMgrCmdJoinResult answer) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(
            SyncCmd, [] { return 0; },
            [&armed, answer](CmdPtr) { return armed ? answer : CmdJoin_CoExist; });
        cmd->strExtraData = text;
        queue.AddCmd(cmd);
        return cmd;
    };
    const CmdPtr a = add("a", CmdJoin_InvalidateFormer);
    const CmdPtr b = add("b", CmdJoin_InvalidateLater);
    armed = true;
    EXPECT_EQ(queue.AddCmd(Make(SyncCmd, "c")), CmdJoin_InvalidateLater);
    EXPECT_EQ(a.use_count(), 1);
    EXPECT_EQ(b.use_count(), 2);
}

TEST_F(CmdQueueJoin, EveryWaitingCommandIsConsultedOnceWhenAllAreRemoved) {
    bool armed = false;
    for (const char* text : {"a", "b", "c"}) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(
            SyncCmd, [] { return 0; },
            [&, text](CmdPtr) {
                if (armed) {
                    joins.emplace_back(text);
                }
                return armed ? CmdJoin_InvalidateFormer : CmdJoin_CoExist;
            });
        queue.AddCmd(cmd);
    }
    armed = true;
    EXPECT_EQ(queue.AddCmd(Make(SyncCmd, "d")), CmdJoin_InvalidateFormer);
    EXPECT_EQ(joins, (Texts{"a", "b", "c"}));
    Pass();
    EXPECT_EQ(runs, (Texts{"d"}));
}

TEST_F(CmdQueueJoin, AnUnknownAnswerKeepsBothAndIsReturned) {
    queue.AddCmd(MakeJoin("a", static_cast<VaxoAVMgrCmdJoinResult>(7)));
    log.Take();
    EXPECT_EQ(queue.AddCmd(Make(SyncCmd, "b")), 7);
    EXPECT_EQ(log.Take().at(1), Flow(">> join result by SyncCmd(0/a), "));
    Pass();
    EXPECT_EQ(runs, (Texts{"a", "b"}));
}

TEST_F(CmdQueueJoin, AnEmptyCommandIsRefusedWithoutLineOrLock) {
    EXPECT_EQ(queue.AddCmd(CmdPtr()), CmdJoin_InvalidateLater);
    EXPECT_TRUE(log.Take().empty());
    // Inside a join the list's lock is held: taking it again would not return.
    VaxoAVMgrCmdJoinResult inner = CmdJoin_CoExist;
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [&](CmdPtr) {
            inner = queue.AddCmd(CmdPtr());
            return CmdJoin_CoExist;
        }));
    queue.AddCmd(Make(SyncCmd, "b"));
    EXPECT_EQ(inner, CmdJoin_InvalidateLater);
}

TEST_F(CmdQueueJoin, TheExecutingCommandTakesNoPartInJoins) {
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(
        PlayStream, [] { return 0; }, [](CmdPtr) { return CmdJoin_InvalidateLater; }));
    Pass();
    ASSERT_TRUE(queue.GetExecutingCmd());
    EXPECT_EQ(queue.AddCmd(Make(PlayStream, "b")), CmdJoin_CoExist);
    Done(PlayStream);
    EXPECT_EQ(runs, (Texts{"b"}));
}

TEST_F(CmdQueueJoin, TheObserverIsToldOfEveryRemovalBeforeTheCommandLeavesTheList) {
    const CmdPtr a = MakeJoin("a", CmdJoin_InvalidateFormer);
    std::vector<CmdPtr> told;
    long owners = 0;
    Observer observer([&](CmdPtr removed) {
        owners = removed.use_count();
        told.push_back(removed);
    });
    queue.SetCallback(&observer);
    queue.AddCmd(a);
    EXPECT_TRUE(told.empty());
    queue.AddCmd(Make(SyncCmd, "b"));
    EXPECT_EQ(told, (std::vector<CmdPtr>{a}));
    EXPECT_GE(owners, 3);  // the test's, the argument's, the list's
    queue.SetCallback(nullptr);
    told.clear();
    EXPECT_EQ(a.use_count(), 1);
}

TEST_F(CmdQueueJoin, WithoutAnObserverARemovalTellsNobody) {
    bool told = false;
    Observer observer([&](CmdPtr) { told = true; });
    queue.SetCallback(&observer);
    queue.SetCallback(nullptr);
    queue.AddCmd(MakeJoin("a", CmdJoin_InvalidateFormer));
    queue.AddCmd(Make(SyncCmd, "b"));
    EXPECT_FALSE(told);
}

TEST_F(CmdQueueJoin, ARefusedNewcomerIsNotReportedAsRemoved) {
    bool told = false;
    Observer observer([&](CmdPtr) { told = true; });
    queue.SetCallback(&observer);
    queue.AddCmd(MakeJoin("a", CmdJoin_InvalidateLater));
    queue.AddCmd(Make(SyncCmd, "b"));
    EXPECT_FALSE(told);
    queue.SetCallback(nullptr);
}

namespace {

// Calls back when it is destroyed, as a command's capture.
struct AtEnd {
    explicit AtEnd(std::function<void()> atEnd) : func(std::move(atEnd)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { func(); }
    std::function<void()> func;
};

}  // namespace

TEST_F(CmdQueueJoin, WhatARemovedCommandCapturedIsDestroyedWhereTheQueueMayBeCalled) {
    bool called = false;
    {
        const auto guard = std::make_shared<AtEnd>([&] {
            called = true;
            queue.AddCmd(Make(SyncCmd, "late"));  // takes the list's lock
        });
        queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(
            SyncCmd, [guard] { return 0; }, [](CmdPtr) { return CmdJoin_InvalidateFormer; }));
    }
    EXPECT_FALSE(called);
    queue.AddCmd(Make(SyncCmd, "b"));
    EXPECT_TRUE(called);
    Pass();
    EXPECT_EQ(runs, (Texts{"b", "late"}));
}

TEST_F(CmdQueueJoin, WhenNoStorageIsLeftTheCommandIsLostButReportedAsAdded) {
    const CmdPtr cmd = Make(SyncCmd, "a");
    {
        const failing_new::Refusal refusal;  // of the form in which the array asks
        EXPECT_EQ(queue.AddCmd(cmd), CmdJoin_CoExist);
    }
    EXPECT_EQ(cmd.use_count(), 1);
    const Lines expected = {
        Flow("AddCmd, going to add SyncCmd(0/a), current queue size: 0 >>>>>"),
        Flow(">> added SyncCmd(0/a), queue size: 0"),
    };
    EXPECT_EQ(log.Take(), expected);
}

TEST_F(CmdQueueJoin, NoEventPassesWhileALeaveWaitsAndTheTypeAskedAboutDoesNotMatter) {
    for (int32 type = 0; type <= 8; ++type) {
        EXPECT_TRUE(queue.ShouldCallbackCmd(static_cast<VaxoAVMgrCmdType>(type)));
    }
    queue.AddCmd(Make(PlayStream, "p"));
    EXPECT_TRUE(queue.ShouldCallbackCmd(StartPublish));
    queue.AddCmd(Make(LeaveRoom, "l"));
    queue.AddCmd(Make(SyncCmd, "s"));
    log.Take();
    for (int32 type = 0; type <= 8; ++type) {
        EXPECT_FALSE(queue.ShouldCallbackCmd(static_cast<VaxoAVMgrCmdType>(type)));
    }
    EXPECT_TRUE(log.Take().empty());
    Pass();
    Done(PlayStream);
    ASSERT_EQ(queue.GetExecutingCmd()->GetCmdType(), LeaveRoom);
    EXPECT_TRUE(queue.ShouldCallbackCmd(StartPublish));
}
