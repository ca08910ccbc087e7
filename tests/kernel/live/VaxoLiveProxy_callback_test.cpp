// The application's callback: set at once, held weakly, replaced at any moment.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::RecordingApp;
using livetest::Settle;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;

class LiveProxyCallback : public livetest::LiveProxyFixture {
protected:
    // The application's line for one event of the proxy.
    Texts OneEvent() {
        Take();
        proxy->OnCountsUpdate(1, 2);
        Settle();
        return TakeOnly("app: ");
    }
};

}  // namespace

TEST_F(LiveProxyCallback, SetCallbackAnswersZeroAndLeavesNoTrace) {
    EXPECT_EQ(proxy->SetCallback(std::make_shared<RecordingApp>()), 0);
    Settle();
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveProxyCallback, TheCallbackIsHeldWeakly) {
    EXPECT_EQ(app.use_count(), 1);
    auto other = std::make_shared<RecordingApp>();
    proxy->SetCallback(other);
    EXPECT_EQ(other.use_count(), 1);
    bool gone = false;
    other->gone = [&gone] { gone = true; };
    other.reset();
    EXPECT_TRUE(gone);
    EXPECT_EQ(OneEvent(), Texts());
}

TEST_F(LiveProxyCallback, AnExpiredAndAnEmptyReferenceAreAccepted) {
    std::weak_ptr<RecordingApp> expired = std::make_shared<RecordingApp>();
    ASSERT_TRUE(expired.expired());
    EXPECT_EQ(proxy->SetCallback(expired), 0);
    EXPECT_EQ(OneEvent(), Texts());
    EXPECT_EQ(proxy->SetCallback(app), 0);
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
    EXPECT_EQ(proxy->SetCallback({}), 0);
    EXPECT_EQ(OneEvent(), Texts());
}

TEST_F(LiveProxyCallback, ANewCallbackReplacesTheFormer) {
    const auto other = std::make_shared<RecordingApp>();
    int former = 0;
    int latter = 0;
    app->hook = [&former](const std::string& /*event*/) { ++former; };
    other->hook = [&latter](const std::string& /*event*/) { ++latter; };
    EXPECT_EQ(proxy->SetCallback(other), 0);
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
    EXPECT_EQ(former, 0);
    EXPECT_EQ(latter, 1);
}

TEST_F(LiveProxyCallback, ItTakesEffectWhileTheQueueIsHeld) {
    proxy->SetCallback({});
    StartEngine();
    HoldWithPlay("s1");
    EXPECT_EQ(OneEvent(), Texts());
    EXPECT_EQ(proxy->SetCallback(app), 0);
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
}

TEST_F(LiveProxyCallback, ItNeedsNoEngineAndSurvivesUninit) {
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
    StartEngine();
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
    proxy->Uninit();
    Settle();
    EXPECT_EQ(OneEvent(), Texts{"app: OnCountsUpdate(1, 2)"});
}

TEST_F(LiveProxyCallback, TheEngineKeepsTheProxyAsItsCallback) {
    StartEngine();
    proxy->SetCallback(std::make_shared<RecordingApp>());
    Settle();
    EXPECT_EQ(Take(), Texts());
    EXPECT_EQ(livetest::EngineCallback(), proxy);
}

// Which of the two hears an event is open; that it is a whole callback is not.
TEST_F(LiveProxyCallback, ItMayBeSetFromManyThreadsAmongTheEvents) {
    const int setters = 4;
    const int rounds = 100;
    std::atomic<int> heard{0};
    const auto count = [&heard](const std::string& /*event*/) { ++heard; };
    const auto other = std::make_shared<RecordingApp>();
    app->hook = count;
    other->hook = count;
    std::vector<std::thread> threads;
    for (int setter = 0; setter < setters; ++setter) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                proxy->SetCallback(round % 2 == 0 ? app : other);
            }
        });
    }
    for (int round = 0; round < rounds; ++round) {
        proxy->OnCountsUpdate(1, 2);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Settle();
    EXPECT_EQ(heard, rounds);
}
