// Memory that runs out in the queue runner: on a worker's first use and later.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>

#include "kernel/live/memory/Starved.h"
#include "utils/VaxoQueueRunner.h"

namespace {

using starving::Then;
using starving::Watch;

// A runner of one's own, whose call `use` is starved, and which then takes a job on worker 0
// and one on worker 2. Whether a request was refused. Jobs count themselves in `ran`.
bool UseStarved(const std::function<void(CVaxoQueueRunner& runner, const VaxoRunnable& job)>& use,
                long refused, Then then) {
    int ran = 0;
    const auto captured = std::make_shared<int>(0);  // too much for a function to hold itself
    const VaxoRunnable job = [&ran, captured] { ++ran; };
    bool any = false;
    bool threw = false;
    CVaxoQueueRunner runner;
    {
        const Watch watch(refused, then, starving::Callers);
        try {
            use(runner, job);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        any = watch.Refused();
        starving::ExpectTold(threw, watch);
    }
    starving::ExpectNothingHeld();
    while (threadless::RunOne(0) || threadless::RunOne(2)) {
    }
    EXPECT_EQ(ran, threw ? 0 : 1);  // a job that was not taken does not run
    runner.AsyncRun(job, 2);
    runner.SyncRun(job, 0);
    EXPECT_TRUE(threadless::RunOne(2));
    EXPECT_FALSE(threadless::RunOne(2));
    EXPECT_EQ(ran, threw ? 2 : 3);
    return any;
}

long Starve(const std::function<void(CVaxoQueueRunner& runner, const VaxoRunnable& job)>& use,
            Then then = Then::Works) {
    return starving::RefuseOneAfterTheOther(
        [&](long refused) { return UseStarved(use, refused, then); });
}

}  // namespace

TEST(VaxoQueueRunnerMemory, AsyncRunSurvivesEveryRefusal) {
    EXPECT_GE(Starve([](auto& runner, auto& job) { runner.AsyncRun(job, 0); }), 3);
}

TEST(VaxoQueueRunnerMemory, SyncRunSurvivesEveryRefusal) {
    EXPECT_GE(Starve([](auto& runner, auto& job) { runner.SyncRun(job, 0); }), 4);
}

TEST(VaxoQueueRunnerMemory, TheFirstUseOfAnIdSurvivesEveryRefusal) {
    const auto use = [](auto& runner, auto& job) { runner.AsyncRun(job, 2); };
    const long requests = Starve(use);
    EXPECT_EQ(Starve(use, Then::FailsToo), requests);
    EXPECT_GE(requests, 6);  // the worker and its entry as well
}

TEST(VaxoQueueRunnerMemory, ARunnerThatCannotBeMadeLeavesNothing) {
    const long requests = starving::RefuseOneAfterTheOther([](long refused) {
        const Watch watch(refused, Then::Works, starving::Callers);
        bool threw = false;
        try {
            const CVaxoQueueRunner runner;
            EXPECT_NE(runner.GetDefaultTask(), nullptr);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        starving::ExpectTold(threw, watch);
        return watch.Refused();
    });
    EXPECT_GE(requests, 2);
}
