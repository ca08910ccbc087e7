// The library under the explorer: every program with every schedule of two preemptions,
// and by lot. script/explore does the same at length.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "explore/LiveStage.h"
#include "explore/Programs.h"
#include "explore/Session.h"
#include "live/VaxoLiveProxy.h"

namespace explore {
namespace {

class EveryProgram : public testing::TestWithParam<std::size_t> {
protected:
    const Program& Given() const { return Programs()[GetParam()]; }
};

std::string Report(const Program& program, const Outcome& outcome) {
    return program.name + ": " + outcome.failure + "\nschedule \"" +
           (outcome.failed ? TextOf(Shrink(program, outcome)) : "") + "\"";
}

// A sanitizer or an emulator makes a run ten times as long: it gets one preemption.
#if defined(VAXO_EXPLORE_SLOW)
const int kPreemptions = 1;
#else
const int kPreemptions = 2;
#endif

TEST_P(EveryProgram, HoldsInEveryScheduleOfFewPreemptions) {
    const Outcome outcome = ExploreDepthFirst(Given(), kPreemptions, Limits());
    EXPECT_FALSE(outcome.failed) << Report(Given(), outcome);
    EXPECT_TRUE(outcome.exhausted) << outcome.schedules;
    RecordProperty("schedules", std::to_string(outcome.schedules));
}

TEST_P(EveryProgram, HoldsBySchedulesByLot) {
    const Limits limits = {Given().fresh ? 50U : 500U, 60};
    const Outcome uniform = ExploreSeeds(
        Given(), [](auto seed) { return std::make_unique<Uniform>(seed); }, 1, limits);
    EXPECT_FALSE(uniform.failed) << Report(Given(), uniform);
    for (const int depth : {2, 3}) {
        const Outcome pct = ExploreSeeds(
            Given(), [=](auto seed) { return std::make_unique<Pct>(seed, depth, 100); }, 1, limits);
        EXPECT_FALSE(pct.failed) << Report(Given(), pct);
    }
}

TEST_P(EveryProgram, TheSameSeedGivesTheSameRun) {
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        std::uint64_t trace = 0;
        for (int round = 0; round < 2; ++round) {
            const Outcome outcome = ExploreSeeds(
                Given(), [](auto lot) { return std::make_unique<Uniform>(lot); }, seed, {1, 60});
            EXPECT_FALSE(outcome.failed) << Report(Given(), outcome);
            EXPECT_TRUE(round == 0 || trace == outcome.trace) << seed;
            trace = outcome.trace;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Explore, EveryProgram, testing::Range<std::size_t>(0, Programs().size()),
                         [](const auto& given) {
                             std::string name = Programs()[given.param].name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(Explore, ProgramsByLotHold) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Program program = RandomProgram(seed);
        const Outcome outcome = ExploreSeeds(
            program, [](auto lot) { return std::make_unique<Uniform>(lot); }, seed, {50, 60});
        EXPECT_FALSE(outcome.failed) << Report(program, outcome);
    }
}

// Why no engine call may wait for the delivery of an event: the pass holds the executing
// slot for reading, a completion waits to write, who asks for the executing command waits
// behind it, and the engine's call would wait for whoever asks.
TEST(Explore, AnEngineCallThatWaitsForAnEventToBeGivenNeverReturns) {
    Program program;
    program.prepare = [] { LiveStage::The().Begin(); };
    program.body = [] {
        const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
        queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(PlayStream, [] {
            const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
            const int completing = Spawn("completing", [proxy] { proxy->OnGetStreamList(0); });
            const int asking =
                Spawn("asking", [proxy] { proxy->OnPlayStateUpdate(Mediq::AVStateBegin, "x"); });
            Join(asking);
            static_cast<void>(completing);
            return 0;
        }));
        queue->StartCmdExecute();
    };
    const Outcome outcome = ExploreDepthFirst(program, 2, Limits());
    ASSERT_TRUE(outcome.failed);
    EXPECT_NE(outcome.failure.find("asking read-locks lock"), std::string::npos) << outcome.failure;
    EXPECT_NE(outcome.failure.find("completing write-locks lock"), std::string::npos)
        << outcome.failure;
}

}  // namespace
}  // namespace explore
