#include "vaxotask.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "conformance/platform/TaskFixture.h"
#include "threadtools.h"
#include "vaxoevent.h"
#include "vaxothread.h"

// ---- Order ------------------------------------------------------------------

TEST(VaxoTask, RunsCallsInTheOrderPushed) {
    const int count = 1000;
    Target target;
    Worker worker("order");
    ASSERT_TRUE(worker.Start());
    std::vector<int> ran;
    for (int i = 0; i < count; ++i) {
        Push(worker.Task(), target, [&ran, i] { ran.push_back(i); });
    }
    worker.Drain();
    ASSERT_EQ(std::size_t(count), ran.size());
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(i, ran[std::size_t(i)]);
    }
}

TEST(VaxoTask, RunsWhatWasPushedBeforeTheStartFirst) {
    Target target;
    Worker worker("before");
    std::string ran;
    Push(worker.Task(), target, [&ran] { ran += 'a'; });
    Push(worker.Task(), target, [&ran] { ran += 'b'; });
    ASSERT_TRUE(worker.Start());
    Push(worker.Task(), target, [&ran] { ran += 'c'; });
    worker.Drain();
    EXPECT_EQ("abc", ran);
}

TEST(VaxoTask, KeepsTheOrderOfEachOfEightProducers) {
    const int producers = 8;
    const int calls = 1000;
    Target target;
    Worker worker("producers");
    ASSERT_TRUE(worker.Start());
    std::vector<int> next(producers, 0);  // plain: only the worker touches it
    int disorder = 0;
    Threads threads(producers, [&worker, &target, &next, &disorder](int producer) {
        int& mine = next[std::size_t(producer)];
        for (int i = 0; i < calls; ++i) {
            Push(worker.Task(), target, [&mine, &disorder, i] {
                disorder += mine == i ? 0 : 1;
                ++mine;
            });
        }
    });
    threads.Join();
    worker.Drain();
    EXPECT_EQ(0, disorder);
    EXPECT_EQ(std::vector<int>(producers, calls), next);
}

TEST(VaxoTask, KeepsTheOrderAmongThreadsThatPushOneAfterAnother) {
    const int count = 100;
    Target target;
    Worker worker("relay");
    ASSERT_TRUE(worker.Start());
    std::vector<int> ran;
    for (int i = 0; i < count; ++i) {
        std::thread([&worker, &target, &ran, i] {
            Push(worker.Task(), target, [&ran, i] { ran.push_back(i); });
        }).join();
    }
    worker.Drain();
    ASSERT_EQ(std::size_t(count), ran.size());
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(i, ran[std::size_t(i)]);
    }
}

TEST(VaxoTask, RunsCallsPushedByACallAfterIt) {
    Target target;
    Worker worker("itself");
    ASSERT_TRUE(worker.Start());
    std::string ran;
    CVAXOEvent done(true, false);
    CVAXOTaskBase* const task = worker.Task();
    Push(task, target, [task, &target, &ran, &done] {
        Push(task, target, [&ran] { ran += 'b'; });
        Push(task, target, [&ran, &done] {
            ran += 'c';
            done.Post();
        });
        ran += 'a';
    });
    done.Wait(-1);
    EXPECT_EQ("abc", ran);
    worker.Drain();
}

TEST(VaxoTask, ShowsACallWhatWasWrittenBeforeThePush) {
    Target target;
    Worker worker("visible");
    ASSERT_TRUE(worker.Start());
    int written = 0;  // plain: the push alone orders the accesses
    int sum = 0;
    for (int i = 1; i <= 500; ++i) {
        auto value = std::make_shared<int>(0);
        *value = i;
        Push(worker.Task(), target, [value, &sum] { sum += *value; });
    }
    written = 500;
    int seen = 0;
    Push(worker.Task(), target, [&written, &seen] { seen = written; });
    worker.Drain();
    EXPECT_EQ(500, seen);
    EXPECT_EQ(500 * 501 / 2, sum);
}

// The worker falls asleep and is woken thousands of times.
TEST(VaxoTask, WakesForEveryPush) {
    Target target;
    Worker worker("wakes");
    ASSERT_TRUE(worker.Start());
    int ran = 0;
    for (int i = 0; i < 3000; ++i) {
        CVAXOEvent done(true, false);
        Push(worker.Task(), target, [&ran, &done] {
            ++ran;
            done.Post();
        });
        done.Wait(-1);
    }
    EXPECT_EQ(3000, ran);
    worker.Drain();
}

// ---- Numbers and results ----------------------------------------------------

TEST(VaxoTask, NumbersPushesAboveZeroAndApart) {
    Target target;
    Worker worker("numbers");
    std::set<uint32> numbers;
    for (int i = 0; i < 100; ++i) {
        numbers.insert(Push(worker.Task(), target, nullptr));
    }
    EXPECT_EQ(100U, numbers.size());
    EXPECT_EQ(0U, numbers.count(vaxotask_invalid_id));
}

TEST(VaxoTask, ANullWorkerTakesNothing) {
    int ends = 0;
    Target target;
    EXPECT_EQ(vaxotask_invalid_id, Push(nullptr, target, nullptr, [&ends] { ++ends; }));
    EXPECT_EQ(1, ends);
}

TEST(VaxoTask, PutsTheAnswerIntoTheResultSlot) {
    Target target;
    Worker worker("result");
    ASSERT_TRUE(worker.Start());
    uint32 result = 0;
    Job* const job = new Job(nullptr, nullptr);
    CVAXOTaskBase::PushTask(worker.Task(), CScopeCall(&target, &Target::Run, job, &result));
    job->Release();
    worker.Drain();
    EXPECT_EQ(77U, result);
}

TEST(VaxoTask, DropsACallWhoseHostIsGone) {
    Target target;
    Worker worker("host");
    ASSERT_TRUE(worker.Start());
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();
    auto mortal = std::make_unique<Target>();
    int runs = 0;
    int ends = 0;
    uint32 result = 5;
    for (int i = 0; i < 3; ++i) {
        Push(
            worker.Task(), *mortal, [&runs] { ++runs; }, [&ends] { ++ends; });
    }
    Job* const job = new Job([&runs] { ++runs; }, nullptr);
    CVAXOTaskBase::PushTask(worker.Task(), CScopeCall(mortal.get(), &Target::Run, job, &result));
    job->Release();
    mortal.reset();
    gate.Open();
    worker.Drain();
    EXPECT_EQ(0, runs);
    EXPECT_EQ(3, ends);
    EXPECT_EQ(5U, result);
}

// ---- The queue's copy -------------------------------------------------------

TEST(VaxoTask, DestroysTheCopyOnTheWorkerBeforeTheNextCall) {
    Target target;
    Worker worker("copies");
    ASSERT_TRUE(worker.Start());
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();
    std::string happened;
    std::set<vaxothread_id> where;
    const auto end = [&happened, &where] {
        happened += '~';
        where.insert(vaxothread_selfid());
    };
    for (const char name : {'a', 'b', 'c'}) {
        Push(
            worker.Task(), target, [&happened, name] { happened += name; }, end);
    }
    gate.Open();
    worker.Drain();
    EXPECT_EQ("a~b~c~", happened);
    EXPECT_EQ(std::set<vaxothread_id>{worker.Task()->getthreadid()}, where);
}

TEST(VaxoTask, DestroysADroppedCallInItsTurn) {
    Target target;
    auto mortal = std::make_unique<Target>();
    Worker worker("dropped");
    std::string happened;
    Push(worker.Task(), target, [&happened] { happened += 'a'; });
    Push(worker.Task(), *mortal, nullptr, [&happened] { happened += '~'; });
    Push(worker.Task(), target, [&happened] { happened += 'b'; });
    mortal.reset();
    ASSERT_TRUE(worker.Start());
    worker.Drain();
    EXPECT_EQ("a~b", happened);
}

TEST(VaxoTask, LetsTheDestructorOfACopyPush) {
    Target target;
    Worker worker("again");
    ASSERT_TRUE(worker.Start());
    std::string happened;
    CVAXOEvent done(true, false);
    CVAXOTaskBase* const task = worker.Task();
    Push(
        task, target, [&happened] { happened += 'a'; },
        [task, &target, &happened, &done] {
            happened += '~';
            Push(task, target, [&happened, &done] {
                happened += 'b';
                done.Post();
            });
        });
    done.Wait(-1);
    EXPECT_EQ("a~b", happened);
    worker.Drain();
}
