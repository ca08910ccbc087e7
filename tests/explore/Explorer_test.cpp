// The explorer on small programs of its own: what it must find, and how it tells.
#include <gtest/gtest.h>

#include <memory>

#include "explore/Sanitizers.h"
#include "explore/Session.h"
#include "vaxoevent.h"
#include "vaxolock.h"

namespace explore {
namespace {

Program WithBody(std::function<void()> body) {
    Program program;
    program.body = std::move(body);
    return program;
}

const Limits kEnough;

// Two threads add one each, in two steps; both read before one wrote.
int s_sum = 0;

// Adds; the sum then. The sanitizer need not look: that is what the explorer is to find.
int Sum(int change) {
    const Unseen unseen;
    return s_sum += change;
}

Program LostUpdate() {
    Program program = WithBody([] {
        const auto add = [] {
            Reach(Kind::Program, &s_sum);
            const int read = Sum(0);
            Reach(Kind::Program, &s_sum);
            Sum(read + 1 - Sum(0));
        };
        const int first = Spawn("first", add);
        const int second = Spawn("second", add);
        Join(first);
        Join(second);
    });
    program.prepare = [] { s_sum = 0; };
    program.check = [] {
        if (s_sum != 2) {
            Fail("an update is lost");
        }
    };
    return program;
}

// Each thread takes two mutexes, in the order given.
struct TwoMutexes {
    CVAXOLock a;
    CVAXOLock b;
};

std::unique_ptr<TwoMutexes>& Mutexes() {
    static auto& s_mutexes = *new std::unique_ptr<TwoMutexes>();
    return s_mutexes;
}

Program TwoOrders(bool same) {
    Program program = WithBody([same] {
        const auto take = [](CVAXOLock& first, CVAXOLock& second) {
            return [&] {
                CVAXOAutolock one(first);
                CVAXOAutolock two(second);
            };
        };
        TwoMutexes& both = *Mutexes();
        const int first = Spawn("first", take(both.a, both.b));
        const int second = Spawn("second", same ? take(both.a, both.b) : take(both.b, both.a));
        Join(first);
        Join(second);
    });
    program.prepare = [] { Mutexes() = std::make_unique<TwoMutexes>(); };
    program.check = [] { Mutexes().reset(); };
    return program;
}

TEST(Explorer, ALostUpdateNeedsOnePreemption) {
    const Outcome none = ExploreDepthFirst(LostUpdate(), 0, kEnough);
    EXPECT_FALSE(none.failed) << none.failure;
    EXPECT_TRUE(none.exhausted);
    const Outcome one = ExploreDepthFirst(LostUpdate(), 1, kEnough);
    EXPECT_TRUE(one.failed);
    EXPECT_EQ(one.failure, "an update is lost");
}

TEST(Explorer, EverySamplingStrategyFindsALostUpdate) {
    EXPECT_TRUE(ExploreSeeds(LostUpdate(),
                             [](auto seed) { return std::make_unique<Uniform>(seed); }, 1,
                             {500, 60})
                    .failed);
    EXPECT_TRUE(ExploreSeeds(LostUpdate(),
                             [](auto seed) { return std::make_unique<Pct>(seed, 2, 8); }, 1,
                             {500, 60})
                    .failed);
}

TEST(Explorer, AFailingScheduleIsShrunkAndFailsAgain) {
    const Outcome found = ExploreSeeds(
        LostUpdate(), [](auto seed) { return std::make_unique<Uniform>(seed); }, 1, {500, 60});
    ASSERT_TRUE(found.failed);
    const Schedule small = Shrink(LostUpdate(), found);
    EXPECT_EQ(small.size(), 1U) << TextOf(small);
    EXPECT_EQ(RunOne(LostUpdate(), ScheduleOf(TextOf(small))).failure, "an update is lost");
    EXPECT_FALSE(RunOne(LostUpdate(), {}).failed);
}

TEST(Explorer, MutexesInTwoOrdersDeadlockAndTheReportSaysWhoWaits) {
    const Outcome outcome = ExploreDepthFirst(TwoOrders(false), 1, kEnough);
    ASSERT_TRUE(outcome.failed);
    EXPECT_NE(outcome.failure.find("deadlock"), std::string::npos) << outcome.failure;
    EXPECT_NE(outcome.failure.find("first locks mutex"), std::string::npos) << outcome.failure;
    EXPECT_NE(outcome.failure.find("held by second"), std::string::npos) << outcome.failure;
    EXPECT_NE(outcome.failure.find("held by first"), std::string::npos) << outcome.failure;
}

TEST(Explorer, MutexesInOneOrderAreExhaustedWithoutAFailure) {
    for (const int bound : {0, 1, 2, 3, 100}) {
        const Outcome outcome = ExploreDepthFirst(TwoOrders(true), bound, kEnough);
        EXPECT_FALSE(outcome.failed) << outcome.failure;
        EXPECT_TRUE(outcome.exhausted);
    }
}

TEST(Explorer, TheSameSeedGivesTheSameRun) {
    const auto uniform = [](auto seed) { return std::make_unique<Uniform>(seed); };
    for (std::uint64_t seed = 1; seed < 20; ++seed) {
        const Outcome first = ExploreSeeds(TwoOrders(true), uniform, seed, {1, 60});
        const Outcome again = ExploreSeeds(TwoOrders(true), uniform, seed, {1, 60});
        EXPECT_EQ(first.trace, again.trace);
        EXPECT_EQ(first.steps, again.steps);
    }
    const Outcome one = ExploreSeeds(TwoOrders(true), uniform, 1, {1, 60});
    const Outcome other = ExploreSeeds(TwoOrders(true), uniform, 3, {1, 60});
    EXPECT_NE(one.trace, other.trace);
}

TEST(Explorer, AWakeUpThatNeverComesIsADeadlock) {
    const Outcome outcome = RunOne(WithBody([] {
                                       const hvaxoevent event = vaxoevent_create(1, 0);
                                       vaxoevent_wait(event);
                                   }),
                                   {});
    ASSERT_TRUE(outcome.failed);
    EXPECT_NE(outcome.failure.find("main waits for event"), std::string::npos) << outcome.failure;
}

TEST(Explorer, AReaderComesBehindAWriterThatWaits) {
    // The reader in front waits for the one behind the writer: nobody goes on.
    const Program program = WithBody([] {
        static auto& s_lock = *new CVAXOLockRW();
        s_lock.LockRD();
        const int writer = Spawn("writer", [] {
            s_lock.LockRW();
            s_lock.Unlock();
        });
        const int reader = Spawn("reader", [] {
            s_lock.LockRD();
            s_lock.Unlock();
        });
        Join(reader);
        s_lock.Unlock();
        Join(writer);
    });
    const Outcome outcome = ExploreDepthFirst(program, 2, kEnough);
    ASSERT_TRUE(outcome.failed);
    EXPECT_NE(outcome.failure.find("reader read-locks lock"), std::string::npos) << outcome.failure;
}

TEST(Explorer, ACrashIsAFailureWithItsSchedule) {
    const Outcome outcome = RunOne(WithBody([] {
                                       const int other = Spawn("other", [] { _exit(9); });
                                       Join(other);
                                   }),
                                   {});
    EXPECT_TRUE(outcome.failed);
    EXPECT_EQ(outcome.failure, "ended with status 9");
}

TEST(Explorer, ARunWithoutAnEndFails) {
    const Outcome outcome = RunOne(WithBody([] {
                                       for (;;) {
                                           Reach(Kind::Program, &s_sum);
                                       }
                                   }),
                                   {});
    EXPECT_EQ(outcome.failure, "the run does not end");
}

}  // namespace
}  // namespace explore
