// Logout: what it queues and in which order, where it asks for the stream list, and what the
// leave itself does.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveProxy.h"

namespace {

using livetest::Beginning;
using livetest::HoldQueue;
using livetest::OfThread;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

class LiveLogout : public livetest::LiveProxyFixture {
protected:
    // An engine whose list has these streams, behind a held queue.
    void StartAndHold(const std::vector<const char*>& streams) {
        StartEngine();
        for (const char* const stream : streams) {
            TheScript().streams.push_back(Stream(stream));
        }
        HoldQueue(StopPublish, "");
    }

    // Lets everything that waits run: the engine calls.
    Texts RunAll() {
        Take();
        while (!Executing().empty()) {
            CompleteExecuting();
        }
        return TakeOnly("engine: ");
    }
};

}  // namespace

TEST_F(LiveLogout, EveryStreamIsStoppedThenThePublishThenTheChannelIsLeft) {
    StartAndHold({"a", "b"});
    EXPECT_EQ(proxy->Logout(), 0);
    const std::vector<livetest::Line> lines = TakeLines();
    Texts own = OfThread(Beginning(lines, "engine: "), vaxothread_selfid());
    own =
        livetest::Concat(own, OfThread(Beginning(lines, "log 3 CmdProxy: "), vaxothread_selfid()));
    EXPECT_EQ(own, (Texts{"engine: GetStreams()", "log 3 CmdProxy: AddCmd: StopStream(0/a)",
                          "log 3 CmdProxy: AddCmd: StopStream(0/b)",
                          "log 3 CmdProxy: AddCmd: StopPublish(0/)",
                          "log 3 CmdProxy: AddCmd: LeaveRoom(0/)"}));
    EXPECT_EQ(lines[0].text, "engine: GetStreams()");
    EXPECT_EQ(Waiting(),
              (Texts{"StopStream(0/a)", "StopStream(0/b)", "StopPublish(0/)", "LeaveRoom(0/)"}));
    EXPECT_EQ(RunAll(), (Texts{"engine: StopPlayStream(a)", "engine: StopPlayStream(b)",
                               "engine: StopPublishing()", "engine: GetCurrentPublishStreamID()",
                               "engine: Logout()"}));
}

TEST_F(LiveLogout, EachStepWaitsForItsOwnEvent) {
    StartEngine();
    TheScript().streams.push_back(Stream("a"));
    proxy->Logout();
    Settle();
    EXPECT_EQ(Executing(), "StopStream(0/a)");
    livetest::OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateEnd, "a"); });
    Settle();
    EXPECT_EQ(Executing(), "StopPublish(0/)");
    livetest::OnEngineThread([](auto& cb) { cb.OnPublishStateUpdate(Mediq::AVStateEnd, "p"); });
    Settle();
    EXPECT_EQ(Executing(), "LeaveRoom(0/)");
    livetest::OnEngineThread([](auto& cb) { cb.OnLogout(0); });
    Settle();
    EXPECT_EQ(Executing(), "");
    // The application hears of the leave alone: it was waiting while the others ended.
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(0)"});
}

TEST_F(LiveLogout, AnEmptyListLeavesThePublishToStop) {
    StartAndHold({});
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(Waiting(), (Texts{"StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveLogout, WithoutAnEngineOnlyTheChannelIsLeft) {
    HoldQueue(StopPublish, "");
    TheScript().streams.push_back(Stream("a"));
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(Waiting(), Texts{"LeaveRoom(0/)"});
}

TEST_F(LiveLogout, TheAnswerOfTheListIsNoMatter) {
    StartAndHold({"a"});
    TheScript().status["GetStreams"] = -1;
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(Waiting(), (Texts{"StopStream(0/a)", "StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveLogout, AStreamThatIsListedTwiceIsStoppedOnce) {
    StartAndHold({"a", "b", "a", ""});
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(Waiting(), (Texts{"StopStream(0/b)", "StopStream(0/a)", "StopStream(0/)",
                                "StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveLogout, StreamsAreNamedByTheirStreamIDWithAllItsBytes) {
    StartEngine();
    Strova::VaxoLiveStream stream = Stream("");
    stream.streamID = vaxo::strutf8("a\0b", 3);
    stream.streamGID = "global";
    stream.title = "title";
    TheScript().streams.push_back(stream);
    HoldQueue(StopPublish, "");
    proxy->Logout();
    const Texts calls = RunAll();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls[0], "engine: StopPlayStream(" + std::string("a\0b", 3) + ")");
}

TEST_F(LiveLogout, AWaitingLeaveIsRemovedByANewOne) {
    StartAndHold({"a", "b"});
    EXPECT_EQ(proxy->Logout(), 0);
    Take();
    EXPECT_EQ(proxy->Logout(), 0);
    Texts joins;
    for (const auto& line : Beginning(TakeLines(), "log 3 CmdQueue: >> join result by LeaveRoom")) {
        joins.push_back(line.text.substr(line.text.rfind(' ') + 1));
    }
    EXPECT_EQ(joins, (Texts{"CoExist", "CoExist", "CoExist", "InvalidateFormer"}));
    EXPECT_EQ(Waiting(), (Texts{"StopPublish(0/)", "StopStream(0/a)", "StopStream(0/b)",
                                "StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveLogout, WaitingPlaysOfListedStreamsGo) {
    StartAndHold({"a"});
    proxy->PlayStream("a", 0);
    proxy->PlayStream("b", 0);
    proxy->Logout();
    EXPECT_EQ(Waiting(),
              (Texts{"PlayStream(0/b)", "StopStream(0/a)", "StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveLogout, AWaitingLeaveGoesWhenTheChannelIsNeededAgainButItsStopsStay) {
    StartAndHold({"a"});
    proxy->Logout();
    EXPECT_EQ(proxy->PlayStream("c", 0), 0);
    EXPECT_EQ(Waiting(), (Texts{"StopStream(0/a)", "StopPublish(0/)", "PlayStream(0/c)"}));
}

TEST_F(LiveLogout, OnlyTheAnswerToTheLeaveCounts) {
    StartAndHold({"a"});
    const auto refuses = std::make_shared<VaxoAVMgrCmdType>(StopStream);
    queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [refuses](livetest::CmdPtr later) {
            return later->GetCmdType() == *refuses ? CmdJoin_InvalidateLater : CmdJoin_CoExist;
        }));
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(Waiting(), (Texts{"SyncCmd(0/)", "StopPublish(0/)", "LeaveRoom(0/)"}));
    *refuses = StopPublish;
    EXPECT_EQ(proxy->Logout(), 0);
    *refuses = LeaveRoom;
    EXPECT_EQ(proxy->Logout(), 1);
    EXPECT_EQ(Waiting(), (Texts{"SyncCmd(0/)", "StopPublish(0/)", "LeaveRoom(0/)",
                                "StopStream(0/a)", "StopPublish(0/)"}));
}

TEST_F(LiveLogout, TheListIsAskedForOnTheCallersThreadWhileWorkerZeroIsBusy) {
    StartEngine();
    TheScript().streams.push_back(Stream("a"));
    {
        const livetest::WorkerHeld busy(0);
        Take();
        EXPECT_EQ(proxy->Logout(), 0);  // a list by way of the worker would wait for ever
        const auto calls = Beginning(TakeLines(), "engine: ");
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].text, "engine: GetStreams()");
        EXPECT_EQ(calls[0].thread, vaxothread_selfid());
    }
    Settle();
    EXPECT_EQ(Executing(), "StopStream(0/a)");
}

TEST_F(LiveLogout, TheLeaveItselfRunsOnWorkerZero) {
    StartAndHold({});
    proxy->Logout();
    while (!Executing().empty()) {
        CompleteExecuting();
    }
    const auto calls = Beginning(TakeLines(), "engine: Logout()");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].thread, livetest::Worker0());
}

TEST_F(LiveLogout, TheEngineLivesAsLongAsItsListIsReadWhateverUninitDoes) {
    StartEngine();
    const livetest::Gate reading;
    const livetest::Gate uninitialised;
    TheScript().inside["GetStreams"] = [reading, uninitialised] {
        reading.Open();
        uninitialised.Pass();
        livetest::Note("engines: " + std::to_string(livetest::EnginesAlive()));
    };
    TheScript().streams.push_back(Stream("a"));
    std::thread caller([this] { proxy->Logout(); });
    reading.Pass();
    proxy->Uninit();
    Settle();
    EXPECT_FALSE(proxy->GetLive());
    EXPECT_EQ(livetest::EnginesAlive(), 1);
    uninitialised.Open();
    caller.join();
    EXPECT_EQ(livetest::EnginesAlive(), 0);
    Settle();
    const Texts lines = Take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "engines: 1"), 1);
    // The commands find no engine any more, and say so.
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "app: OnLogout(4294967295)"), 1);
}

TEST_F(LiveLogout, TheEngineIsNotKeptLongerThanItsListIsRead) {
    StartAndHold({"a"});
    queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [live = std::weak_ptr<Strova::IVaxoLive>(proxy->GetLive())](livetest::CmdPtr later) {
            if (later->GetCmdType() == StopStream) {
                livetest::Note("owners: " + std::to_string(live.use_count()));
            }
            return CmdJoin_CoExist;
        }));
    proxy->Logout();
    EXPECT_EQ(TakeOnly("owners: "), Texts{"owners: 1"});
}
