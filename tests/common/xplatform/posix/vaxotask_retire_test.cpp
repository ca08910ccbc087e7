// Workers: how they end.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include "conformance/platform/TaskFixture.h"
#include "threadtools.h"
#include "vaxoevent.h"
#include "vaxotask.h"
#include "vaxothread.h"

// ---- Retirement -------------------------------------------------------------

TEST(VaxoTaskRetire, RetiredFromOutsideFinishesItsCallAndDestroysTheRest) {
    const int queued = 10;
    Target target;
    Worker worker("outside");
    ASSERT_TRUE(worker.Start());
    const vaxothread_id id = worker.Task()->getthreadid();
    CVAXOEvent entered(true, false);
    CVAXOEvent open(true, false);
    CVAXOEvent over(true, false);
    std::atomic<bool> finished(false);
    std::atomic<int> runs(0);
    std::atomic<int> ends(0);
    std::atomic<int> strangers(0);
    Push(worker.Task(), target, [&entered, &open, &finished] {
        entered.Post();
        open.Wait(-1);
        finished = true;
    });
    entered.Wait(-1);
    for (int i = 0; i < queued; ++i) {
        Push(
            worker.Task(), target, [&runs] { ++runs; },
            [&] {
                strangers += vaxothread_selfid() == id ? 0 : 1;
                if (++ends == queued) {
                    over.Post();
                }
            });
    }
    EXPECT_TRUE(worker.Drop());  // returns although a call is running
    EXPECT_FALSE(finished);
    EXPECT_EQ(0, ends);
    open.Post();
    over.Wait(-1);
    EXPECT_TRUE(finished);
    EXPECT_EQ(0, runs);
    EXPECT_EQ(queued, ends);
    EXPECT_EQ(0, strangers);
    AwaitGone(id);
}

TEST(VaxoTaskRetire, RetiredByItsOwnCallFinishesItAndDestroysTheRest) {
    Target target;
    char name[] = "inside";
    CVAXOTaskBase* const task = VAXOTaskCreate(name, ethr_priority_normal);
    ASSERT_TRUE(task->Start());
    const vaxothread_id id = task->getthreadid();
    Gate gate(task, target);
    CVAXOEvent over(true, false);
    bool last = false;
    bool finished = false;
    int runs = 0;
    int ends = 0;
    Push(task, target, [task, &last, &finished] {
        last = task->Release();
        finished = true;
    });
    Push(
        task, target, [&runs] { ++runs; }, [&ends] { ++ends; });
    Push(
        task, target, [&runs] { ++runs; },
        [&ends, &over] {
            ++ends;
            over.Post();
        });
    gate.Open();  // from here on the call owns the only reference
    over.Wait(-1);
    EXPECT_TRUE(last);
    EXPECT_TRUE(finished);
    EXPECT_EQ(0, runs);
    EXPECT_EQ(2, ends);
    AwaitGone(id);
}

TEST(VaxoTaskRetire, RetiredWhileAsleepEndsItsThread) {
    Worker worker("asleep");
    ASSERT_TRUE(worker.Start());
    const vaxothread_id id = worker.Task()->getthreadid();
    worker.Drain();
    AwaitBlocked(id);
    EXPECT_TRUE(worker.Drop());
    AwaitGone(id);
}

TEST(VaxoTaskRetire, RetiredWithoutAThreadDestroysItsCallsThereAndThen) {
    int runs = 0;
    std::string ends;
    Target target;
    Worker worker("unstarted");
    for (const char name : {'a', 'b', 'c'}) {
        Push(
            worker.Task(), target, [&runs] { ++runs; }, [&ends, name] { ends += name; });
    }
    EXPECT_TRUE(worker.Drop());
    EXPECT_EQ(0, runs);
    EXPECT_EQ("abc", ends);
}

TEST(VaxoTaskRetire, StaysWhileSomebodyHoldsAReference) {
    Target target;
    Worker worker("shared");
    ASSERT_TRUE(worker.Start());
    worker.Task()->AddRef();
    EXPECT_FALSE(worker.Task()->Release());
    int runs = 0;
    Push(worker.Task(), target, [&runs] { ++runs; });
    worker.Drain();
    EXPECT_EQ(1, runs);
}

// The last reference may go with the argument of a call, which the worker frees.
TEST(VaxoTaskRetire, MayBeRetiredByTheDestructorOfACopy) {
    Target target;
    char name[] = "by a copy";
    CVAXOTaskBase* const task = VAXOTaskCreate(name, ethr_priority_normal);
    ASSERT_TRUE(task->Start());
    const vaxothread_id id = task->getthreadid();
    std::atomic<bool> last(false);
    task->AddRef();
    Push(task, target, nullptr, [task, &last] {
        if (task->Release()) {
            last = true;
        }
    });
    if (task->Release()) {
        last = true;
    }
    AwaitGone(id);
    EXPECT_TRUE(last);
}

TEST(VaxoTaskRetire, LosesNoCallHoweverItIsRetired) {
    const int rounds = 200;
    const int calls = 5;
    std::atomic<int> runs(0);
    std::atomic<int> ends(0);
    Target target;
    for (int round = 0; round < rounds; ++round) {
        Worker worker("short");
        if (round % 4 != 0) {
            ASSERT_TRUE(worker.Start());
        }
        for (int i = 0; i < calls; ++i) {
            Push(
                worker.Task(), target, [&runs] { ++runs; }, [&ends] { ++ends; });
        }
        if (round % 3 == 0) {
            std::this_thread::yield();
        }
    }
    while (ends != rounds * calls) {
        std::this_thread::yield();
    }
    EXPECT_LE(runs, rounds * calls * 3 / 4);
}

// ---- The end of the process -------------------------------------------------

TEST(VaxoTaskDeathTest, ACallThatThrowsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Target target;
            Worker worker("throws");
            worker.Start();
            Push(worker.Task(), target, [] { throw std::runtime_error("from a call"); });
            worker.Drain();
        },
        "from a call");
}

namespace {

// Keeps a worker busy for ever: each call pushes the next.
void PushForEver(CVAXOTaskBase* task, Target& target) {
    Push(task, target, [task, &target] { PushForEver(task, target); });
}

}  // namespace

TEST(VaxoTaskDeathTest, TheProcessMayEndWhileWorkersRun) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static auto* const target = new Target;  // there to the very end
            static auto* const busy = new Worker("busy");
            static auto* const asleep = new Worker("asleep");
            busy->Start();
            asleep->Start();
            PushForEver(busy->Task(), *target);
            asleep->Drain();
            std::exit(0);  // NOLINT(concurrency-mt-unsafe): the end of the process is the test
        },
        testing::ExitedWithCode(0), "");
}
