// The application's callback object between the engine and its last event: held weakly, held
// strongly for the length of a delivery, replaced and let go at any moment.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveEventCases.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "utils/VaxoQueueRunner.h"

namespace {

using livetest::Beginning;
using livetest::Concat;
using livetest::EventCase;
using livetest::OfThread;
using livetest::OnEngineThread;
using livetest::RecordingApp;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;

class LiveCallback : public livetest::LiveEventFixture {
protected:
    // An application of the test's own, which says when it goes, instead of the fixture's.
    std::shared_ptr<RecordingApp> Own() {
        const auto own = std::make_shared<RecordingApp>();
        own->gone = [] { livetest::Note("app: gone"); };
        proxy->SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>(own));
        return own;
    }
};

}  // namespace

TEST_F(LiveCallback, TheProxyHoldsItForTheDeliveryAlone) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        const auto own = Own();
        EXPECT_EQ(own.use_count(), 1);
        livetest::WorkerHeld busy(2);
        for (int given = 1; given <= 3; ++given) {
            OnEngineThread(event.fire);
            EXPECT_EQ(own.use_count(), event.direct ? 1 : 1 + given);
        }
        busy.Release();
        Settle();
        EXPECT_EQ(TakeOnly("app: ").size(), 3U);
        EXPECT_EQ(own.use_count(), 1);
    });
}

TEST_F(LiveCallback, LetGoBeforeTheDeliveryItStillHearsAndGoesOnWorkerTwo) {
    ForEach(livetest::PostedEvents(), [this](const EventCase& event) {
        auto own = Own();
        livetest::WorkerHeld busy(2);
        OnEngineThread(event.fire);
        proxy->SetCallback({});
        own.reset();
        EXPECT_EQ(TakeOnly("app: "), Texts());
        busy.Release();
        Settle();
        EXPECT_EQ(OfThread(TakeLines(), livetest::Worker2()),
                  Concat(event.delivered, {"app: gone"}));
    });
}

TEST_F(LiveCallback, AnotherOneSetMeanwhileHearsTheNextEventAlone) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        auto own = Own();
        {
            const livetest::WorkerHeld busy(2);
            OnEngineThread(event.fire);
            proxy->SetCallback(app);
            OnEngineThread([](auto& cb) { cb.OnReconnected("to the next one"); });
            own.reset();
        }
        Settle();
        // The former one goes when its event is over, before the next event begins.
        Texts expected = {"app: gone", "app: OnReconnected(to the next one)"};
        expected = Concat({event.delivered.back()}, expected);
        EXPECT_EQ(TakeOnly("app: "), expected);
    });
}

TEST_F(LiveCallback, OneThatIsGoneHearsNothingAndTheCommandIsCompleted) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        for (int type = 0; type <= 6; ++type) {
            Execute(type);
            Own().reset();
            Take();
            OnEngineThread(event.fire);
            Settle();
            EXPECT_EQ(TakeOnly("app: "), Texts());
            EXPECT_EQ(Executing(), event.asks[type] == type ? "" : ExecutingAs(type));
            Free();
        }
    });
}

TEST_F(LiveCallback, OneSetAfterTheEventHearsNothingOfIt) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        proxy->SetCallback({});
        livetest::WorkerHeld busy(2);
        OnEngineThread(event.fire);
        proxy->SetCallback(app);
        busy.Release();
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts());
    });
}

TEST_F(LiveCallback, AnUninitMeanwhileStopsNothingOnItsWay) {
    ForEach(livetest::AllEvents(), [this](const EventCase& event) {
        {
            const livetest::WorkerHeld busy(2);
            OnEngineThread(event.fire);
            proxy->Uninit();
            CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
            EXPECT_FALSE(proxy->GetLive());
        }
        Settle();
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
    });
}

TEST_F(LiveCallback, LetGoInsideItsLastEventItGoesWhenThatIsOver) {
    auto own = Own();
    RecordingApp* const plain = own.get();
    plain->hook = [this, &own](const std::string&) {
        proxy->SetCallback({});
        own.reset();
        livetest::Note("app: still inside");
    };
    const vaxothread_id engine = OnEngineThread([](auto& cb) { cb.OnCountsUpdate(1, 2); });
    Settle();
    const std::vector<livetest::Line> lines = TakeLines();
    EXPECT_EQ(OfThread(lines, livetest::Worker2()),
              (Texts{"app: OnCountsUpdate(1, 2)", "app: still inside", "app: gone"}));
    EXPECT_EQ(OfThread(lines, engine), Texts());
}

TEST_F(LiveCallback, LetGoInsideASnapshotItGoesOnTheEnginesThread) {
    auto own = Own();
    own->hook = [&own](const std::string&) {
        own.reset();
        livetest::Note("app: still inside");
    };
    const vaxothread_id engine = OnEngineThread([](auto& cb) {
        cb.OnPreviewSnapshot(nullptr);
        cb.OnRenderSnapshot(nullptr, 1);  // nobody there any more
        livetest::Note("app: both methods have returned");
    });
    EXPECT_EQ(OfThread(TakeLines(), engine),
              (Texts{"app: OnPreviewSnapshot(null)", "app: still inside", "app: gone",
                     "app: both methods have returned"}));
}

TEST_F(LiveCallback, ASnapshotMayComeInTheMiddleOfAnotherEvent) {
    const livetest::Gate entered;
    const livetest::Gate leave;
    app->hook = [entered, leave](const std::string& event) {
        if (event.find("Snapshot") == std::string::npos) {
            entered.Open();
            leave.Pass();
        }
    };
    OnEngineThread([](auto& cb) { cb.OnCountsUpdate(1, 2); });
    entered.Pass();
    OnEngineThread([](auto& cb) { cb.OnPreviewSnapshot(nullptr); });
    EXPECT_EQ(TakeOnly("app: "),
              (Texts{"app: OnCountsUpdate(1, 2)", "app: OnPreviewSnapshot(null)"}));
    leave.Open();
    Settle();
}

TEST_F(LiveCallback, HoweverFastTheDeliveryItNeverGoesOnTheEnginesThread) {
    // The worker may be done with an event before the thread that posted it is.
    std::shared_ptr<RecordingApp> own;
    std::vector<vaxothread_id> threads;
    const vaxothread_id worker = livetest::Worker2();
    for (int i = 0; i < 200; ++i) {
        own = std::make_shared<RecordingApp>();
        const livetest::Gate over;
        own->hook = [&own](const std::string&) { own.reset(); };
        own->gone = [&threads, over] {
            threads.push_back(vaxothread_selfid());
            over.Open();
        };
        proxy->SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>(own));
        livetest::EngineCallback()->OnCountsUpdate(1, 2);
        over.Pass();
    }
    EXPECT_EQ(threads, std::vector<vaxothread_id>(200, worker));
}

TEST_F(LiveCallback, ReplacedAgainAndAgainEachEventIsHeardOnce) {
    const int events = 300;
    std::thread engine([] {
        const auto callback = livetest::EngineCallback();
        for (int i = 0; i < events; ++i) {
            callback->OnCountsUpdate(static_cast<unsigned int>(i), 0);
            callback->OnPreviewSnapshot(nullptr);
        }
    });
    const auto other = std::make_shared<RecordingApp>();
    for (int i = 0; i < events; ++i) {
        proxy->SetCallback(other);
        proxy->SetCallback(app);
    }
    engine.join();
    Settle();
    Texts posted;
    for (const livetest::Line& line : Beginning(TakeLines(), "app: ")) {
        if (line.text != "app: OnPreviewSnapshot(null)") {
            posted.push_back(line.text);
        }
    }
    ASSERT_EQ(posted.size(), 300U);
    for (int i = 0; i < events; ++i) {
        EXPECT_EQ(posted[static_cast<std::size_t>(i)],
                  "app: OnCountsUpdate(" + std::to_string(i) + ", 0)");
    }
}
