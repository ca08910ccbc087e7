// The relay of events: which command an event completes, by what it is told apart, and what
// it writes on the way.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveEventCases.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"

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
using livetest::Text;
using livetest::Texts;

class LiveEvent : public livetest::LiveEventFixture,
                  public ::testing::WithParamInterface<EventCase> {};

class LiveEvents : public livetest::LiveEventFixture {};

const int s_types[] = {0, GetInRoom, LeaveRoom, PlayStream, StopStream, StartPublish, StopPublish};

const struct {
    int state;
    const char* name;
} s_states[] = {
    {-1, ""},
    {0, "BEGIN"},
    {1, "END"},
    {2, "TEMP_BROKEN"},
    {3, "FATAL_ERROR"},
    {4, "CREATE_STREAM_ERROR"},
    {5, "FETCH_STREAM_ERROR"},
    {6, "NO_STREAM_ERROR"},
    {7, ""},
    {8, ""},
    {INT_MAX, ""},
    {INT_MIN, ""},
};

}  // namespace

TEST_P(LiveEvent, ItCompletesWhatItAnswersAndNothingElse) {
    const EventCase& event = GetParam();
    for (const int type : s_types) {
        SCOPED_TRACE(type);
        Execute(type);
        const vaxothread_id engine = OnEngineThread(event.fire);
        Settle();
        const std::vector<livetest::Line> lines = TakeLines();

        const Texts own = Concat(Completion(event, type), NotForThis(event, type));
        EXPECT_EQ(OfThread(lines, engine), event.direct ? Concat(own, event.delivered) : own);
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), event.direct ? Texts() : event.delivered);
        // A pass begins when the queue is free afterwards and a completion was asked for.
        const int asked = event.asks[type];
        const bool passes = asked != 0 && (type == 0 || asked == type);
        EXPECT_EQ(OfThread(lines, livetest::Worker0()),
                  passes ? (Texts{"log 3 CmdQueue: StartCmdExecuteInner",
                                  "log 3 CmdQueue: > no cmd enqueued."})
                         : Texts());
        EXPECT_EQ(Executing(), asked == type ? "" : ExecutingAs(type));
        Free();
    }
}

TEST_P(LiveEvent, WithoutAnApplicationItCompletesAllTheSameAndSaysNoMore) {
    const EventCase& event = GetParam();
    proxy->SetCallback({});
    for (const int type : s_types) {
        SCOPED_TRACE(type);
        Execute(type);
        const vaxothread_id engine = OnEngineThread(event.fire);
        Settle();
        const std::vector<livetest::Line> lines = TakeLines();
        EXPECT_EQ(OfThread(lines, engine),
                  Concat(Completion(event, type), NotForThis(event, type)));
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts());
        EXPECT_EQ(Executing(), event.asks[type] == type ? "" : ExecutingAs(type));
        Free();
    }
}

TEST_P(LiveEvent, AnUnknownExecutingTypeIsNeverCompleted) {
    const EventCase& event = GetParam();
    for (const int type : {-1, 8}) {
        HoldQueue(static_cast<VaxoAVMgrCmdType>(type), "s1");
        OnEngineThread(event.fire);
        Settle();
        EXPECT_EQ(Executing(), "(0/s1)");
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
        Free();
    }
}

TEST_P(LiveEvent, TheNextCommandRunsExactlyWhenTheCommandIsCompleted) {
    const EventCase& event = GetParam();
    for (int type = 1; type <= 6; ++type) {
        SCOPED_TRACE(type);
        Execute(type);
        const auto next = std::make_shared<VaxoAVMgrCmd>(StopPublish, [] { return 0; });
        proxy->AddCmd(next);
        OnEngineThread(event.fire);
        Settle();
        EXPECT_EQ(queue->GetExecutingCmd() == next, event.asks[type] == type);
        while (!Executing().empty()) {
            CompleteExecuting();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LiveEvent, ::testing::ValuesIn(livetest::AllEvents()),
                         livetest::NameOf);

TEST_F(LiveEvents, EveryPublishStateCompletesIsNamedAndGoesOn) {
    for (const int type : {StartPublish, StopPublish}) {
        for (const auto& state : s_states) {
            Execute(type);
            OnEngineThread([&state](auto& cb) {
                cb.OnPublishStateUpdate(static_cast<Mediq::VaxoAVState>(state.state), "x");
            });
            Settle();
            EXPECT_EQ(Executing(), "");
            EXPECT_EQ(
                OfThread(TakeLines(), livetest::Worker2()),
                (Texts{std::string("log 3 CmdProxy: OnPublishStateUpdate, call back state: ") +
                           state.name + ", stream: x",
                       "app: OnPublishStateUpdate(" + std::to_string(state.state) + ", x)"}));
        }
    }
}

TEST_F(LiveEvents, EveryPlayStateCompletesIsNamedAndGoesOn) {
    for (const int type : {PlayStream, StopStream}) {
        for (const auto& state : s_states) {
            Execute(type);
            OnEngineThread([&state](auto& cb) {
                cb.OnPlayStateUpdate(static_cast<Mediq::VaxoAVState>(state.state), "s1");
            });
            Settle();
            EXPECT_EQ(Executing(), "");
            EXPECT_EQ(OfThread(TakeLines(), livetest::Worker2()),
                      (Texts{std::string("log 3 CmdProxy: OnPlayStateUpdate, call back state: ") +
                                 state.name + ", stream ID: s1",
                             "app: OnPlayStateUpdate(" + std::to_string(state.state) + ", s1)"}));
        }
    }
}

TEST_F(LiveEvents, AnErrorCompletesAnEntryAndALeaveLikeASuccess) {
    for (const unsigned int err : {0U, 1U, 0xFFFFFFFFU}) {
        Execute(GetInRoom);
        OnEngineThread([err](auto& cb) { cb.OnGetStreamList(err); });
        EXPECT_EQ(Executing(), "");
        Execute(LeaveRoom);
        OnEngineThread([err](auto& cb) { cb.OnLogout(err); });
        EXPECT_EQ(Executing(), "");
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnLogout(" + std::to_string(err) + ")"});
    }
}

TEST_F(LiveEvents, APlayIsToldByItsStreamByteForByte) {
    const struct {
        vaxo::strutf8 executing;
        vaxo::strutf8 event;
        bool same;
    } cases[] = {
        {"s1", "s1", true},
        {"s1", "S1", false},
        {"s1", "s", false},
        {"s1", "s12", false},
        {"s1", "s1 ", false},
        {"s1", "", false},
        {"", "s1", false},
        {"", "", true},
        {{"s\0a", 3}, {"s\0a", 3}, true},
        {{"s\0a", 3}, {"s\0b", 3}, false},
        {{"s\0a", 3}, "s", false},
        {"s", {"s\0", 2}, false},
        {"\xFF", "\xFF", true},
    };
    for (const VaxoAVMgrCmdType type : {PlayStream, StopStream}) {
        for (const auto& it : cases) {
            SCOPED_TRACE(Text(it.executing) + " / " + Text(it.event));
            HoldQueue(type, it.executing);
            const vaxothread_id engine = OnEngineThread(
                [&it](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, it.event); });
            Settle();
            EXPECT_EQ(Executing().empty(), it.same);
            const std::vector<livetest::Line> lines = TakeLines();
            const Texts own = OfThread(lines, engine);
            if (!it.same) {
                EXPECT_EQ(own,
                          Texts{"log 3 CmdProxy: OnPlayStateUpdate, not callback for this cmd"});
            }
            EXPECT_EQ(OfThread(lines, livetest::Worker2()).back(),
                      "app: OnPlayStateUpdate(0, " + Text(it.event) + ")");
            Free();
        }
    }
}

TEST_F(LiveEvents, AnotherStreamsEventLeavesThePlayAndItsOwnEndsIt) {
    HoldQueue(PlayStream, "b");
    OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "a"); });
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/b)");
    OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "b"); });
    Settle();
    EXPECT_EQ(Executing(), "");
    EXPECT_EQ(TakeOnly("app: "),
              (Texts{"app: OnPlayStateUpdate(0, a)", "app: OnPlayStateUpdate(0, b)"}));
}

TEST_F(LiveEvents, TheFormsThatNameAStreamByNumberDoNothingAtAll) {
    for (const int type : s_types) {
        Execute(type);
        OnEngineThread([](Strova::IVaxoLiveCallback& cb) {
            // By the interface that declares them, and by the one that gives them bodies.
            Mediq::IVaxoVECallback& base = cb;
            base.OnPublishStateUpdate(Mediq::AVStateBegin, 1U, 2U);
            base.OnPlayStateUpdate(Mediq::AVStateBegin, 1U, 2U, 3ULL);
            base.OnVideoSizeChanged(3ULL, 640, 480);
            cb.OnPublishStateUpdate(Mediq::AVStateEnd, 1U, 2U);
            cb.OnPlayStateUpdate(Mediq::AVStateEnd, 1U, 2U, 3ULL);
            cb.OnVideoSizeChanged(3ULL, 640, 480);
        });
        Settle();
        EXPECT_EQ(Take(), Texts());
        EXPECT_EQ(Executing(), ExecutingAs(type));
        Free();
    }
}

TEST_F(LiveEvents, AWaitingCommandIsNotCompletedBeforeItRuns) {
    HoldQueue(StopPublish, "");
    proxy->PlayStream("a", 0);
    proxy->GetStreamList("u", "n", "room1", 0);
    OnEngineThread([](auto& cb) {
        cb.OnPlayStateUpdate(Mediq::AVStateBegin, "a");
        cb.OnGetStreamList(0);
    });
    Settle();
    EXPECT_EQ(Executing(), "StopPublish(0/)");
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/a)", "GetInRoom(0/room1)"}));
}
