// The stream and channel commands: what the log calls them, what reaches the engine and when,
// how long they hold the queue, what they keep of their arguments.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "kernel/live/LiveOperations.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveProxy.h"

namespace {

using livetest::CmdPtr;
using livetest::Concat;
using livetest::HoldQueue;
using livetest::OfThread;
using livetest::Operation;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Text;
using livetest::Texts;

class LiveStream : public livetest::LiveOperationFixture {};

class LiveOperation : public livetest::LiveOperationFixture,
                      public ::testing::WithParamInterface<Operation> {};

}  // namespace

TEST_P(LiveOperation, TheCallAnswersZeroAndTheLogNamesTheCommand) {
    const Operation& operation = GetParam();
    const std::string cmd = operation.Cmd();
    EXPECT_EQ(operation.call(*proxy), 0);
    EXPECT_EQ(OfThread(TakeLines(), vaxothread_selfid()),
              (Texts{
                  "log 3 CmdProxy: AddCmd: " + cmd,
                  "log 3 CmdQueue: AddCmd, going to add " + cmd + ", current queue size: 0 >>>>>",
                  "log 3 CmdQueue: >> added " + cmd + ", queue size: 1",
                  "log 4 CmdQueue: 0: " + cmd,
              }));
}

TEST_P(LiveOperation, TheRecordCarriesTypeNumberAndText) {
    const Operation& operation = GetParam();
    HoldQueue(PlayStream, "held");
    const CmdPtr cmd = livetest::CommandOf([&] { operation.call(*proxy); });
    ASSERT_TRUE(cmd);
    EXPECT_EQ(cmd->GetCmdType(), operation.type);
    EXPECT_EQ(cmd->ddwExtraData, 0U);
    EXPECT_EQ(Text(cmd->strExtraData), operation.text);
}

TEST_P(LiveOperation, TheEngineIsCalledOnWorkerZeroAndTheCommandWaitsForItsEvent) {
    StartEngine();
    const Operation& operation = GetParam();
    const std::vector<livetest::Line> lines = Run(operation);
    Texts expected = {
        "log 3 CmdQueue: StartCmdExecuteInner",
        "log 3 CmdQueue: PopCmd, cmd " + operation.Cmd() + " poped, final queue size: 0",
    };
    expected = Concat(Concat(expected, operation.engine), operation.after);
    expected.push_back(std::string("log 3 CmdQueue: > executed ") +
                       VaxoDescription(operation.type) + ", waiting for result");
    EXPECT_EQ(OfThread(lines, livetest::Worker0()), expected);
    EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts());  // the application hears nothing
    EXPECT_EQ(Executing(), operation.Cmd());
}

TEST_P(LiveOperation, TheQueueIsHeldUntilTheRightEventAndNoOther) {
    StartEngine();
    const Operation& operation = GetParam();
    Run(operation);
    proxy->UploadLog();
    for (const Operation& other : livetest::Operations()) {
        const bool publishes = operation.type == StartPublish || operation.type == StopPublish;
        const bool plays = operation.type == PlayStream || operation.type == StopStream;
        const bool ends =
            other.type == operation.type ||
            (publishes && (other.type == StartPublish || other.type == StopPublish)) ||
            (plays && (other.type == PlayStream || other.type == StopStream));
        if (!ends) {
            livetest::OnEngineThread(other.end);
            Settle();
            EXPECT_EQ(Executing(), operation.Cmd()) << other.name;
        }
    }
    EXPECT_EQ(Waiting(), Texts{"SyncCmd(100/)"});
    livetest::OnEngineThread(operation.end);
    Settle();
    EXPECT_EQ(Executing(), "");
    const Texts ran = TakeOnly("log 3 CmdQueue: PopCmd, cmd ");
    ASSERT_EQ(ran.size(), 2U);  // the upload, and the command that Waiting() asks with
    EXPECT_EQ(ran[0], "log 3 CmdQueue: PopCmd, cmd SyncCmd(100/) poped, final queue size: 1");
}

TEST_P(LiveOperation, TheStatusIsTheEnginesOwn) {
    StartEngine();
    const Operation& operation = GetParam();
    HoldQueue(PlayStream, "held");
    const CmdPtr cmd = livetest::CommandOf([&] { operation.call(*proxy); });
    ASSERT_TRUE(cmd);
    Settle();
    for (const int status : {0, 1, 5, -1, -77}) {
        livetest::TheScript().status[operation.name] = status;
        EXPECT_EQ(livetest::StatusOf(cmd), status);
    }
    livetest::ResetScript();
    proxy->ReleaseLive();
    EXPECT_EQ(livetest::StatusOf(cmd), -1);
}

TEST_P(LiveOperation, TheEngineIsTheOneThereWhenTheCommandRuns) {
    const Operation& operation = GetParam();
    HoldQueue(PlayStream, "held");
    proxy->Init(7, Sign("key"));
    operation.call(*proxy);  // without an engine yet
    Settle();
    Take();
    CompleteExecuting();
    EXPECT_EQ(Executing(), operation.Cmd());
    const Texts calls = TakeOnly("engine: ");
    ASSERT_GE(calls.size(), 4U);  // made, given its callback, initialised, called
    EXPECT_EQ(calls[3], operation.engine[0]);
}

INSTANTIATE_TEST_SUITE_P(Each, LiveOperation, ::testing::ValuesIn(livetest::Operations()),
                         [](const auto& made) { return std::string(made.param.name); });

TEST_F(LiveStream, StringsAreTakenByValueButAPlaysStreamByReference) {
    typedef Strova::CVaxoLiveProxy P;
    typedef vaxo::strutf8 S;
    static_assert(std::is_same_v<decltype(&P::StartPublishing), int (P::*)(S, S, S)>);
    static_assert(std::is_same_v<decltype(&P::StopPublishing), int (P::*)()>);
    static_assert(std::is_same_v<decltype(&P::PlayStream), int (P::*)(const S&, unsigned int)>);
    static_assert(std::is_same_v<decltype(&P::StopPlayStream), int (P::*)(const S&)>);
    static_assert(std::is_same_v<decltype(&P::Logout), int (P::*)()>);
    static_assert(std::is_same_v<decltype(&P::UploadLog), int (P::*)()>);
    int (P::*enter)(S, S, S, int) = &P::GetStreamList;
    EXPECT_NE(enter, nullptr);
}

TEST_F(LiveStream, TheCallersStringsMayChangeAndGoAsSoonAsTheCallReturns) {
    StartEngine();
    HoldQueue(PlayStream, "held");
    std::vector<std::unique_ptr<vaxo::strutf8>> texts;
    for (const char* const text : {"title", "stream", "channel", "user", "name"}) {
        texts.push_back(std::make_unique<vaxo::strutf8>(text));
    }
    proxy->StartPublishing(*texts[0], *texts[1], *texts[2]);
    proxy->PlayStream(*texts[1], 4);
    proxy->GetStreamList(*texts[3], *texts[4], *texts[1], 5);
    for (auto& text : texts) {
        text->data()[0] = '?';  // in the caller's own bytes
        *text = "changed";
        text.reset();
    }
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/stream)", "GetInRoom(0/stream)"}));
    proxy->StartPublishing("title", "stream", "channel");  // joins compare the copies
    proxy->StopPlayStream("stream");
    EXPECT_EQ(Waiting(),
              (Texts{"GetInRoom(0/stream)", "StartPublish(0/stream)", "StopStream(0/stream)"}));
    while (!Executing().empty()) {
        CompleteExecuting();
    }
    EXPECT_EQ(TakeOnly("engine: "), (Texts{"engine: GetStreamList(user, name, stream, 5)",
                                           "engine: StartPublishing(title, stream, channel)",
                                           "engine: StopPlayStream(stream)"}));
}

TEST_F(LiveStream, TheCallersStringsReachTheEngineFromTheCopies) {
    StartEngine();
    HoldQueue(PlayStream, "held");
    auto first = std::make_unique<vaxo::strutf8>("first stream");
    auto second = std::make_unique<vaxo::strutf8>("second stream");
    auto room = std::make_unique<vaxo::strutf8>("room");
    proxy->PlayStream(*first, 1);
    proxy->StopPlayStream(*second);
    proxy->StartPublishing(*first, *second, *room);
    first.reset();
    second.reset();
    room.reset();
    while (!Executing().empty()) {
        CompleteExecuting();
    }
    EXPECT_EQ(TakeOnly("engine: "),
              (Texts{"engine: PlayStream(first stream, 1)", "engine: StopPlayStream(second stream)",
                     "engine: StartPublishing(first stream, second stream, room)"}));
}

TEST_F(LiveStream, TextsReachTheEngineWholeAndUnchanged) {
    StartEngine();
    const vaxo::strutf8 odd("a\0b \xFF%s", 7);
    const std::string seen("a\0b \xFF%s", 7);
    HoldQueue(PlayStream, "held");
    proxy->StartPublishing(odd, odd, odd);
    proxy->PlayStream(odd, 0);
    proxy->GetStreamList(odd, odd, odd, -1);
    const CmdPtr cmd = livetest::CommandOf([&] { proxy->StopPlayStream(odd + "!"); });
    ASSERT_TRUE(cmd);
    EXPECT_EQ(Text(cmd->strExtraData), seen + "!");
    while (!Executing().empty()) {
        CompleteExecuting();
    }
    EXPECT_EQ(TakeOnly("engine: "),
              (Texts{"engine: StartPublishing(" + seen + ", " + seen + ", " + seen + ")",
                     "engine: PlayStream(" + seen + ", 0)",
                     "engine: GetStreamList(" + seen + ", " + seen + ", " + seen + ", -1)",
                     "engine: StopPlayStream(" + seen + "!)"}));
}

TEST_F(LiveStream, StopPublishingReadsTheStreamAfterTheStop) {
    StartEngine();
    auto& script = livetest::TheScript();
    for (const int status : {0, 9}) {
        script.text["GetCurrentPublishStreamID"] = "before the stop";
        script.status["StopPublishing"] = status;
        script.inside["StopPublishing"] = [&script] {
            script.text["GetCurrentPublishStreamID"] = "after the stop";
        };
        proxy->StopPublishing();
        Settle();
        const std::vector<livetest::Line> lines = TakeLines();
        Texts calls;
        for (const livetest::Line& line : livetest::Beginning(lines, "engine: ")) {
            calls.push_back(line.text);
            EXPECT_EQ(line.thread, livetest::Worker0());
        }
        EXPECT_EQ(calls,
                  (Texts{"engine: StopPublishing()", "engine: GetCurrentPublishStreamID()"}));
        if (status == 0) {
            EXPECT_EQ(livetest::Beginning(lines, "app: ").size(), 0U);
            CompleteExecuting();
        } else {
            EXPECT_EQ(OfThread(lines, livetest::Worker2()),
                      livetest::PublishEnds("1", "END", "after the stop"));
        }
    }
}

TEST_F(LiveStream, TheSignKeyIsInNoLogLine) {
    auto* const setting = CVaxoAppSetting::SharedInstance();
    setting->SetAppID(7);
    setting->SetAppSign(Sign("the-secret-key"));
    Texts lines;
    for (const int status : {0, 5}) {
        proxy->Init(7, Sign("the-secret-key"));
        proxy->UploadLog();
        Settle();
        lines = Concat(lines, Take());
        for (const Operation& operation : livetest::Operations()) {
            livetest::TheScript().status = {{operation.name, status}};
            for (const livetest::Line& line : Run(operation)) {
                lines.push_back(line.text);
            }
            while (!Executing().empty()) {
                CompleteExecuting();
            }
        }
    }
    int given = 0;
    for (const std::string& line : lines) {
        const bool names = line.find("the-secret") != std::string::npos;
        given += names ? 1 : 0;
        EXPECT_FALSE(names && line.compare(0, 4, "log ") == 0) << line;
    }
    EXPECT_EQ(given, 4);  // to the engine and to the connection, each twice
}
