#include "engine/show/Reports.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "engine/base/EventDelivery.h"
#include "kernel/live/RecordingApp.h"

namespace {

using livetest::RecordingApp;
using vaxoengine::EventDelivery;
using vaxoengine::Reports;
using vaxoengine::SharedView;

class EngineReports : public ::testing::Test {
protected:
    EngineReports() {
        app->hook = [this](const std::string& event) {
            std::unique_lock<std::mutex> hold(lock);
            EXPECT_TRUE(EventDelivery::IsCurrentThread());
            events.push_back(event);
            changed.notify_all();
            changed.wait(hold, [this] { return !held; });
        };
        delivery->SetCallback(app);
    }
    ~EngineReports() override {
        Release();
        Settled();
    }

    // An event that is posted last has arrived, and so have all before it.
    void Settled() {
        const auto last = std::make_shared<EventDelivery>();
        const auto listener = std::make_shared<RecordingApp>();
        std::mutex own;
        std::condition_variable arrived;
        bool there = false;
        listener->hook = [&](const std::string&) {
            const std::lock_guard<std::mutex> hold(own);
            there = true;
            arrived.notify_all();
        };
        last->SetCallback(listener);
        last->Post([](Strova::IVaxoLiveCallback& callback) { callback.OnLogout(0); });
        std::unique_lock<std::mutex> hold(own);
        arrived.wait(hold, [&] { return there; });
    }

    // The next event stays inside the callback until Release.
    void HoldNext() {
        {
            const std::lock_guard<std::mutex> hold(lock);
            held = true;
        }
        reports.Counts(0, 0);
        std::unique_lock<std::mutex> hold(lock);
        changed.wait(hold, [this] { return !events.empty(); });
        events.clear();
    }

    void Release() {
        const std::lock_guard<std::mutex> hold(lock);
        held = false;
        changed.notify_all();
    }

    std::mutex lock;
    std::condition_variable changed;
    std::vector<std::string> events;
    bool held = false;
    std::shared_ptr<RecordingApp> app = std::make_shared<RecordingApp>();
    std::shared_ptr<EventDelivery> delivery = std::make_shared<EventDelivery>();
    std::shared_ptr<SharedView> view = std::make_shared<SharedView>();
    Reports reports{delivery, view};
};

using Events = std::vector<std::string>;

TEST_F(EngineReports, ArriveInOrderOnTheEventsThread) {
    reports.Entered(0);
    reports.Counts(1, 2);
    reports.Left();
    Settled();
    EXPECT_EQ(events, (Events{"OnGetStreamList(0)", "OnCountsUpdate(1, 2)", "OnLogout(0)"}));
}

TEST_F(EngineReports, PostingDoesNotWaitForADelivery) {
    HoldNext();
    reports.Entered(0);
    reports.Left();
    {
        const std::lock_guard<std::mutex> hold(lock);
        EXPECT_TRUE(events.empty());
    }
    Release();
    Settled();
    EXPECT_EQ(events, (Events{"OnGetStreamList(0)", "OnLogout(0)"}));
}

TEST_F(EngineReports, AChangeThatANewerRequestOvertakesIsDroppedAnAnswerIsNot) {
    HoldNext();
    reports.PublishChange(Mediq::TempBroken, "s");
    reports.PlayChange(Mediq::TempBroken, "s");
    reports.PlayChange(Mediq::TempBroken, "other");
    view->NextRequest(Reports::PublishKind());
    view->NextRequest(Reports::PlayKind("s"));
    reports.PublishAnswer(Mediq::AVStateEnd, "s");
    Release();
    Settled();
    EXPECT_EQ(events, (Events{"OnPlayStateUpdate(2, other)", "OnPublishStateUpdate(1, s)"}));
}

TEST_F(EngineReports, AChangeAfterTheRequestArrives) {
    view->NextRequest(Reports::PublishKind());
    reports.PublishChange(Mediq::TempBroken, "s");
    Settled();
    EXPECT_EQ(events, (Events{"OnPublishStateUpdate(2, s)"}));
}

TEST_F(EngineReports, AfterTheCloseNothingIsTakenAndWhatWasPostedArrives) {
    HoldNext();
    reports.Entered(0);
    delivery->Close();
    reports.Left();
    Release();
    Settled();
    EXPECT_EQ(events, (Events{"OnGetStreamList(0)"}));
}

TEST_F(EngineReports, ACallbackThatIsGoneHearsNothing) {
    HoldNext();
    reports.Entered(0);
    app->hook = {};
    Release();
    Settled();
    app.reset();
    reports.Left();
    Settled();
    EXPECT_EQ(events, Events{});
}

}  // namespace
