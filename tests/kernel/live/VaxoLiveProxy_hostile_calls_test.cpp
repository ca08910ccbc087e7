// An engine that calls the proxy from inside its own calls and from its destructor.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "kernel/live/EveryOperation.h"
#include "live/VaxoLiveShow.h"
#include "support/PrivateAccess.h"
#include "vaxoslot.h"

namespace {

struct EnginePointer {
    typedef std::shared_ptr<Strova::IVaxoLive> Strova::CVaxoLiveProxy::*type;
};

}  // namespace

template struct PrivateAccess<EnginePointer, &Strova::CVaxoLiveProxy::m_pLive>;

namespace {

using livetest::AnswerWhatExecutes;
using livetest::EngineCallback;
using livetest::EnginesAlive;
using livetest::EveryEvent;
using livetest::EveryOperation;
using livetest::LiveEvent;
using livetest::LiveOperation;
using livetest::Note;
using livetest::OnlyOf;
using livetest::PoppedOf;
using livetest::ScriptEveryOperation;
using livetest::Settle;
using livetest::Split;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

// Does something in its destructor.
class DyingEngine final : public Strova::CVaxoLiveShow {
public:
    explicit DyingEngine(std::function<void()> last) : m_last(std::move(last)) {}
    ~DyingEngine() override { m_last(); }

private:
    std::function<void()> m_last;
};

class HostileCalls : public livetest::LiveProxyFixture {
protected:
    // As an Init does, with an engine of the test's.
    void StartDyingEngine(std::function<void()> last) {
        CVaxoQueueRunner::GetSharedInstance()->SyncRun(
            [&] {
                const std::shared_ptr<Strova::IVaxoLive> engine =
                    std::make_shared<DyingEngine>(std::move(last));
                engine->SetCallback(std::shared_ptr<Strova::IVaxoLiveCallback>(proxy));
                vaxo::slot_exchange(Private<EnginePointer>(*proxy), engine);
            },
            0);
        Take();
    }

    // Once, an engine call of this name asks the engine and sets something through the
    // proxy; the event that the call waits for comes before or after that.
    void CallBackFrom(const std::string& operation, bool answersFirst) {
        const std::function<void()> answer = TheScript().inside[operation];
        TheScript().inside[operation] = [this, operation, answer, answersFirst] {
            TheScript().inside[operation] = answer ? answer : [] {};
            if (answer && answersFirst) {
                answer();
            }
            EXPECT_EQ(proxy->GetLiveChannel(), "abc");
            EXPECT_EQ(proxy->SetVideoBitrate(77), 0);
            if (answer && !answersFirst) {
                answer();
            }
        };
    }

    // What the engine is called with when `operation` is called and its calls call back.
    // The calls that are repeated and the getters do not.
    Texts CallsWithCallsBack(const LiveOperation& operation, bool answersFirst) {
        Texts calls;
        Texts later;
        std::string former;
        for (const std::string& call : Split(operation.later)) {
            calls.push_back("engine: " + call);
            const std::string name = call.substr(0, call.find('('));
            if (name.compare(0, 3, "Get") == 0 && call != "GetStreamList(user, name, room1, 35)") {
                continue;
            }
            if (name != former) {
                CallBackFrom(name, answersFirst);
                calls.emplace_back("engine: GetLiveChannel()");
                later.emplace_back("engine: SetVideoBitrate(77)");
            }
            former = name;
        }
        calls.insert(calls.end(), later.begin(), later.end());
        return calls;
    }

    void EveryCallCallsBack(bool answersFirst);
};

void HostileCalls::EveryCallCallsBack(bool answersFirst) {
    for (const LiveOperation& operation : EveryOperation()) {
        SCOPED_TRACE(operation.name);
        if (operation.name == std::string("Uninit")) {
            continue;  // nothing is left to set
        }
        livetest::ResetScript();
        StartEngine();
        HoldWithPlay("hold");
        ScriptEveryOperation();
        const Texts calls = CallsWithCallsBack(operation, answersFirst);
        EXPECT_EQ(operation.call(*proxy, app), operation.result);
        Take();
        AnswerWhatExecutes();
        Settle();
        EXPECT_EQ(TakeOnly("engine: "), calls);
        EXPECT_EQ(Executing(), "");
    }
}

}  // namespace

TEST_F(HostileCalls, EveryEngineCallMayCallTheProxyOnceItIsAnswered) {
    EveryCallCallsBack(true);
}

TEST_F(HostileCalls, EveryEngineCallMayCallTheProxyBeforeItIsAnswered) {
    EveryCallCallsBack(false);
}

TEST_F(HostileCalls, AnEngineMayLogOutFromInsideItsCall) {
    StartEngine();
    ScriptEveryOperation();
    TheScript().inside["PlayStream"] = [this] {
        EXPECT_EQ(proxy->Logout(), 0);
        AnswerWhatExecutes();
    };
    proxy->PlayStream("s1", 0);
    Settle();
    const Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "engine: "),
              Split("PlayStream(s1, 0)|GetStreams()|StopPlayStream(l1)|StopPlayStream(l2)|"
                    "StopPublishing()|GetCurrentPublishStreamID()|Logout()",
                    "engine: "));
    // All that comes while the Logout waits is kept from the application.
    EXPECT_EQ(OnlyOf(lines, "app: "), Texts{"app: OnLogout(0)"});
    EXPECT_EQ(Executing(), "");
}

TEST_F(HostileCalls, AnEngineOutlivesTheCallInWhichItAsksForItsEnd) {
    StartEngine();
    TheScript().inside["PlayStream"] = [this] {
        EXPECT_EQ(proxy->Uninit(), 0);
        AnswerWhatExecutes();
        EXPECT_EQ(proxy->GetLiveChannel(), "");  // it is there: the engine is asked
        EXPECT_EQ(EnginesAlive(), 1);
        Note("engine: the call ends");
    };
    proxy->PlayStream("s1", 0);
    Settle();
    EXPECT_EQ(
        TakeOnly("engine: "),
        Split("PlayStream(s1, 0)|GetLiveChannel()|the call ends|Uninit()|destroyed", "engine: "));
    EXPECT_EQ(EnginesAlive(), 0);
}

TEST_F(HostileCalls, AnInitFromInsideAnUninitMakesTheNextEngine) {
    StartEngine();
    TheScript().inside["Uninit"] = [this] {
        TheScript().inside.erase("Uninit");
        EXPECT_EQ(proxy->Init(8, Sign("next")), 0);
    };
    proxy->Uninit();
    Settle();
    EXPECT_EQ(TakeOnly("engine: "),
              Split("Uninit()|destroyed|created|SetCallback()|Init(8, next)", "engine: "));
}

// The first of the events that end commands lets go of the lock that the pass holds: what
// the pass runs after that must not need it.
TEST_F(HostileCalls, EventsFromInsideACallThatWaitsForNoneEndNothing) {
    StartEngine();
    HoldWithPlay("hold");
    ScriptEveryOperation();
    TheScript().inside["SetView"] = [] {
        for (const LiveEvent& event : EveryEvent()) {
            event.fire(*EngineCallback());
        }
    };
    TheScript().inside.erase("PlayStream");
    proxy->SetView(nullptr, 0);
    proxy->StopPlayStream("s2");
    proxy->PlayStream("s1", 0);
    proxy->SetFilter(1);
    Take();
    AnswerWhatExecutes();
    Settle();
    Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "engine: "),
              Split("SetView(null, 0)|StopPlayStream(s2)|PlayStream(s1, 0)", "engine: "));
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    for (const LiveEvent& event : EveryEvent()) {
        EXPECT_EQ(OnlyOf(lines, std::string("app: ") + event.heard).size(), 1U) << event.heard;
    }
    AnswerWhatExecutes();
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), Texts{"engine: SetFilter(1)"});
}

TEST_F(HostileCalls, TheDestructorMayCallEveryOperation) {
    ScriptEveryOperation();
    Texts expected = {"SyncCmd(101/)"};
    for (const LiveOperation& operation : EveryOperation()) {
        const Texts commands = Split(operation.commands);
        expected.insert(expected.end(), commands.end() - (commands.empty() ? 0 : 1),
                        commands.end());
    }
    StartDyingEngine([this] {
        for (const LiveOperation& operation : EveryOperation()) {
            EXPECT_EQ(operation.call(*proxy, app), operation.bare) << operation.name;
        }
        Note("last words");
    });
    proxy->Uninit();
    Settle();
    const Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "last words").size(), 1U);
    EXPECT_EQ(PoppedOf(lines), expected);
    EXPECT_EQ(Executing(), "");
    EXPECT_EQ(EnginesAlive(), 0);  // the one of the Init among them is gone too
}

TEST_F(HostileCalls, TheDestructorMayFireEveryEvent) {
    StartDyingEngine([] {
        for (const LiveEvent& event : EveryEvent()) {
            event.fire(*EngineCallback());
        }
    });
    proxy->Uninit();
    proxy->PlayStream("s1", 0);
    Settle();
    Texts expected;
    for (const LiveEvent& event : EveryEvent()) {
        expected.push_back(std::string("app: ") + event.heard);
    }
    expected.emplace_back("app: OnPlayStateUpdate(3, s1)");
    EXPECT_EQ(TakeOnly("app: "), expected);
    EXPECT_EQ(Executing(), "");
}

// A Logout that is reading the stream list when an Uninit runs is the last to use the
// engine: it is destroyed on the application's thread, and may call back from there.
TEST_F(HostileCalls, TheLogoutThatUsesTheEngineLastDestroysIt) {
    ScriptEveryOperation();
    StartDyingEngine([this] {
        Note("last words");
        EXPECT_EQ(proxy->GetLiveChannel(), "");
        EXPECT_EQ(proxy->SetFilter(1), 0);
        EngineCallback()->OnGetStreamList(5);
    });
    TheScript().inside["GetStreams"] = [this] {
        EXPECT_EQ(proxy->Uninit(), 0);
        CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
        EXPECT_EQ(EnginesAlive(), 1);
    };
    EXPECT_EQ(proxy->Logout(), 0);
    EXPECT_EQ(EnginesAlive(), 0);
    Settle();

    Texts texts;
    for (const livetest::Line& line : livetest::TakeLines()) {
        texts.push_back(line.text);
        if (line.text == "last words") {
            EXPECT_EQ(line.thread, vaxothread_selfid());
        }
    }
    EXPECT_EQ(PoppedOf(texts), Split("SyncCmd(101/)|SyncCmd(119/)|StopStream(0/l1)|"
                                     "StopStream(0/l2)|StopPublish(0/)|LeaveRoom(0/)"));
    const Texts heard = OnlyOf(texts, "app: ");
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ(heard.front(), "app: OnGetStreamList(5)");
    EXPECT_EQ(heard.back(), "app: OnLogout(4294967295)");
    EXPECT_EQ(Executing(), "");
}
