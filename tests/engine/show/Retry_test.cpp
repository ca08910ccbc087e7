#include "engine/show/Retry.h"

#include <chrono>
#include <future>
#include <vector>

#include <gtest/gtest.h>

#include "engine/OnLoop.h"

namespace {

using std::chrono::milliseconds;
using vaxoengine::Retry;

TEST(Retries, PausesDoubleUntilTheTimeIsOver) {
    Retry retry(milliseconds(500), milliseconds(4000), milliseconds(10000));
    OnLoop([&] {
        const Retry::Clock::time_point begin;
        Retry::Clock::time_point now = begin;
        std::vector<long> pauses;
        while (retry.NextPause().count() > 0) {
            const milliseconds pause = retry.NextPause();
            if (!retry.Again([] {}, now)) {
                break;
            }
            pauses.push_back(static_cast<long>(pause.count()));
            now += pause;
        }
        // 500 + 1000 + 2000 + 4000 have gone by; another 4000 would pass the limit.
        EXPECT_EQ(pauses, (std::vector<long>{500, 1000, 2000, 4000}));
        retry.Reset();
        EXPECT_EQ(retry.NextPause(), milliseconds(500));
        EXPECT_TRUE(retry.Again([] {}, now));
        retry.Reset();
    });
}

TEST(Retries, TheJobRunsAfterThePauseAndMayAskAgain) {
    Retry retry(milliseconds(1), milliseconds(2), milliseconds(60000));
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
    Retry retry(milliseconds(1), milliseconds(1), milliseconds(1000));
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
