#include "engine/show/Retry.h"

#include <chrono>
#include <future>
#include <vector>

#include <gtest/gtest.h>

#include "engine/OnLoop.h"

namespace {

using std::chrono::milliseconds;
using vaxoengine::Retry;

TEST(Retries, TheTimeCountsFromTheFirstFailureAfterAReset) {
    Retry retry({milliseconds(500), milliseconds(4000), milliseconds(1000)}, [] { return 1.0; });
    OnLoop([&] {
        const Retry::Clock::time_point begin;
        EXPECT_TRUE(retry.Again([] {}, begin));
        EXPECT_FALSE(retry.Again([] {}, begin + milliseconds(1)));  // after another 1000
        retry.Reset();
        EXPECT_TRUE(retry.Again([] {}, begin + milliseconds(9000)));
        retry.Reset();
    });
}

TEST(Retries, TheJobRunsAfterThePauseAndMayAskAgain) {
    Retry retry({milliseconds(1), milliseconds(2), milliseconds(60000)});
    std::promise<void> done;
    int runs = 0;
    OnLoop([&] {
        retry.Again([&] {
            ++runs;
            retry.Again([&] {
                ++runs;
                done.set_value();
            });
        });
    });
    done.get_future().wait();
    OnLoop([&] { retry.Reset(); });
    EXPECT_EQ(runs, 2);
}

TEST(Retries, AResetCancelsWhatWaits) {
    Retry retry({milliseconds(1), milliseconds(1), milliseconds(1000)});
    vaxoengine::EngineTimer later;
    std::promise<void> done;
    bool ran = false;
    OnLoop([&] {
        retry.Again([&] { ran = true; });
        retry.Reset();
        later.Once(milliseconds(20), [&] { done.set_value(); });
    });
    done.get_future().wait();
    EXPECT_FALSE(ran);
}

}  // namespace
