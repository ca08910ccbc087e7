// Stream and channel commands that fail, because the engine refuses or because there is none:
// the event that stands for the failure, the order of everything, the released queue.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveOperations.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveProxy.h"

namespace {

using livetest::Beginning;
using livetest::Concat;
using livetest::HoldQueue;
using livetest::OfThread;
using livetest::Operation;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

class LiveFailure : public livetest::LiveOperationFixture {};

class LiveOperationFailure : public livetest::LiveOperationFixture,
                             public ::testing::WithParamInterface<Operation> {};

}  // namespace

TEST_P(LiveOperationFailure, ARefusalOfTheEngineBecomesTheEventBeforeItIsLogged) {
    StartEngine();
    const Operation& operation = GetParam();
    for (const int status : {1, 5, -1}) {
        TheScript().status[operation.name] = status;
        const std::vector<livetest::Line> lines = Run(operation);
        EXPECT_EQ(OfThread(lines, livetest::Worker0()),
                  FailureOnWorker0(operation, operation.engine));
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), operation.failure);
        EXPECT_EQ(Executing(), "");
    }
}

TEST_P(LiveOperationFailure, WithoutAnEngineTheSameHappensButTheEngineCall) {
    const Operation& operation = GetParam();
    const std::vector<livetest::Line> lines = Run(operation);
    EXPECT_EQ(OfThread(lines, livetest::Worker0()), FailureOnWorker0(operation, {}));
    EXPECT_EQ(OfThread(lines, livetest::Worker2()), operation.missing);
    EXPECT_EQ(Beginning(lines, "engine: ").size(), 0U);
    EXPECT_EQ(Executing(), "");
}

TEST_P(LiveOperationFailure, AfterAnUninitThereIsNoEngineEither) {
    StartEngine();
    const Operation& operation = GetParam();
    HoldQueue(PlayStream, "held");
    proxy->Uninit();
    operation.call(*proxy);  // while the engine is still there
    Settle();
    Take();
    CompleteExecuting();
    const std::vector<livetest::Line> lines = TakeLines();
    Texts calls;
    for (const livetest::Line& line : Beginning(lines, "engine: ")) {
        calls.push_back(line.text);
    }
    EXPECT_EQ(calls, (Texts{"engine: Uninit()", "engine: destroyed"}));
    const Texts heard = OfThread(lines, livetest::Worker2());
    ASSERT_GE(heard.size(), operation.missing.size());
    EXPECT_EQ(Texts(heard.end() - static_cast<long>(operation.missing.size()), heard.end()),
              operation.missing);
    EXPECT_EQ(Executing(), "");
}

TEST_P(LiveOperationFailure, TheNextCommandRunsAtOnce) {
    const Operation& operation = GetParam();
    HoldQueue(PlayStream, "held");
    operation.call(*proxy);
    const auto next = std::make_shared<VaxoAVMgrCmd>(PlayStream, [] { return 0; });
    proxy->AddCmd(next);
    CompleteExecuting();
    EXPECT_EQ(queue->GetExecutingCmd(), next);
}

TEST_P(LiveOperationFailure, WithoutAnApplicationTheQueueIsReleasedAllTheSame) {
    const Operation& operation = GetParam();
    proxy->SetCallback({});
    const std::vector<livetest::Line> lines = Run(operation);
    EXPECT_EQ(OfThread(lines, livetest::Worker0()), FailureOnWorker0(operation, {}));
    EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts());
    EXPECT_EQ(Executing(), "");
}

TEST_P(LiveOperationFailure, TheSharedInstanceTellsTheApplication) {
    // A proxy of one's own has no callback: what arrives went by the shared one. The engine
    // of the shared one is none of its business.
    StartEngine();
    const Operation& operation = GetParam();
    Strova::CVaxoLiveProxy own;
    EXPECT_EQ(operation.call(own), 0);
    Settle();
    const std::vector<livetest::Line> lines = TakeLines();
    EXPECT_EQ(OfThread(lines, livetest::Worker2()), operation.missing);
    EXPECT_EQ(Beginning(lines, "engine: ").size(), 0U);
    EXPECT_EQ(Executing(), "");
}

INSTANTIATE_TEST_SUITE_P(Each, LiveOperationFailure, ::testing::ValuesIn(livetest::Operations()),
                         [](const auto& made) { return std::string(made.param.name); });

TEST_F(LiveFailure, AStopPublishingThatFailsIsAnEndAndNoError) {
    StartEngine();
    TheScript().status["StopPublishing"] = 3;  // the value of FatalError, to tell them apart
    TheScript().text["GetCurrentPublishStreamID"] = "s9";
    proxy->StopPublishing();
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnPublishStateUpdate(1, s9)"});
}

TEST_F(LiveFailure, AStopPlayStreamThatFailsIsAnErrorOfThatStream) {
    StartEngine();
    TheScript().status["StopPlayStream"] = 1;
    proxy->StopPlayStream("s9");
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnPlayStateUpdate(3, s9)"});
}

TEST_F(LiveFailure, EachOfARowOfFailuresIsToldInOrder) {
    HoldQueue(PlayStream, "held");
    proxy->PlayStream("a", 0);
    proxy->StopPlayStream("b");
    proxy->StopPublishing();
    proxy->GetStreamList("user", "name", "room1", 0);
    proxy->StartPublishing("t", "room1", "room1");
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("app: "),
              (Texts{"app: OnPlayStateUpdate(3, a)", "app: OnPlayStateUpdate(3, b)",
                     "app: OnPublishStateUpdate(1, )", "app: OnGetStreamList(4294967295)",
                     "app: OnPublishStateUpdate(3, room1)"}));
    EXPECT_EQ(Executing(), "");
}

TEST_F(LiveFailure, AnEngineThatReportsInsideTheCallAndThenRefusesIsHeardTwice) {
    StartEngine();
    TheScript().status["PlayStream"] = 5;
    TheScript().inside["PlayStream"] = [] {
        livetest::EngineCallback()->OnPlayStateUpdate(Mediq::NoStreamError, "a");
    };
    HoldQueue(StopPublish, "");
    proxy->PlayStream("a", 0);
    proxy->UploadLog();
    CompleteExecuting();
    const std::vector<livetest::Line> lines = TakeLines();
    EXPECT_EQ(OfThread(lines, livetest::Worker2()),
              (Texts{"log 3 CmdProxy: OnPlayStateUpdate, call back state: NO_STREAM_ERROR, "
                     "stream ID: a",
                     "app: OnPlayStateUpdate(6, a)",
                     "log 3 CmdProxy: OnPlayStateUpdate, call back state: FATAL_ERROR, "
                     "stream ID: a",
                     "app: OnPlayStateUpdate(3, a)"}));
    EXPECT_EQ(Executing(), "");
}

TEST_F(LiveFailure, AnEngineThatReportsSuccessInsideTheCallReleasesTheQueueAfterIt) {
    StartEngine();
    TheScript().inside["PlayStream"] = [] {
        livetest::EngineCallback()->OnPlayStateUpdate(Mediq::AVStateBegin, "a");
        livetest::Note("engine: leaves PlayStream");
    };
    proxy->PlayStream("a", 0);
    proxy->PlayStream("b", 0);  // joined or not, it runs after the call has ended
    Settle();
    const Texts lines = OfThread(TakeLines(), livetest::Worker0());
    const Texts first = {
        "engine: PlayStream(a, 0)",
        "log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: PlayStream",
        "log 3 CmdQueue: >> current executing cmd: PlayStream(0/a)",
        "engine: leaves PlayStream",
        "log 3 CmdQueue: > executed PlayStream, waiting for result",
    };
    ASSERT_GE(lines.size(), 8U);
    EXPECT_EQ(Texts(lines.begin() + 2, lines.begin() + 7), first);
    EXPECT_EQ(Executing(), "PlayStream(0/b)");
}

TEST_F(LiveFailure, AWaitingLogoutKeepsTheFailuresBeforeItFromTheApplication) {
    for (const Operation& operation : livetest::Operations()) {
        if (operation.type == LeaveRoom) {
            continue;  // the next test
        }
        HoldQueue(PlayStream, "held");
        operation.call(*proxy);
        proxy->Logout();
        Settle();
        Take();
        CompleteExecuting();
        const std::vector<livetest::Line> lines = TakeLines();
        // The leave fails too, and nothing keeps that back.
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts{"app: OnLogout(4294967295)"});
        const auto abandoned = Beginning(lines, "log 3 CmdProxy: On");
        ASSERT_EQ(abandoned.size(), 1U) << operation.name;
        EXPECT_NE(abandoned[0].text.find(", abandon callbak"), std::string::npos);
        EXPECT_EQ(abandoned[0].thread, livetest::Worker0());
        EXPECT_EQ(Executing(), "");
    }
}

TEST_F(LiveFailure, ALogoutAskedForWhileOneFailsKeepsThatFailureBack) {
    StartEngine();
    TheScript().status["Logout"] = 1;
    TheScript().inside["Logout"] = [this] {
        TheScript().inside.clear();
        TheScript().status.clear();
        TheScript().status["Logout"] = 2;
        proxy->Logout();
    };
    proxy->Logout();
    Settle();
    CompleteExecuting();  // the stop in front of the first
    EXPECT_EQ(Executing(), "StopPublish(0/)");
    EXPECT_EQ(TakeOnly("log 3 CmdProxy: OnLogout"),
              Texts{"log 3 CmdProxy: OnLogout, abandon callbak"});
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(4294967295)"});
    EXPECT_EQ(Executing(), "");
}
