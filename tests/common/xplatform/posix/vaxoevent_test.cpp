#include "vaxoevent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <thread>
#include <type_traits>

#include "threadtools.h"
#include "vaxothread.h"

namespace {

const int32 autoreset = 1;
const int32 manual = 0;
const int32 signaled = 1;
const int32 unsignaled = 0;

// An event that goes with its scope.
class Owned {
public:
    Owned(int32 reset, int32 state) : m_event(vaxoevent_create(reset, state)) {}
    ~Owned() { vaxoevent_destory(m_event); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    operator hvaxoevent() const { return m_event; }  // NOLINT: to be used as the handle it is

private:
    hvaxoevent m_event;
};

}  // namespace

TEST(VaxoEvent, ASignalBeforeTheWaitIsNotLost) {
    const Owned event(autoreset, unsignaled);
    vaxoevent_signal(event);
    vaxoevent_wait(event);
    EXPECT_FALSE(vaxoevent_issignaled(event));
}

TEST(VaxoEvent, AnAutoResetSignalEndsOneWait) {
    const Owned event(autoreset, unsignaled);
    vaxoevent_signal(event);
    EXPECT_TRUE(vaxoevent_timedwait(event, 0));
    EXPECT_FALSE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, AManualResetSignalEndsEveryWaitUntilTheReset) {
    const Owned event(manual, unsignaled);
    vaxoevent_signal(event);
    vaxoevent_wait(event);
    EXPECT_TRUE(vaxoevent_timedwait(event, 0));
    EXPECT_TRUE(vaxoevent_timedwait(event, -1));
    vaxoevent_reset(event);
    EXPECT_FALSE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, StartsInTheStateAskedFor) {
    EXPECT_TRUE(vaxoevent_issignaled(Owned(autoreset, signaled)));
    EXPECT_TRUE(vaxoevent_issignaled(Owned(manual, signaled)));
    EXPECT_FALSE(vaxoevent_issignaled(Owned(autoreset, unsignaled)));
    EXPECT_FALSE(vaxoevent_issignaled(Owned(manual, unsignaled)));
}

TEST(VaxoEvent, AnAutoResetEventThatStartsSignalledEndsOneWait) {
    const Owned event(autoreset, signaled);
    vaxoevent_wait(event);
    EXPECT_FALSE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, SeveralSignalsBeforeAWaitCountAsOne) {
    const Owned event(autoreset, unsignaled);
    vaxoevent_signal(event);
    vaxoevent_signal(event);
    vaxoevent_signal(event);
    EXPECT_TRUE(vaxoevent_timedwait(event, 0));
    EXPECT_FALSE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, LookingDoesNotTakeTheSignal) {
    const Owned event(autoreset, signaled);
    EXPECT_TRUE(vaxoevent_issignaled(event));
    EXPECT_TRUE(vaxoevent_issignaled(event));
    EXPECT_TRUE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, AResetTakesTheSignalBack) {
    const Owned event(autoreset, signaled);
    vaxoevent_reset(event);
    EXPECT_FALSE(vaxoevent_issignaled(event));
    EXPECT_FALSE(vaxoevent_timedwait(event, 0));
}

TEST(VaxoEvent, ATimedWaitThatRunsOutAnswersFalse) {
    const Owned automatic(autoreset, unsignaled);
    const Owned by_hand(manual, unsignaled);
    EXPECT_FALSE(vaxoevent_timedwait(automatic, 1));
    EXPECT_FALSE(vaxoevent_timedwait(by_hand, 1));
}

TEST(VaxoEvent, ATimedWaitFindsASignalGivenBefore) {
    const Owned event(autoreset, signaled);
    EXPECT_TRUE(vaxoevent_timedwait(event, 1000000));
    EXPECT_FALSE(vaxoevent_issignaled(event));
}

// A moment that the clock cannot show must not become one in the past.
TEST(VaxoEvent, EveryLongTimeOutWaitsForTheSignal) {
    const int64 most = std::numeric_limits<int64>::max();
    for (const int64 milliseconds :
         {most, most - 1, most / 2, int64(1) << 53, int64(1) << 42, int64(999999999), int64(-1),
          std::numeric_limits<int64>::min()}) {
        const Owned event(autoreset, unsignaled);
        std::atomic<vaxothread_id> id(0);
        bool in_time = false;
        std::thread waiter([&event, &id, &in_time, milliseconds] {
            id = vaxothread_selfid();
            in_time = vaxoevent_timedwait(event, milliseconds);
        });
        AwaitBlocked(AwaitId(id));
        vaxoevent_signal(event);
        waiter.join();
        EXPECT_TRUE(in_time) << milliseconds;
    }
}

TEST(VaxoEvent, AManualResetSignalReleasesAllWhoWait) {
    const Owned event(manual, unsignaled);
    Threads waiters(4, [&event](int) { vaxoevent_wait(event); });
    vaxoevent_signal(event);
    waiters.Join();
    EXPECT_TRUE(vaxoevent_issignaled(event));
}

// Each pass is answered before the next signal is given, so a signal that let two
// waiters through shows as a pass too many.
TEST(VaxoEvent, AnAutoResetSignalReleasesOneOfSeveralWaiters) {
    const int signals = 3000;
    const Owned event(autoreset, unsignaled);
    const Owned passed(autoreset, unsignaled);
    std::atomic<int> passes(0);
    std::atomic<bool> over(false);
    const int count = 3;
    Threads waiters(count, [&event, &passed, &passes, &over](int) {
        for (;;) {
            vaxoevent_wait(event);
            if (over) {
                return;
            }
            ++passes;
            vaxoevent_signal(passed);
        }
    });
    for (int i = 0; i < signals; ++i) {
        vaxoevent_signal(event);
        vaxoevent_wait(passed);
    }
    EXPECT_EQ(signals, passes);
    over = true;
    for (int i = 0; i < count; ++i) {
        while (vaxoevent_issignaled(event)) {
            std::this_thread::yield();
        }
        vaxoevent_signal(event);
    }
    waiters.Join();
    EXPECT_EQ(signals, passes);
}

TEST(VaxoEvent, WhatWasWrittenBeforeTheSignalIsSeenAfterTheWait) {
    const int rounds = 3000;
    const Owned ping(autoreset, unsignaled);
    const Owned pong(autoreset, unsignaled);
    int value = 0;  // plain: the events alone order the accesses
    std::thread other([&ping, &pong, &value] {
        for (int round = 0; round < rounds; ++round) {
            vaxoevent_wait(ping);
            ++value;
            vaxoevent_signal(pong);
        }
    });
    bool in_step = true;
    for (int round = 0; round < rounds; ++round) {
        ++value;
        vaxoevent_signal(ping);
        vaxoevent_wait(pong);
        in_step = in_step && value == 2 * (round + 1);
    }
    other.join();
    EXPECT_TRUE(in_step);
}

TEST(VaxoEvent, ATimedWaitOrdersMemoryAsWell) {
    const Owned event(autoreset, unsignaled);
    int value = 0;
    std::thread other([&event, &value] {
        value = 1;
        vaxoevent_signal(event);
    });
    while (!vaxoevent_timedwait(event, 1)) {
    }
    EXPECT_EQ(1, value);
    other.join();
}

// One thread signals whatever event it is handed; the other frees each event the
// moment its wait returns.
TEST(VaxoEvent, MayBeDestroyedTheMomentTheWaitReturns) {
    const int rounds = 20000;
    std::atomic<hvaxoevent> handed(nullptr);
    std::atomic<bool> over(false);
    std::thread signaller([&handed, &over] {
        while (!over) {
            vaxoevent_t* const event = handed.exchange(nullptr);
            if (event != nullptr) {
                vaxoevent_signal(event);
            } else {
                std::this_thread::yield();
            }
        }
    });
    int waits = 0;
    for (; waits < rounds; ++waits) {
        vaxoevent_t* const event = vaxoevent_create(waits % 2, unsignaled);
        handed = event;
        if (waits % 4 < 2) {
            vaxoevent_wait(event);
        } else {
            EXPECT_TRUE(vaxoevent_timedwait(event, 1000000));
        }
        vaxoevent_destory(event);
    }
    over = true;
    signaller.join();
    EXPECT_EQ(rounds, waits);
}

TEST(VaxoEvent, ANullEventIsTakenAndNothingHappens) {
    vaxoevent_wait(nullptr);
    vaxoevent_signal(nullptr);
    vaxoevent_reset(nullptr);
    vaxoevent_destory(nullptr);
    EXPECT_FALSE(vaxoevent_timedwait(nullptr, 0));
    EXPECT_FALSE(vaxoevent_timedwait(nullptr, -1));
    EXPECT_FALSE(vaxoevent_issignaled(nullptr));
}

TEST(VaxoEventObject, TakesTheKindFirstAndTheStateSecond) {
    CVAXOEvent automatic(true, true);
    EXPECT_TRUE(automatic.Wait(0));
    EXPECT_FALSE(automatic.Wait(0));

    CVAXOEvent by_hand(false, true);
    EXPECT_TRUE(by_hand.Wait(0));
    EXPECT_TRUE(by_hand.Wait(0));

    CVAXOEvent waiting(false, false);
    EXPECT_FALSE(waiting.Wait(0));
}

TEST(VaxoEventObject, PostsResetsAndTells) {
    CVAXOEvent event(false, false);
    EXPECT_FALSE(event.IsSignaled());
    event.Post();
    EXPECT_TRUE(event.IsSignaled());
    EXPECT_TRUE(event.Wait(-1));
    event.Reset();
    EXPECT_FALSE(event.IsSignaled());
    EXPECT_FALSE(event.Wait(1));
}

TEST(VaxoEventObject, IsDestroyedThroughItsBase) {
    static_assert(std::has_virtual_destructor<CVAXOEvent>::value, "the destructor is virtual");
    class Watched : public CVAXOEvent {
    public:
        explicit Watched(bool& gone) : CVAXOEvent(true, false), m_gone(gone) {}
        ~Watched() override { m_gone = true; }

    private:
        bool& m_gone;
    };
    bool gone = false;
    std::unique_ptr<CVAXOEvent> event = std::make_unique<Watched>(gone);
    event.reset();
    EXPECT_TRUE(gone);
}
