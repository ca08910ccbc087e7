#include "engine/base/EngineLoop.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "engine/OnLoop.h"
#include "engine/base/GstRef.h"

namespace {

using std::chrono::milliseconds;
using vaxoengine::EngineLoop;
using vaxoengine::EngineTimer;

TEST(EngineLoop, JobsRunInTheOrderPostedOnItsThread) {
    std::string order;
    for (int i = 0; i < 100; ++i) {
        EngineLoop::Shared().Post([&order, i] {
            EXPECT_TRUE(EngineLoop::Shared().IsCurrent());
            order += static_cast<char>('0' + i % 10);
        });
    }
    OnLoop([] {});
    EXPECT_FALSE(EngineLoop::Shared().IsCurrent());
    ASSERT_EQ(order.size(), 100U);
    EXPECT_EQ(order.substr(0, 12), "012345678901");
}

TEST(EngineLoop, AJobPostedInsideAJobRunsLater) {
    std::string order;
    std::promise<void> done;
    EngineLoop::Shared().Post([&] {
        EngineLoop::Shared().Post([&] {
            order += "b";
            done.set_value();
        });
        order += "a";
    });
    done.get_future().wait();
    EXPECT_EQ(order, "ab");
}

TEST(EngineTimer, RunsOnceAndThenRestsAndMayBeStartedInItsOwnJob) {
    EngineTimer timer;
    std::promise<void> done;
    int runs = 0;
    OnLoop([&] {
        timer.Once(milliseconds(1), [&] {
            EXPECT_FALSE(timer.Running());
            ++runs;
            timer.Once(milliseconds(1), [&] {
                ++runs;
                done.set_value();
            });
        });
        EXPECT_TRUE(timer.Running());
    });
    done.get_future().wait();
    OnLoop([&] { EXPECT_FALSE(timer.Running()); });
    EXPECT_EQ(runs, 2);
}

TEST(EngineTimer, ARepeatingJobMayDestroyItsTimer) {
    auto timer = std::make_unique<EngineTimer>();
    std::promise<void> done;
    int runs = 0;
    OnLoop([&] {
        timer->Every(milliseconds(1), [&] {
            if (++runs == 3) {
                timer.reset();
                done.set_value();
            }
        });
    });
    done.get_future().wait();
    OnLoop([] {});
    EXPECT_EQ(runs, 3);
}

TEST(EngineTimer, AStoppedTimerDoesNotRun) {
    std::promise<void> done;
    EngineTimer stopped;
    EngineTimer later;
    bool ran = false;
    OnLoop([&] {
        stopped.Once(milliseconds(1), [&] { ran = true; });
        later.Once(milliseconds(20), [&] { done.set_value(); });
        stopped.Stop();
    });
    done.get_future().wait();
    EXPECT_FALSE(ran);
}

TEST(ErrorTexts, EverythingBehindTheQuestionMarkOfAnAddressIsLeftOut) {
    EXPECT_EQ(vaxoengine::WithoutSignatures("cannot open 'rtmp://h/live/a?sig=abc&x=1' now\nline"),
              "cannot open 'rtmp://h/live/a?...' now line");
    EXPECT_EQ(vaxoengine::WithoutSignatures("plain"), "plain");
}

TEST(Pipelines, ATextThatCannotBeBuiltGivesNone) {
    EXPECT_EQ(vaxoengine::MakePipeline("nosuchelement ! fakesink"), nullptr);
    EXPECT_NE(vaxoengine::MakePipeline("fakesrc ! fakesink"), nullptr);
}

}  // namespace
