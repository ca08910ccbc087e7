// Workers: how they get their thread, and what it is like.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>

#include "conformance/platform/TaskFixture.h"
#include "threadtools.h"
#include "vaxoevent.h"
#include "vaxotask.h"
#include "vaxothread.h"

namespace {

std::string OwnName() {
    char name[64] = "";
    EXPECT_EQ(0, pthread_getname_np(pthread_self(), name, sizeof(name)));
    return name;
}

#if defined(__linux__)
// How many live threads of this process bear the name.
int ThreadsNamed(const std::string& name) {
    int count = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc/self/task", error), end; entry != end;
         entry.increment(error)) {
        if (SystemName(std::stoi(entry->path().filename().string())) == name) {
            ++count;
        }
    }
    return count;
}
#endif

}  // namespace

// ---- Start ------------------------------------------------------------------

TEST(VaxoTaskStart, HasItsIdWhenStartReturns) {
    Worker worker("id");
    EXPECT_EQ(0, worker.Task()->getthreadid());
    ASSERT_TRUE(worker.Start());
    const vaxothread_id id = worker.Task()->getthreadid();
    EXPECT_NE(0, id);
    EXPECT_NE(vaxothread_selfid(), id);
}

TEST(VaxoTaskStart, HasIdAndNameBeforeItsFirstCall) {
    for (int round = 0; round < 100; ++round) {
        Target target;
        Worker worker("QR.2");
        CVAXOTaskBase* const task = worker.Task();
        bool own_id = false;
        std::string name;
        Push(task, target, [task, &own_id, &name] {
            own_id = task->getthreadid() == vaxothread_selfid();
            name = OwnName();
        });
        ASSERT_TRUE(worker.Start());
        worker.Drain();
        ASSERT_TRUE(own_id);
        ASSERT_EQ("QR.2", name);
    }
}

#if defined(__linux__)
TEST(VaxoTaskStart, HasItsNameWhenStartReturns) {
    Worker worker("a name that is longer than the system keeps");
    ASSERT_TRUE(worker.Start());
    EXPECT_EQ("a name that is ", SystemName(worker.Task()->getthreadid()));
}

TEST(VaxoTaskStart, StartedByManyAtOnceHasOneThread) {
    for (int round = 0; round < 50; ++round) {
        const std::string name = "once." + std::to_string(round);
        Worker worker(name.c_str());
        std::atomic<int> successes(0);
        vaxothread_id starters[4] = {};
        Threads threads(4, [&worker, &successes, &starters](int number) {
            starters[number] = vaxothread_selfid();
            successes += worker.Start() ? 1 : 0;
        });
        threads.Join();
        // The system's list of threads ends early at one that is just ending.
        for (const vaxothread_id starter : starters) {
            AwaitGone(starter);
        }
        ASSERT_EQ(4, successes);
        ASSERT_EQ(1, ThreadsNamed(name));
        const vaxothread_id id = worker.Task()->getthreadid();
        worker.Drop();
        AwaitGone(id);
    }
}
#endif

TEST(VaxoTaskStart, AnswersTrueToEveryFurtherStart) {
    Target target;
    Worker worker("twice");
    ASSERT_TRUE(worker.Start());
    const vaxothread_id id = worker.Task()->getthreadid();
    EXPECT_TRUE(worker.Start());
    EXPECT_EQ(id, worker.Task()->getthreadid());
    bool inside = false;
    CVAXOTaskBase* const task = worker.Task();
    Push(task, target, [task, &inside] { inside = task->Start(); });
    worker.Drain();
    EXPECT_TRUE(inside);
}

TEST(VaxoTaskStart, CopiesItsName) {
    Target target;
    char name[] = "before";
    CVAXOTaskBase* const task = VAXOTaskCreate(name, ethr_priority_normal);
    name[0] = 'X';
    ASSERT_TRUE(task->Start());
    std::string seen;
    CVAXOEvent done(true, false);
    Push(task, target, [&seen, &done] {
        seen = OwnName();
        done.Post();
    });
    done.Wait(-1);
    EXPECT_EQ("before", seen);
    EXPECT_TRUE(task->Release());
}

TEST(VaxoTaskStart, TakesANullName) {
    Target target;
    CVAXOTaskBase* const task = VAXOTaskCreate(nullptr, ethr_priority_normal);
    ASSERT_NE(nullptr, task);
    EXPECT_EQ(1, task->RefCount());
    ASSERT_TRUE(task->Start());
    CVAXOEvent done(true, false);
    Push(task, target, [&done] { done.Post(); });
    done.Wait(-1);
    EXPECT_TRUE(task->Release());
}

TEST(VaxoTaskStart, IsNeverStartedByAPush) {
    int runs = 0;
    int ends = 0;
    Target target;
    Worker worker("unasked");
    for (int i = 0; i < 5; ++i) {
        EXPECT_NE(vaxotask_invalid_id,
                  Push(
                      worker.Task(), target, [&runs] { ++runs; }, [&ends] { ++ends; }));
    }
    EXPECT_EQ(0, worker.Task()->getthreadid());
    EXPECT_TRUE(worker.Drop());
    EXPECT_EQ(0, runs);
    EXPECT_EQ(5, ends);
}

#if defined(__GLIBC__)
namespace {

// While it lives, the system gives no thread of default size: no address space
// holds the stack that each of them would need.
class NoThreads {
public:
    NoThreads() {
        const std::size_t page = 4096;
        EXPECT_EQ(0, pthread_getattr_default_np(&m_former));
        pthread_attr_t huge;
        EXPECT_EQ(0, pthread_attr_init(&huge));
        EXPECT_EQ(0, pthread_attr_setstacksize(
                         &huge, std::numeric_limits<std::size_t>::max() / 8 * 7 / page * page));
        EXPECT_EQ(0, pthread_setattr_default_np(&huge));
        EXPECT_EQ(0, pthread_attr_destroy(&huge));
    }
    ~NoThreads() {
        EXPECT_EQ(0, pthread_setattr_default_np(&m_former));
        EXPECT_EQ(0, pthread_attr_destroy(&m_former));
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_former = {};
};

}  // namespace

TEST(VaxoTaskStart, StartsWithALaterPushWhenTheSystemGaveNoThread) {
    Target target;
    Worker worker("later");
    std::string ran;
    Push(worker.Task(), target, [&ran] { ran += 'a'; });
    {
        const NoThreads none;
        EXPECT_FALSE(worker.Start());
        EXPECT_EQ(0, worker.Task()->getthreadid());
        EXPECT_NE(vaxotask_invalid_id, Push(worker.Task(), target, [&ran] { ran += 'b'; }));
        EXPECT_FALSE(worker.Start());
    }
    EXPECT_EQ(0, worker.Task()->getthreadid());
    EXPECT_EQ("", ran);
    Push(worker.Task(), target, [&ran] { ran += 'c'; });
    ASSERT_NE(0, worker.Task()->getthreadid());
    worker.Drain();
    EXPECT_EQ("abc", ran);
}

TEST(VaxoTaskStart, CanBeStartedAgainWhenTheSystemGaveNoThread) {
    Target target;
    Worker worker("anew");
    {
        const NoThreads none;
        EXPECT_FALSE(worker.Start());
    }
    int runs = 0;
    Push(worker.Task(), target, [&runs] { ++runs; });
    EXPECT_TRUE(worker.Start());
    worker.Drain();
    EXPECT_EQ(1, runs);
}

TEST(VaxoTaskStart, FreesItsCallsWhenItNeverGotAThread) {
    int runs = 0;
    int ends = 0;
    Target target;
    Worker worker("never");
    {
        const NoThreads none;
        EXPECT_FALSE(worker.Start());
        Push(
            worker.Task(), target, [&runs] { ++runs; }, [&ends] { ++ends; });
        EXPECT_TRUE(worker.Drop());
    }
    EXPECT_EQ(0, runs);
    EXPECT_EQ(1, ends);
}
#endif

// ---- The thread -------------------------------------------------------------

TEST(VaxoTaskThread, BlocksAllSignalsButThoseOfAFault) {
    Target target;
    Worker worker("signals");
    ASSERT_TRUE(worker.Start());
    sigset_t mask;
    sigemptyset(&mask);
    Push(worker.Task(), target, [&mask] { pthread_sigmask(SIG_SETMASK, nullptr, &mask); });
    worker.Drain();
    for (const int blocked : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGCHLD, SIGPIPE, SIGALRM}) {
        EXPECT_EQ(1, sigismember(&mask, blocked)) << blocked;
    }
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
        EXPECT_EQ(0, sigismember(&mask, fault)) << fault;
    }
}

TEST(VaxoTaskThread, LeavesTheSignalsOfItsStarterAsTheyWere) {
    sigset_t former;
    sigset_t mine;
    sigset_t after;
    sigemptyset(&mine);
    sigaddset(&mine, SIGUSR2);
    ASSERT_EQ(0, pthread_sigmask(SIG_SETMASK, &mine, &former));
    Worker worker("starter");
    EXPECT_TRUE(worker.Start());
    EXPECT_EQ(0, pthread_sigmask(SIG_SETMASK, &former, &after));
    for (int signal = 1; signal < 32; ++signal) {
        EXPECT_EQ(signal == SIGUSR2 ? 1 : 0, sigismember(&after, signal)) << signal;
    }
}

#if defined(__linux__)
namespace {

struct Scheduling {
    int policy = -1;
    int nice = 0;
};

Scheduling OwnScheduling() {
    return {sched_getscheduler(0) & ~SCHED_RESET_ON_FORK, getpriority(PRIO_PROCESS, 0)};
}

Scheduling SchedulingOf(ethread_priority priority) {
    Target target;
    Worker worker("priority", priority);
    EXPECT_TRUE(worker.Start());
    Scheduling own;
    Push(worker.Task(), target, [&own] { own = OwnScheduling(); });
    worker.Drain();
    return own;
}

bool RealtimeIsPermitted() {
    return OnAnotherThread([] {
        sched_param parameter = {};
        parameter.sched_priority = sched_get_priority_min(SCHED_RR);
        return pthread_setschedparam(pthread_self(), SCHED_RR, &parameter) == 0;
    });
}

}  // namespace

TEST(VaxoTaskPriority, NormalIsThatOfItsStarter) {
    const Scheduling mine = OwnScheduling();
    const Scheduling own = SchedulingOf(ethr_priority_normal);
    EXPECT_EQ(mine.policy, own.policy);
    EXPECT_EQ(mine.nice, own.nice);
}

TEST(VaxoTaskPriority, LowIsTenStepsNicerForThatThreadAlone) {
    const Scheduling mine = OwnScheduling();
    const Scheduling own = SchedulingOf(ethr_priority_low);
    EXPECT_EQ(mine.nice + 10 > 19 ? 19 : mine.nice + 10, own.nice);
    EXPECT_EQ(mine.nice, OwnScheduling().nice);
}

TEST(VaxoTaskPriority, RealtimeIsRoundRobinWhereItIsPermitted) {
    const Scheduling mine = OwnScheduling();
    const Scheduling own = SchedulingOf(ethr_priority_realtime);
    EXPECT_EQ(RealtimeIsPermitted() ? SCHED_RR : mine.policy, own.policy);
    EXPECT_EQ(mine.policy, OwnScheduling().policy);
}

TEST(VaxoTaskPriority, RealtimeIsNotPassedOnToAWorkerStartedThere) {
    Target target;
    Worker worker("realtime", ethr_priority_realtime);
    ASSERT_TRUE(worker.Start());
    Scheduling nested;
    Push(worker.Task(), target, [&nested] { nested = SchedulingOf(ethr_priority_normal); });
    worker.Drain();
    EXPECT_EQ(OwnScheduling().policy, nested.policy);
}

TEST(VaxoTaskPriority, AnUnknownOneIsNormal) {
    const Scheduling own = SchedulingOf(static_cast<ethread_priority>(99));
    EXPECT_EQ(OwnScheduling().policy, own.policy);
    EXPECT_EQ(OwnScheduling().nice, own.nice);
}
#endif
