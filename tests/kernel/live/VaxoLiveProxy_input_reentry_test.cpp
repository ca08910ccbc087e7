// An application that calls everything from inside its callbacks, replaces its callback
// there, lets go of itself there, and ends the engine there.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "kernel/live/EveryOperation.h"

namespace {

using livetest::AnswerWhatExecutes;
using livetest::EngineCallback;
using livetest::EnginesAlive;
using livetest::EveryEvent;
using livetest::EveryOperation;
using livetest::Line;
using livetest::LiveEvent;
using livetest::LiveOperation;
using livetest::Note;
using livetest::OnlyOf;
using livetest::PoppedOf;
using livetest::RecordingApp;
using livetest::Settle;
using livetest::Split;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

class LiveReentry : public livetest::LiveProxyFixture {
protected:
    // The next event makes the application do this, once.
    void OnNextEvent(const std::function<void()>& run) {
        app->hook = [this, run](const std::string&) {
            app->hook = nullptr;
            run();
        };
    }

    void CallEveryOperation() {
        for (const LiveOperation& operation : EveryOperation()) {
            EXPECT_EQ(operation.call(*proxy, app), operation.result) << operation.name;
        }
        Note("called by the application");
    }

    // All of them wait behind a play; then they run in the order of the calls.
    void ExpectThatNothingIsLost(const LiveEvent& event) {
        Texts commands, now, later;
        for (const LiveOperation& operation : EveryOperation()) {
            for (const std::string& command : Split(operation.commands)) {
                commands.push_back(command);
            }
            for (const std::string& call : Split(operation.now, "engine: ")) {
                now.push_back(call);
            }
            for (const std::string& call : Split(operation.later, "engine: ")) {
                later.push_back(call);
            }
        }
        later.emplace_back("engine: destroyed");
        Settle();
        ASSERT_EQ(Executing(), "PlayStream(0/hold)");
        Texts lines = Take();
        EXPECT_EQ(OnlyOf(lines, "called by the application").size(), 1U);
        EXPECT_EQ(OnlyOf(lines, "engine: "), now);
        EXPECT_EQ(OnlyOf(lines, "app: "), Texts{std::string("app: ") + event.heard});
        AnswerWhatExecutes();
        Settle();
        lines = Take();
        EXPECT_EQ(PoppedOf(lines), commands);
        EXPECT_EQ(OnlyOf(lines, "engine: "), later);
        // Whatever came while the Logout waited is kept from the application.
        EXPECT_EQ(OnlyOf(lines, "app: "), Texts{"app: OnLogout(0)"});
        EXPECT_EQ(Executing(), "");
    }

    // Fires from a thread of the engine's; its id.
    static vaxothread_id FireFromThread(const LiveEvent& event) {
        vaxothread_id id = 0;
        std::thread([&] {
            id = vaxothread_selfid();
            event.fire(*EngineCallback());
        }).join();
        return id;
    }

    // Worker 2 does nothing until the end of its life.
    class WorkerTwoBusy {
    public:
        WorkerTwoBusy() {
            const std::shared_future<void> end(m_end.get_future());
            CVaxoQueueRunner::GetSharedInstance()->AsyncRun([end] { end.wait(); }, 2);
        }
        ~WorkerTwoBusy() { m_end.set_value(); }
        WorkerTwoBusy(const WorkerTwoBusy&) = delete;
        WorkerTwoBusy& operator=(const WorkerTwoBusy&) = delete;

    private:
        std::promise<void> m_end;
    };
};

}  // namespace

TEST_F(LiveReentry, EveryOperationMayBeCalledFromInsideEveryEvent) {
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        livetest::ResetScript();
        StartEngine();
        HoldWithPlay("hold");
        livetest::ScriptEveryOperation();
        OnNextEvent([this] { CallEveryOperation(); });
        FireFromThread(event);
        ExpectThatNothingIsLost(event);
    }
}

// A snapshot then reaches the application on worker 0, in the middle of a pass; the other
// events find worker 0 in the call.
TEST_F(LiveReentry, EveryOperationMayBeCalledFromInsideEveryEventInsideAnEngineCall) {
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        livetest::ResetScript();
        StartEngine();
        livetest::ScriptEveryOperation();
        vaxothread_id thread = 0;
        OnNextEvent([&] {
            thread = vaxothread_selfid();
            CallEveryOperation();
        });
        TheScript().inside["PlayStream"] = [&] {
            Take();
            TheScript().inside["PlayStream"] = &AnswerWhatExecutes;
            event.fire(*EngineCallback());
        };
        proxy->PlayStream("hold", 0);
        ExpectThatNothingIsLost(event);
        EXPECT_EQ(thread, event.isDirect ? livetest::Worker0() : livetest::Worker2());
    }
}

TEST_F(LiveReentry, AnApplicationThatLetsGoOfItselfEndsWithTheDelivery) {
    StartEngine();
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        auto last = std::make_shared<RecordingApp>();
        last->gone = [] { Note("gone"); };
        last->hook = [&](const std::string&) {
            last.reset();
            Note("let go");
        };
        proxy->SetCallback(last);
        Take();
        const vaxothread_id engine = FireFromThread(event);
        Settle();
        Texts texts;
        for (const Line& line : TakeLines()) {
            if (line.text.compare(0, 4, "log ") != 0) {
                texts.push_back(line.text);
                EXPECT_EQ(line.thread, event.isDirect ? engine : livetest::Worker2()) << line.text;
            }
        }
        EXPECT_EQ(texts, (Texts{std::string("app: ") + event.heard, "let go", "gone"}));
        event.fire(*EngineCallback());
        Settle();
        EXPECT_EQ(OnlyOf(Take(), "app: "), Texts());
    }
}

TEST_F(LiveReentry, AnApplicationThatLetsGoOfItselfHearsWhatIsUnderWay) {
    StartEngine();
    auto last = std::make_shared<RecordingApp>();
    last->gone = [] { Note("app: gone"); };
    last->hook = [&](const std::string&) {
        last.reset();
        Note("app: let go");
    };
    proxy->SetCallback(last);
    {
        const WorkerTwoBusy busy;
        EngineCallback()->OnCountsUpdate(1, 0);
        EngineCallback()->OnCountsUpdate(2, 0);
    }
    Settle();
    EngineCallback()->OnCountsUpdate(3, 0);
    Settle();
    EXPECT_EQ(TakeOnly("app: "),
              Split("OnCountsUpdate(1, 0)|let go|OnCountsUpdate(2, 0)|let go|gone", "app: "));
}

TEST_F(LiveReentry, AnotherCallbackSetInsideACallbackHearsWhatTheEngineSaysLater) {
    StartEngine();
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        const auto other = std::make_shared<RecordingApp>();
        other->hook = [](const std::string&) { Note("app: that was the other"); };
        proxy->SetCallback(app);
        OnNextEvent([&] { EXPECT_EQ(proxy->SetCallback(other), 0); });
        {
            const WorkerTwoBusy busy;
            event.fire(*EngineCallback());
            // Nobody has called the application yet, unless the event is direct.
            EngineCallback()->OnCountsUpdate(1, 1);
        }
        Settle();
        EngineCallback()->OnCountsUpdate(2, 2);
        Settle();
        Texts expected = {std::string("app: ") + event.heard, "app: OnCountsUpdate(1, 1)"};
        if (event.isDirect) {
            expected.emplace_back("app: that was the other");
        }
        expected.emplace_back("app: OnCountsUpdate(2, 2)");
        expected.emplace_back("app: that was the other");
        EXPECT_EQ(TakeOnly("app: "), expected);
    }
}

TEST_F(LiveReentry, NoCallbackSetInsideACallbackEndsTheEvents) {
    StartEngine();
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        proxy->SetCallback(app);
        OnNextEvent([&] { EXPECT_EQ(proxy->SetCallback({}), 0); });
        FireFromThread(event);
        Settle();
        EngineCallback()->OnCountsUpdate(2, 2);
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts{std::string("app: ") + event.heard});
    }
}

TEST_F(LiveReentry, TheEngineMayBeEndedAndBegunInsideEveryEvent) {
    for (const LiveEvent& event : EveryEvent()) {
        SCOPED_TRACE(event.name);
        StartEngine();
        OnNextEvent([this] {
            EXPECT_EQ(proxy->Uninit(), 0);
            EXPECT_EQ(proxy->GetLiveChannel(), "");
            EXPECT_EQ(proxy->PlayStream("s1", 0), 0);
            EXPECT_EQ(proxy->Init(8, Sign("next")), 0);
            EXPECT_EQ(proxy->StartPreview(), 0);
        });
        FireFromThread(event);
        Settle();
        const Texts lines = Take();
        Texts calls = OnlyOf(lines, "engine: ");
        // The getter may still find the engine, or the one that follows.
        calls.erase(std::remove(calls.begin(), calls.end(), "engine: GetLiveChannel()"),
                    calls.end());
        EXPECT_EQ(calls, Split("Uninit()|destroyed|created|SetCallback()|Init(8, next)|"
                               "StartPreview()",
                               "engine: "));
        EXPECT_EQ(OnlyOf(lines, "app: "),
                  (Texts{std::string("app: ") + event.heard, "app: OnPlayStateUpdate(3, s1)"}));
        EXPECT_EQ(EnginesAlive(), 1);
        EXPECT_EQ(Executing(), "");
    }
}
