// An engine whose events come from many threads at once, whose events come when it is
// gone, and whose answer never comes.
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/EveryOperation.h"
#include "kernel/live/HostileEngine.h"

namespace {

using livetest::AnswerWhatExecutes;
using livetest::EngineCallback;
using livetest::EnginesAlive;
using livetest::EveryEvent;
using livetest::EveryOperation;
using livetest::HostileCast;
using livetest::LinesOf;
using livetest::LiveEvent;
using livetest::LiveOperation;
using livetest::OnlyOf;
using livetest::PoppedOf;
using livetest::Settle;
using livetest::Split;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

long Count(const Texts& lines, const std::string& line) {
    return static_cast<long>(std::count(lines.begin(), lines.end(), line));
}

// Runs the function on so many threads, which begin together.
template <class Function>
void OnThreads(unsigned count, Function function) {
    std::promise<void> begin;
    const std::shared_future<void> begun(begin.get_future());
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; ++i) {
        threads.emplace_back([=] {
            begun.wait();
            function(i);
        });
    }
    begin.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class HostileThreads : public livetest::LiveProxyFixture {
protected:
    // The first command holds the queue, the next and a setter wait.
    void HoldAndWait(const HostileCast& cast) {
        livetest::ResetScript();
        if (cast.first.kind == livetest::HoldLogout) {
            TheScript().inside["StopPublishing"] = &AnswerWhatExecutes;
        }
        StartEngine();
        Ask(*proxy, cast.first);
        Settle();
        ASSERT_EQ(Executing(), cast.first.printed);
        Ask(*proxy, cast.next);
        EXPECT_EQ(proxy->SetFilter(9), 0);
        Settle();
        Take();
    }

    // Every thread fires the event that the first command waits for. The lines.
    Texts FireFromFourThreads(const HostileCast& cast) {
        HoldAndWait(cast);
        OnThreads(4, [&](unsigned) { Report(cast.first, 0, nullptr); });
        Settle();
        return Take();
    }

    void AnswerAll() {
        for (int left = 3; left > 0 && !Executing().empty(); --left) {
            AnswerWhatExecutes();
            Settle();
        }
        EXPECT_EQ(Executing(), "");
    }
};

}  // namespace

TEST_F(HostileThreads, OneOfFourThreadsEndsACommand) {
    for (unsigned kind = livetest::HoldEnter; kind <= livetest::HoldStopPublish; kind *= 2) {
        const HostileCast cast = CastFor(kind, livetest::BehindOther);
        SCOPED_TRACE(cast.first.printed);
        for (int round = 0; round < 10; ++round) {
            const Texts lines = FireFromFourThreads(cast);
            EXPECT_EQ(Executing(), cast.next.printed);
            EXPECT_EQ(Count(lines, LinesOf(cast, "done A")[0]), 1);
            EXPECT_EQ(OnlyOf(lines, "engine: "), LinesOf(cast, "call N"));
            EXPECT_EQ(OnlyOf(lines, "app: "), Texts(4, LinesOf(cast, "A 0").back()));
            AnswerAll();
            EXPECT_EQ(Count(Take(), cast.marker.call), 1);
        }
    }
}

// One that is late may end the next command early. It was begun all the same, once.
TEST_F(HostileThreads, FourThreadsLoseNothingThoughTheNextCommandIsOfTheSameType) {
    for (unsigned kind = livetest::HoldEnter; kind <= livetest::HoldStopPublish; kind *= 2) {
        const HostileCast cast = CastFor(kind, livetest::BehindSame);
        SCOPED_TRACE(cast.first.printed);
        for (int round = 0; round < 10; ++round) {
            Texts lines = FireFromFourThreads(cast);
            const auto heard = OnlyOf(lines, "app: " + cast.first.event).size();
            const Texts abandoned = OnlyOf(lines, LinesOf(cast, "abandon A")[0]);
            EXPECT_EQ(heard + abandoned.size(), 4U);
            AnswerAll();
            const Texts rest = Take();
            lines.insert(lines.end(), rest.begin(), rest.end());
            EXPECT_EQ(Count(lines, cast.next.call), 1);
            EXPECT_EQ(Count(lines, cast.marker.call), 1);
            const Texts calls = OnlyOf(lines, "engine: ");
            ASSERT_FALSE(calls.empty());
            EXPECT_EQ(calls.back(), cast.marker.call);
        }
    }
}

TEST_F(HostileThreads, EventsAfterTheEnginesEndAreHeardAndEndNothing) {
    StartEngine();
    const auto kept = EngineCallback();
    proxy->Uninit();
    Settle();
    Take();
    ASSERT_EQ(EnginesAlive(), 0);
    Texts expected;
    std::thread([&] {
        for (const LiveEvent& event : EveryEvent()) {
            event.fire(*kept);
        }
    }).join();
    for (const LiveEvent& event : EveryEvent()) {
        expected.push_back(std::string("app: ") + event.heard);
    }
    Settle();
    const Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "app: "), expected);
    EXPECT_EQ(PoppedOf(lines), Texts());
    EXPECT_EQ(Executing(), "");
}

// All engines report to the one proxy: whose event it is cannot be told.
TEST_F(HostileThreads, AFormerEnginesEventEndsACommandOfTheNextEngine) {
    StartEngine();
    const auto kept = EngineCallback();
    auto former = proxy->GetLive();
    proxy->Uninit();
    StartEngine();
    EXPECT_EQ(EnginesAlive(), 2);
    EXPECT_NE(proxy->GetLive(), former);

    HoldWithPlay("s1");
    proxy->StartPublishing("title", "p1", "room1");
    proxy->SetFilter(1);
    kept->OnPlayStateUpdate(Mediq::AVStateEnd, "s2");
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    kept->OnPlayStateUpdate(Mediq::AVStateEnd, "s1");
    Settle();
    EXPECT_EQ(Executing(), "StartPublish(0/p1)");
    kept->OnPublishStateUpdate(Mediq::AVStateEnd, "s1");
    Settle();
    EXPECT_EQ(Executing(), "");

    Take();
    former.reset();
    EXPECT_EQ(Take(), Texts{"engine: destroyed"});
    EXPECT_EQ(EnginesAlive(), 1);
}

TEST_F(HostileThreads, EventsDuringUninitAndInitLoseNothing) {
    const unsigned rounds = 20;
    const unsigned fired = 200;
    StartEngine();
    const auto kept = EngineCallback();
    ASSERT_TRUE(kept);
    TheScript().inside["PlayStream"] = &AnswerWhatExecutes;
    OnThreads(3, [&](unsigned thread) {
        for (unsigned i = 0; thread < 2 && i < fired; ++i) {
            kept->OnCountsUpdate(thread, i);
            kept->OnPlayStateUpdate(Mediq::TempBroken, "none");
            kept->OnGetStreamList(0);
        }
        for (unsigned i = 0; thread == 2 && i < rounds; ++i) {
            EXPECT_EQ(proxy->PlayStream(std::to_string(i).c_str(), 0), 0);
            EXPECT_EQ(proxy->Uninit(), 0);
            EXPECT_EQ(proxy->Init(i, Sign("key")), 0);
            proxy->GetLiveChannel();  // keeps step with the commands
        }
    });
    Settle();
    const Texts lines = Take();
    for (const char* const thread : {"0", "1"}) {
        Texts expected;
        for (unsigned i = 0; i < fired; ++i) {
            expected.push_back(std::string("app: OnCountsUpdate(") + thread + ", " +
                               std::to_string(i) + ")");
        }
        EXPECT_EQ(OnlyOf(lines, std::string("app: OnCountsUpdate(") + thread), expected);
    }
    EXPECT_EQ(OnlyOf(lines, "app: OnPlayStateUpdate(2, none)").size(), 2 * fired);
    EXPECT_EQ(OnlyOf(lines, "app: OnGetStreamList(0)").size(), 2 * fired);
    for (const char* const call : {"PlayStream(", "Uninit()", "destroyed", "created", "Init("}) {
        EXPECT_EQ(OnlyOf(lines, std::string("engine: ") + call).size(), rounds) << call;
    }
    EXPECT_EQ(Executing(), "");
    EXPECT_EQ(EnginesAlive(), 1);
}

// They take no part in the queue, so a call that a pass is in may wait for them.
TEST_F(HostileThreads, EventsThatAnswerNothingDoNotWaitForTheCallTheyComeIn) {
    StartEngine();
    const Texts besides = {"OnPreviewSnapshot", "OnRenderSnapshot",   "OnStreamUpdate",
                           "OnCountsUpdate",    "OnVideoSizeChanged", "OnDisconnected",
                           "OnReconnected"};
    TheScript().inside["PlayStream"] = [&] {
        std::thread([&] {
            for (const LiveEvent& event : EveryEvent()) {
                if (std::find(besides.begin(), besides.end(), event.name) != besides.end()) {
                    event.fire(*EngineCallback());
                }
            }
        }).join();
    };
    proxy->PlayStream("s1", 0);
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    const Texts lines = TakeOnly("app: ");
    ASSERT_EQ(lines.size(), besides.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].find("app: " + besides[i] + "("), 0U) << lines[i];
    }
}

TEST_F(HostileThreads, CallsAreTakenAndGettersAnswerWhileAnAnswerNeverComes) {
    StartEngine();
    HoldWithPlay("hold");
    livetest::ScriptEveryOperation();
    Texts commands, now, later;
    const auto add = [](Texts& to, const Texts& more) {
        to.insert(to.end(), more.begin(), more.end());
    };
    for (const LiveOperation& operation : EveryOperation()) {
        EXPECT_EQ(operation.call(*proxy, app), operation.result) << operation.name;
        add(commands, Split(operation.commands));
        add(now, Split(operation.now, "engine: "));
        add(later, Split(operation.later, "engine: "));
    }
    Settle();
    Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "engine: "), now);
    EXPECT_EQ(PoppedOf(lines), Texts());
    EXPECT_EQ(Executing(), "PlayStream(0/hold)");

    AnswerWhatExecutes();
    Settle();
    lines = Take();
    EXPECT_EQ(PoppedOf(lines), commands);
    later.emplace_back("engine: destroyed");
    EXPECT_EQ(OnlyOf(lines, "engine: "), later);
    EXPECT_EQ(Executing(), "");
}
