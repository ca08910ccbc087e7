// What a burst of pushes costs while the worker is awake: no lock and no wake-up, on
// either side. The linker sends the executable's locking and signalling through
// wrappers that count.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>

#include "conformance/platform/TaskFixture.h"
#include "vaxoevent.h"
#include "vaxotask.h"

namespace {

thread_local long t_locks = 0;  // mutexes locked by this thread
std::atomic<long> g_signals{0};

}  // namespace

// The names that the linker's --wrap gives to the two functions.
extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
VAXO_API int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
void __real__Z16vaxoevent_signalP11vaxoevent_t(hvaxoevent event);
VAXO_API void __wrap__Z16vaxoevent_signalP11vaxoevent_t(hvaxoevent event);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    ++t_locks;
    return __real_pthread_mutex_lock(mutex);
}

void __wrap__Z16vaxoevent_signalP11vaxoevent_t(hvaxoevent event) {
    g_signals.fetch_add(1);
    __real__Z16vaxoevent_signalP11vaxoevent_t(event);
}
}

TEST(VaxoTaskBurst, TheCountersSeeALockAndAWakeUpOfASleepingWorker) {
    Target target;
    Worker worker("counted");
    const long locks = t_locks;
    ASSERT_TRUE(worker.Start());
    EXPECT_GT(t_locks, locks);
    const long signals = g_signals.load();
    worker.Drain();
    EXPECT_GT(g_signals.load(), signals);
}

TEST(VaxoTaskBurst, PushingToAnAwakeWorkerTakesNoLockAndWakesNobody) {
    Target target;
    Worker worker("burst");
    ASSERT_TRUE(worker.Start());
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();  // awake, and kept so
    const long signals = g_signals.load();
    const long locks = t_locks;
    for (int i = 0; i < 1000; ++i) {
        Push(worker.Task(), target, [] {});
    }
    EXPECT_EQ(g_signals.load(), signals);
    EXPECT_EQ(t_locks, locks);
    gate.Open();
    worker.Drain();
}

TEST(VaxoTaskBurst, RunningABurstTakesNoLock) {
    Target target;
    Worker worker("burst");
    ASSERT_TRUE(worker.Start());
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();
    long first = -1;
    long last = -1;
    Push(worker.Task(), target, [&first] { first = t_locks; });
    for (int i = 0; i < 1000; ++i) {
        Push(worker.Task(), target, [] {});
    }
    Push(worker.Task(), target, [&last] { last = t_locks; });
    gate.Open();
    worker.Drain();
    EXPECT_GE(first, 0);
    EXPECT_EQ(last, first);
}
