// The runner on real threads.
#include "utils/VaxoQueueRunner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vaxothread.h"

namespace {

// A gate that jobs wait at and the test opens.
class Gate {
public:
    Gate() : m_event(vaxoevent_create(0, 0)) {}
    ~Gate() { vaxoevent_destory(m_event); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    void Open() { vaxoevent_signal(m_event); }
    void Wait() { vaxoevent_wait(m_event); }

private:
    hvaxoevent m_event;
};

void WaitFor(CVaxoQueueRunner& runner, int id) {
    runner.SyncRun([] {}, id);
}

vaxothread_id ThreadOf(CVaxoQueueRunner& runner, int id) {
    vaxothread_id thread = 0;
    runner.SyncRun([&] { thread = vaxothread_selfid(); }, id);
    return thread;
}

std::string NameOf(vaxothread_id thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

}  // namespace

TEST(VaxoQueueRunner, IdZeroIsTheDefaultWorker) {
    CVaxoQueueRunner runner;
    ASSERT_NE(runner.GetDefaultTask(), nullptr);
    EXPECT_EQ(ThreadOf(runner, 0), runner.GetDefaultTask()->getthreadid());
    vaxothread_id thread = 0;
    runner.AsyncRun([&] { thread = vaxothread_selfid(); }, 0);
    WaitFor(runner, 0);
    EXPECT_EQ(thread, runner.GetDefaultTask()->getthreadid());
    EXPECT_NE(thread, vaxothread_selfid());
}

TEST(VaxoQueueRunner, EveryOtherIdHasAWorkerOfItsOwnNamedAfterIt) {
    CVaxoQueueRunner runner;
    const std::pair<int, const char*> rows[] = {
        {2, "QR.2"}, {5, "QR.5"}, {-3, "QR.-3"}, {2147483647, "QR.2147483647"}};
    std::vector<vaxothread_id> threads = {ThreadOf(runner, 0)};
    for (const auto& row : rows) {
        const vaxothread_id thread = ThreadOf(runner, row.first);
        EXPECT_EQ(NameOf(thread), row.second);
        for (const vaxothread_id other : threads) {
            EXPECT_NE(thread, other);
        }
        threads.push_back(thread);
        EXPECT_EQ(ThreadOf(runner, row.first), thread);
    }
}

TEST(VaxoQueueRunner, TheNameIsThereBeforeTheFirstJob) {
    CVaxoQueueRunner runner;
    std::string name;
    runner.AsyncRun([&] { name = NameOf(vaxothread_selfid()); }, 9);
    WaitFor(runner, 9);
    EXPECT_EQ(name, "QR.9");
}

TEST(VaxoQueueRunner, AsyncRunReturnsBeforeTheJobHasRun) {
    CVaxoQueueRunner runner;
    Gate gate;
    bool ran = false;
    runner.AsyncRun(
        [&] {
            gate.Wait();
            ran = true;
        },
        0);
    EXPECT_FALSE(ran);  // the worker cannot have passed the gate yet
    gate.Open();
    WaitFor(runner, 0);
    EXPECT_TRUE(ran);
}

TEST(VaxoQueueRunner, SyncRunReturnsWhenTheJobHasFinished) {
    CVaxoQueueRunner runner;
    for (int i = 0; i < 1000; ++i) {
        int value = 0;
        runner.SyncRun([&] { value = i + 1; }, i % 3);
        EXPECT_EQ(value, i + 1);
    }
}

TEST(VaxoQueueRunner, SyncRunFromItsOwnWorkerRunsInlineOnThatThread) {
    CVaxoQueueRunner runner;
    for (const int id : {0, 4}) {
        std::vector<int> order;
        vaxothread_id outer = 0;
        vaxothread_id inner = 1;
        runner.SyncRun(
            [&] {
                outer = vaxothread_selfid();
                order.push_back(1);
                runner.AsyncRun([&] { order.push_back(4); }, id);
                runner.SyncRun(
                    [&] {
                        inner = vaxothread_selfid();
                        runner.SyncRun([&] { order.push_back(2); }, id);
                    },
                    id);
                order.push_back(3);
            },
            id);
        WaitFor(runner, id);
        EXPECT_EQ(inner, outer);
        EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
    }
}

TEST(VaxoQueueRunner, SyncRunFromOneWorkerToAnotherWaitsForIt) {
    CVaxoQueueRunner runner;
    vaxothread_id thread = 0;
    runner.SyncRun([&] { runner.SyncRun([&] { thread = vaxothread_selfid(); }, 7); }, 0);
    EXPECT_EQ(thread, ThreadOf(runner, 7));
}

TEST(VaxoQueueRunner, JobsOfEachProducerRunInOrderWithEightProducersAndAHundredThousandJobs) {
    const int producers = 8;
    const int jobs = 100000 / producers;
    CVaxoQueueRunner runner;
    std::vector<int> next(producers, 0);  // on the worker only
    bool ordered = true;
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int i = 0; i < jobs; ++i) {
                runner.AsyncRun(
                    [&, producer, i] {
                        int& expected = next[static_cast<std::size_t>(producer)];
                        ordered = ordered && expected == i;
                        ++expected;
                    },
                    2);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    WaitFor(runner, 2);
    EXPECT_TRUE(ordered);
    EXPECT_EQ(next, std::vector<int>(producers, jobs));
}

TEST(VaxoQueueRunner, ManyThreadsAskingForANewIdAtOnceShareOneWorker) {
    CVaxoQueueRunner runner;
    for (int id = 1; id <= 20; ++id) {
        std::atomic<int> arrived{0};
        std::vector<vaxothread_id> seen(8, 0);
        std::vector<std::thread> threads;
        for (vaxothread_id& slot : seen) {
            threads.emplace_back([&runner, &arrived, &slot, id] {
                arrived.fetch_add(1);
                while (arrived.load() < 8) {
                    std::this_thread::yield();
                }
                slot = ThreadOf(runner, id);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(seen, std::vector<vaxothread_id>(8, seen.front()));
    }
}

TEST(VaxoQueueRunner, JobsOfDifferentIdsDoNotWaitForEachOther) {
    CVaxoQueueRunner runner;
    Gate gate;
    runner.AsyncRun([&] { gate.Wait(); }, 1);
    bool ran = false;
    runner.SyncRun([&] { ran = true; }, 2);  // returns though worker 1 is stuck
    EXPECT_TRUE(ran);
    gate.Open();
    WaitFor(runner, 1);
}

TEST(VaxoQueueRunner, CapturedObjectsAreFreedAfterTheRunBeforeTheNextJob) {
    CVaxoQueueRunner runner;
    const auto captured = std::make_shared<int>(0);
    long during = 0;
    long after = 0;
    Gate gate;
    runner.AsyncRun([&] { gate.Wait(); }, 0);
    runner.AsyncRun([&during, captured] { during = captured.use_count(); }, 0);
    runner.AsyncRun([&] { after = captured.use_count(); }, 0);
    gate.Open();
    WaitFor(runner, 0);
    EXPECT_EQ(during, 3);  // ours, the record's, the running copy's
    EXPECT_EQ(after, 1);
}

TEST(VaxoQueueRunner, ASyncRunsCapturesAreFreedByTheTimeTheNextJobRuns) {
    CVaxoQueueRunner runner;
    const auto captured = std::make_shared<int>(0);
    runner.SyncRun([captured] {}, 0);
    WaitFor(runner, 0);
    long after = 0;
    runner.SyncRun([&] { after = captured.use_count(); }, 0);
    EXPECT_EQ(after, 1);
}

TEST(VaxoQueueRunner, AJobNotBegunWhenTheRunnerGoesDoesNotRunAndIsFreed) {
    Gate begun;
    Gate gate;
    Gate freed;
    std::atomic<bool> ran{false};
    std::atomic<bool> finished{false};
    // Says so when the last copy of the queued job is gone.
    const auto watch = [&freed](int* p) {
        delete p;
        freed.Open();
    };
    {
        CVaxoQueueRunner runner;
        runner.AsyncRun(
            [&] {
                begun.Open();
                gate.Wait();
                finished.store(true);
            },
            3);
        std::shared_ptr<int> captured(new int(0), watch);
        runner.AsyncRun([&ran, captured] { ran.store(true); }, 3);
        captured.reset();
        begun.Wait();
    }
    EXPECT_FALSE(finished.load());  // destroying the runner did not wait
    gate.Open();
    freed.Wait();
    EXPECT_TRUE(finished.load());
    EXPECT_FALSE(ran.load());
}

TEST(VaxoQueueRunner, ARunnerMayBeDestroyedByAJobWhileTheCallThatQueuedItIsOnItsWayOut) {
    for (int round = 0; round < 500; ++round) {
        Gate done;
        auto* runner = new CVaxoQueueRunner;
        runner->AsyncRun(
            [runner, &done] {
                delete runner;
                done.Open();
            },
            round % 2);
        done.Wait();
    }
}

TEST(VaxoQueueRunner, RunnersComeAndGoWithoutLeavingThreadsInEachOthersWay) {
    for (int i = 0; i < 200; ++i) {
        CVaxoQueueRunner runner;
        int value = 0;
        runner.SyncRun([&] { value = i; }, 1);
        runner.AsyncRun([] {}, 0);
        EXPECT_EQ(value, i);
    }
}

TEST(VaxoQueueRunner, TheSharedRunnerIsOneForAllThreads) {
    std::vector<CVaxoQueueRunner*> seen(8, nullptr);
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
    for (CVaxoQueueRunner*& slot : seen) {
        threads.emplace_back([&arrived, &slot] {
            arrived.fetch_add(1);
            while (arrived.load() < 8) {
                std::this_thread::yield();
            }
            slot = CVaxoQueueRunner::GetSharedInstance();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_NE(seen.front(), nullptr);
    EXPECT_EQ(seen, std::vector<CVaxoQueueRunner*>(8, seen.front()));
    EXPECT_NE(seen.front()->GetDefaultTask()->getthreadid(), 0);
}

TEST(VaxoQueueRunner, TheHolderStandsForTheRunnerUntilItGoes) {
    auto* runner = new CVaxoQueueRunner;
    CRefCount* const holder = CVaxoQueueRunner::SafeInstance(runner);
    holder->AddRef();
    EXPECT_TRUE(holder->IsValid());
    EXPECT_EQ(CVaxoQueueRunner::offset_of_source(), 0U);
    delete runner;
    EXPECT_FALSE(holder->IsValid());
    EXPECT_TRUE(holder->Release());
}

TEST(VaxoQueueRunnerDeathTest, AnEmptyJobEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            CVaxoQueueRunner runner;
            runner.SyncRun(VaxoRunnable(), 1);
        },
        "");
}

TEST(VaxoQueueRunnerDeathTest, AJobThatThrowsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            CVaxoQueueRunner runner;
            runner.SyncRun([] { throw 1; }, 0);
        },
        "");
}

TEST(VaxoQueueRunnerDeathTest, AProgramMayReturnFromMainInTheMiddleOfWork) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            auto* const runner = CVaxoQueueRunner::GetSharedInstance();
            for (int i = 0; i < 10000; ++i) {
                runner->AsyncRun([runner] { runner->AsyncRun([] {}, 2); }, 0);
            }
            std::exit(7);
        },
        ::testing::ExitedWithCode(7), "");
}
