// The kit's cases as programs of the schedule explorer, on the platform layer that the
// explorer brings: every case under some hundred schedules. tests/explore says how it works.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>

#include "conformance/platform/Kit.h"
#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "explore/Session.h"

// ---- The stage ------------------------------------------------------------------

namespace conformance {
namespace {

const Case* g_case = nullptr;  // set before a process is forked for the case

}  // namespace

void Together(const std::vector<std::function<void()>>& bodies) {
    std::vector<int> threads;
    threads.reserve(bodies.size());
    for (const std::function<void()>& body : bodies) {
        threads.push_back(
            explore::Spawn("thread " + std::to_string(threads.size()), [&body] { body(); }));
    }
    for (const int thread : threads) {
        explore::Join(thread);
    }
}

int Rounds(int many) {
    return std::min(many, 2);
}

void Break(const std::string& seen) {
    explore::Fail("RULE BROKEN  " + std::string(g_case->name) + "\n  rule: " + g_case->rule +
                  "\n  seen: " + seen);
}

// A case that never ends is a deadlock here, whose report says who waits for what.
void WaitingFor(const char* /*what*/) {}

void Poll(const char* /*what*/, const std::function<bool()>& /*holds*/) {
    Break("the case needs the clock, and was not left out");
}

void Flag::Raise() {
    explore::Reach(explore::Kind::Program, this);
    explore::Release(this);
    m_isRaised = true;
}

void Flag::Await(const char* /*what*/) const {
    explore::Reach(explore::Kind::Program, this, [this] { return IsRaised(); });
    explore::Acquire(this);
}

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.name << ": " << one.rule;
}

// ---- The cases --------------------------------------------------------------------

namespace {

// No time passes under the explorer, its threads have no names, and its log is the test's own.
const unsigned s_leftOut = needs_clock | needs_names | needs_sink | needs_file;

std::string NameOf(const Case& one) {
    std::string name = one.name;
    std::replace_if(
        name.begin(), name.end(), [](char each) { return each == '-' || each == '/'; }, '_');
    return name;
}

Cases Explored() {
    Cases cases;
    for (const Case& one : AllCases()) {
        if ((one.needs & s_leftOut) == 0) {
            cases.push_back(one);
        }
    }
    return cases;
}

explore::Program ProgramOf(const Case& one) {
    explore::Program program;
    program.name = one.name;
    program.about = one.rule;
    program.body = one.run;
    g_case = &one;
    return program;
}

// With one preemption, and by lot.
explore::Outcome Explore(const Case& one) {
    const explore::Program program = ProgramOf(one);
    explore::Outcome outcome = explore::ExploreDepthFirst(program, 1, {300, 60});
    if (!outcome.failed) {
        outcome = explore::ExploreSeeds(
            program, [](auto seed) { return std::make_unique<explore::Uniform>(seed); }, 1,
            {150, 60});
    }
    if (!outcome.failed) {
        outcome = explore::ExploreSeeds(
            program, [](auto seed) { return std::make_unique<explore::Pct>(seed, 3, 100); }, 1,
            {150, 60});
    }
    return outcome;
}

class PlatformUnderTheExplorer : public testing::TestWithParam<Case> {};

TEST_P(PlatformUnderTheExplorer, HoldsTheRule) {
    const explore::Outcome outcome = Explore(GetParam());
    EXPECT_FALSE(outcome.failed) << outcome.failure << "\nschedule \""
                                 << explore::TextOf(outcome.schedule) << "\"";
    EXPECT_GT(outcome.schedules, 0U);
}

INSTANTIATE_TEST_SUITE_P(Kit, PlatformUnderTheExplorer, testing::ValuesIn(Explored()),
                         [](const auto& given) { return NameOf(given.param); });

// What is free is looked at and then taken, in two steps.
TEST(PlatformUnderTheExplorerItself, ABrokenRuleIsNamedWithItsSchedule) {
    static bool s_isFree = true;
    const Case broken = {"toy/two-steps", "One thread gets what is free.", needs_nothing, [] {
                             s_isFree = true;
                             int got[2] = {0, 0};
                             Together(2, [&](int number) {
                                 const explore::Unseen unseen;
                                 explore::Reach(explore::Kind::Program, &s_isFree);
                                 if (s_isFree) {
                                     explore::Reach(explore::Kind::Program, &s_isFree);
                                     s_isFree = false;
                                     got[number] = 1;
                                 }
                             });
                             Require(got[0] + got[1] == 1, "two threads got it");
                         }};
    const explore::Outcome outcome = Explore(broken);
    ASSERT_TRUE(outcome.failed);
    EXPECT_EQ(outcome.failure,
              "RULE BROKEN  toy/two-steps\n  rule: One thread gets what is free.\n"
              "  seen: two threads got it");
    EXPECT_GE(outcome.schedule.size(), 1U);
}

}  // namespace
}  // namespace conformance
