// Events while a leave waits: which ones are kept from the application, that commands are
// completed all the same, and in which order that is written.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveEventCases.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "utils/VaxoQueueRunner.h"

namespace {

using livetest::Concat;
using livetest::EventCase;
using livetest::HoldQueue;
using livetest::OfThread;
using livetest::OnEngineThread;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;

class LiveKeptBack : public livetest::LiveEventFixture {
protected:
    // Puts a leave into the list without starting a pass.
    void LeaveWaits() {
        queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(LeaveRoom, [] { return 0; }));
        Take();
    }

    // Returns when everything posted to the application has arrived. Worker 0 may be held.
    static void Delivered() {
        CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
    }

    void FreeAll() {
        queue->StartCmdExecute();
        Settle();
        while (!Executing().empty()) {
            CompleteExecuting();
        }
        Take();
    }
};

std::string Abandoned(const EventCase& event) {
    return std::string("log 3 CmdProxy: ") + event.method + ", abandon callbak";
}

// What the engine's thread writes while a leave waits. An entry and a leave are completed
// first; a publish and a play are asked about the leave first.
Texts Own(const EventCase& event, int executing) {
    const Texts done = Concat(Completion(event, executing), NotForThis(event, executing));
    if (!event.held) {
        return event.direct ? Concat(done, event.delivered) : done;
    }
    const std::string method = event.method;
    return method == "OnGetStreamList" || method == "OnLogout" ? Concat(done, {Abandoned(event)})
                                                               : Concat({Abandoned(event)}, done);
}

}  // namespace

TEST_F(LiveKeptBack, AWaitingLeaveKeepsBackFourEventsAndNoCompletion) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        for (int type = 0; type <= 6; ++type) {
            SCOPED_TRACE(type);
            Execute(type);
            // A pass would take the leave out of the list while the event looks for it.
            livetest::WorkerHeld busy(0);
            LeaveWaits();
            const vaxothread_id engine = OnEngineThread(event.fire);
            Delivered();
            const std::vector<livetest::Line> lines = TakeLines();
            EXPECT_EQ(OfThread(lines, engine), Own(event, type));
            EXPECT_EQ(OfThread(lines, livetest::Worker2()),
                      event.held || event.direct ? Texts() : event.delivered);
            EXPECT_EQ(Executing(), event.asks[type] == type ? "" : ExecutingAs(type));
            busy.Release();
            FreeAll();
        }
    });
}

TEST_F(LiveKeptBack, ALeaveThatExecutesKeepsNothingBack) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        Execute(LeaveRoom);
        OnEngineThread(event.fire);
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
    });
}

TEST_F(LiveKeptBack, ALeaveThatWasRemovedKeepsNothingBack) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        HoldQueue(StopPublish, "s1");
        proxy->Logout();
        proxy->PlayStream("x", 0);
        EXPECT_EQ(Waiting(), (Texts{"StopPublish(0/)", "PlayStream(0/x)"}));
        OnEngineThread(event.fire);
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
    });
}

TEST_F(LiveKeptBack, NoOtherWaitingCommandKeepsAnythingBack) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        const livetest::WorkerHeld busy(0);
        for (const auto type :
             {GetInRoom, PlayStream, StopStream, StartPublish, StopPublish, SyncCmd,
              static_cast<VaxoAVMgrCmdType>(-1), static_cast<VaxoAVMgrCmdType>(8)}) {
            queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(type, [] { return 0; }));
        }
        Take();
        OnEngineThread(event.fire);
        Delivered();
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
    });
}

TEST_F(LiveKeptBack, ALeaveAnywhereInTheListKeepsBack) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        livetest::WorkerHeld busy(0);
        for (const auto type : {SyncCmd, LeaveRoom, SyncCmd}) {
            queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(type, [] { return 0; }));
        }
        Take();
        OnEngineThread(event.fire);
        Delivered();
        EXPECT_EQ(TakeOnly("app: "), event.held ? Texts() : Texts{event.delivered.back()});
    });
}

TEST_F(LiveKeptBack, WithoutAnApplicationItIsWrittenAllTheSame) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        proxy->SetCallback({});
        const livetest::WorkerHeld busy(0);
        LeaveWaits();
        const vaxothread_id engine = OnEngineThread(event.fire);
        Delivered();
        const std::vector<livetest::Line> lines = TakeLines();
        EXPECT_EQ(OfThread(lines, engine), event.held ? Own(event, 0) : Completion(event, 0));
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts());
    });
}

TEST_F(LiveKeptBack, WhatWasKeptBackDoesNotComeLater) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        {
            const livetest::WorkerHeld busy(0);
            LeaveWaits();
            OnEngineThread(event.fire);
            Delivered();
            Take();
        }
        queue->StartCmdExecute();
        Settle();
        EXPECT_EQ(Executing(), "LeaveRoom(0/)");
        CompleteExecuting();
        EXPECT_EQ(TakeOnly("app: "), Texts());
    });
}

TEST_F(LiveKeptBack, AnEventOnItsWayArrivesWhateverBeginsToWait) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        const livetest::WorkerHeld busy(0);
        {
            const livetest::WorkerHeld slow(2);
            OnEngineThread(event.fire);
            LeaveWaits();
        }
        Delivered();
        EXPECT_EQ(TakeOnly("app: "), event.direct ? Texts() : Texts{event.delivered.back()});
    });
}

TEST_F(LiveKeptBack, TheMatchingPlayEndsBehindALogoutAndTheApplicationHearsOfTheLeaveAlone) {
    proxy->PlayStream("s1", 0);
    proxy->Logout();
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    Take();
    OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "s1"); });
    Settle();
    EXPECT_EQ(Executing(), "StopPublish(0/)");
    EXPECT_EQ(TakeOnly("app: "), Texts());
    OnEngineThread([](auto& cb) { cb.OnPublishStateUpdate(Mediq::AVStateEnd, "p"); });
    Settle();
    EXPECT_EQ(Executing(), "LeaveRoom(0/)");
    OnEngineThread([](auto& cb) { cb.OnLogout(0); });
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(0)"});
}

TEST_F(LiveKeptBack, ALogoutBehindALogoutKeepsTheFirstOnesEventBack) {
    Execute(LeaveRoom);
    livetest::WorkerHeld busy(0);
    LeaveWaits();
    OnEngineThread([](auto& cb) { cb.OnLogout(0); });
    Delivered();
    EXPECT_EQ(Executing(), "");
    EXPECT_EQ(TakeOnly("app: "), Texts());
    busy.Release();
    Settle();
    EXPECT_EQ(Executing(), "LeaveRoom(0/)");
    OnEngineThread([](auto& cb) { cb.OnLogout(0); });
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(0)"});
}

TEST_F(LiveKeptBack, TheStrayOnLogoutOfAnIdleQueueGoesOn) {
    OnEngineThread([](auto& cb) { cb.OnLogout(0); });
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(0)"});
}
