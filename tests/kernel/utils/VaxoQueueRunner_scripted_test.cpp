// What exactly the runner asks of the platform, step by step.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kernel/utils/ScriptedPlatform.h"
#include "support/PrivateAccess.h"
#include "utils/VaxoQueueRunner.h"

namespace runnertest {

struct CallHost {
    typedef CRefCount* CScopeCall::*type;
    friend type PrivateMember(CallHost);
};
struct CallArg {
    typedef CRefCount* CScopeCall::*type;
    friend type PrivateMember(CallArg);
};
struct CallResult {
    typedef uint32* CScopeCall::*type;
    friend type PrivateMember(CallResult);
};

}  // namespace runnertest

template struct PrivateAccess<runnertest::CallHost, &CScopeCall::m_phost>;
template struct PrivateAccess<runnertest::CallArg, &CScopeCall::m_arg>;
template struct PrivateAccess<runnertest::CallResult, &CScopeCall::m_prslt>;

namespace {

typedef std::vector<std::string> Trace;

class ScriptedRunner : public ::testing::Test {
protected:
    ScriptedRunner() { scripted::Reset(); }

    // What was asked for since the last look.
    static Trace Take() {
        Trace trace;
        trace.swap(scripted::TheScript().trace);
        return trace;
    }

    static scripted::Worker& WorkerAt(std::size_t index) {
        return *scripted::TheScript().workers.at(index);
    }
};

// The record behind a queued call, as the class it should be.
template <class Record>
Record* RecordOf(const CScopeCall& call) {
    auto* const arg = dynamic_cast<CCallTaskArg*>(Private<runnertest::CallArg>(call));
    return arg == nullptr ? nullptr : dynamic_cast<Record*>(arg->pCall);
}

}  // namespace

TEST_F(ScriptedRunner, TheDefaultWorkerIsCreatedAndStartedByTheConstructor) {
    const CVaxoQueueRunner runner;
    ASSERT_EQ(scripted::TheScript().workers.size(), 1U);
    EXPECT_EQ(WorkerAt(0).starts, 1);
    EXPECT_NE(runner.GetDefaultTask(), nullptr);
}

TEST_F(ScriptedRunner, IdZeroNeverCreatesAWorker) {
    CVaxoQueueRunner runner;
    Take();
    runner.AsyncRun([] {}, 0);
    runner.SyncRun([] {}, 0);
    EXPECT_EQ(scripted::TheScript().workers.size(), 1U);
}

TEST_F(ScriptedRunner, ANewIdCreatesStartsAndKeepsAWorkerOfNormalPriority) {
    CVaxoQueueRunner runner;
    Take();
    runner.AsyncRun([] {}, 5);
    EXPECT_EQ(Take(), (Trace{"create QR.5", "start QR.5", "push QR.5"}));
    runner.AsyncRun([] {}, 5);
    EXPECT_EQ(Take(), (Trace{"push QR.5"}));
    runner.AsyncRun([] {}, -3);
    EXPECT_EQ(Take(), (Trace{"create QR.-3", "start QR.-3", "push QR.-3"}));
    EXPECT_EQ(WorkerAt(1).priority, ethr_priority_normal);
    EXPECT_EQ(WorkerAt(1).calls.size(), 2U);
}

TEST_F(ScriptedRunner, NothingIsPushedWhileTheRunnersLockIsHeld) {
    CVaxoQueueRunner runner;
    runner.AsyncRun([] {}, 0);
    runner.AsyncRun([] {}, 1);
    runner.SyncRun([] {}, 2);
    EXPECT_EQ(scripted::TheScript().pushesUnderLock, 0);
    EXPECT_EQ(scripted::TheScript().locksHeld, 0);
}

TEST_F(ScriptedRunner, AnAsyncCallCarriesALabelledRecordItsHostAndNoResultSlot) {
    CVaxoQueueRunner runner;
    runner.AsyncRun([] {}, 1);
    const CScopeCall& call = *WorkerAt(1).calls.front();
    EXPECT_EQ(Private<runnertest::CallHost>(call), CVaxoQueueRunner::SafeInstance(&runner));
    EXPECT_EQ(Private<runnertest::CallResult>(call), nullptr);
    auto* const record = RecordOf<vaxo_task_call_CVaxoQueueRunnerAsyncRunInner>(call);
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->fname, "AsyncRunInner");
    EXPECT_EQ(record->fthis, &runner);
    EXPECT_EQ(record->_event, nullptr);
}

TEST_F(ScriptedRunner, TheQueuedCopyOwnsTheOnlyReferenceToTheRecord) {
    CVaxoQueueRunner runner;
    const auto captured = std::make_shared<int>(0);
    runner.AsyncRun([captured] {}, 1);
    EXPECT_EQ(Private<runnertest::CallArg>(*WorkerAt(1).calls.front())->RefCount(), 1);
    EXPECT_EQ(captured.use_count(), 2);
    WorkerAt(1).calls.clear();  // dropped unrun
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(ScriptedRunner, ACompletionEventInTheRecordIsPostedAfterTheBody) {
    CVaxoQueueRunner runner;
    CVAXOEvent event(true, false);
    runner.AsyncRun([] { scripted::TheScript().trace.emplace_back("body"); }, 1);
    RecordOf<vaxo_task_call_base_CVaxoQueueRunner>(*WorkerAt(1).calls.front())->_event = &event;
    Take();
    scripted::RunOne(WorkerAt(1));
    EXPECT_EQ(Take(), (Trace{"body", "event signal"}));
}

TEST_F(ScriptedRunner, SyncRunFromAnotherThreadMakesOneEventAndWaitsForTheBody) {
    CVaxoQueueRunner runner;
    runner.AsyncRun([] {}, 1);
    scripted::RunAll();
    Take();
    runner.SyncRun([] { scripted::TheScript().trace.emplace_back("body"); }, 1);
    EXPECT_EQ(Take(), (Trace{"event create 1 0", "push QR.1", "event wait", "body", "event signal",
                             "event passed", "event destory"}));
}

TEST_F(ScriptedRunner, ASyncCallCarriesItsLabelAndTheCallersEvent) {
    CVaxoQueueRunner runner;
    bool looked = false;
    // Pushed first and run first: it looks at the call that waits behind it.
    runner.AsyncRun(
        [&] {
            auto* const record =
                RecordOf<vaxo_task_call_CVaxoQueueRunnerSyncRunInner>(*WorkerAt(1).calls.front());
            ASSERT_NE(record, nullptr);
            EXPECT_STREQ(record->fname, "SyncRunInner");
            EXPECT_EQ(record->fthis, &runner);
            EXPECT_EQ(record->_event, nullptr);
            EXPECT_NE(record->_e, nullptr);
            looked = true;
        },
        1);
    runner.SyncRun([] {}, 1);
    EXPECT_TRUE(looked);
}

TEST_F(ScriptedRunner, SyncRunOnItsOwnWorkerMakesNoEventAndPushesNothing) {
    CVaxoQueueRunner runner;
    runner.AsyncRun(
        [&] {
            Take();
            runner.SyncRun([] { scripted::TheScript().trace.emplace_back("body"); }, 1);
            EXPECT_EQ(Take(), (Trace{"body"}));
        },
        1);
    scripted::RunAll();
}

TEST_F(ScriptedRunner, JobsArePushedInOrderAndRunOnce) {
    CVaxoQueueRunner runner;
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) {
        runner.AsyncRun([&order, i] { order.push_back(i); }, 0);
    }
    EXPECT_TRUE(order.empty());
    scripted::RunAll();
    scripted::RunAll();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST_F(ScriptedRunner, AJobNotRunWhenTheRunnerGoesIsDroppedByItsHost) {
    bool ran = false;
    const auto captured = std::make_shared<int>(0);
    {
        CVaxoQueueRunner runner;
        runner.AsyncRun([&ran, captured] { ran = true; }, 0);
    }
    bool made = true;
    ASSERT_TRUE(scripted::RunOne(WorkerAt(0), &made));
    EXPECT_FALSE(made);
    EXPECT_FALSE(ran);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(ScriptedRunner, DestroyingTheRunnerReleasesEveryWorker) {
    {
        CVaxoQueueRunner runner;
        runner.AsyncRun([] {}, 1);
        runner.AsyncRun([] {}, 2);
        for (const auto& worker : scripted::TheScript().workers) {
            EXPECT_FALSE(worker->released);
        }
    }
    ASSERT_EQ(scripted::TheScript().workers.size(), 3U);
    for (const auto& worker : scripted::TheScript().workers) {
        EXPECT_TRUE(worker->released);
    }
}

TEST_F(ScriptedRunner, ANullDefaultWorkerDropsSyncJobsAndIsPushedAsyncOnes) {
    scripted::TheScript().createFails = true;
    CVaxoQueueRunner runner;
    EXPECT_EQ(runner.GetDefaultTask(), nullptr);
    bool ran = false;
    Take();
    runner.SyncRun([&] { ran = true; }, 0);
    EXPECT_TRUE(Take().empty());
    EXPECT_EQ(scripted::TheScript().pushesToNull, 0);
    const auto captured = std::make_shared<int>(0);
    runner.AsyncRun([&ran, captured] { ran = true; }, 0);
    EXPECT_EQ(scripted::TheScript().pushesToNull, 1);
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_FALSE(ran);
}

TEST_F(ScriptedRunner, AWorkerThatCannotBeCreatedIsTreatedAsAbsent) {
    CVaxoQueueRunner runner;
    scripted::TheScript().createFails = true;
    bool ran = false;
    runner.SyncRun([&] { ran = true; }, 5);
    runner.AsyncRun([&] { ran = true; }, 5);
    EXPECT_FALSE(ran);
    EXPECT_EQ(scripted::TheScript().pushesToNull, 1);
}

TEST_F(ScriptedRunner, AWorkerWithoutAThreadKeepsAsyncJobsAndDropsSyncOnesUntilItStarts) {
    CVaxoQueueRunner runner;
    scripted::TheScript().startFails = true;
    std::vector<int> order;
    runner.AsyncRun([&] { order.push_back(1); }, 5);
    Take();
    runner.SyncRun([&] { order.push_back(2); }, 5);
    EXPECT_EQ(Take(), (Trace{"start QR.5"}));
    EXPECT_TRUE(order.empty());
    scripted::TheScript().startFails = false;
    runner.SyncRun([&] { order.push_back(3); }, 5);
    EXPECT_EQ(order, (std::vector<int>{1, 3}));
}

TEST_F(ScriptedRunner, AnEmptyJobThrowsWhereItRuns) {
    CVaxoQueueRunner runner;
    runner.AsyncRun(VaxoRunnable(), 1);
    EXPECT_THROW(scripted::RunOne(WorkerAt(1)), std::bad_function_call);
}

TEST_F(ScriptedRunner, TheWorkerSideAnswersZero) {
    CVaxoQueueRunner runner;
    runner.AsyncRun([] {}, 1);
    uint32 result = 7;
    Private<runnertest::CallResult>(*WorkerAt(1).calls.front()) = &result;
    scripted::RunOne(WorkerAt(1));
    EXPECT_EQ(result, 0U);
}
