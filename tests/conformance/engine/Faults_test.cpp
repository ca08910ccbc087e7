// The kit finds faults: the memory engine with one fault at a time, the kit as a process of its
// own, and the rule that it must name.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <vector>

#include "conformance/engine/KitProcess.h"
#include "conformance/engine/Rules.h"

namespace conformance {

namespace {

struct Planted {
    const char* fault;  // as the memory engine knows it
    const char* found;  // the rule; of a crash, the case that it happens in
    const char* filter = "*";
};

void PrintTo(const Planted& planted, std::ostream* out) {
    *out << planted.fault;
}

const Planted kPlanted[] = {
    {"never answers a play", rule::Answered},
    {"never answers an entry", rule::Answered},
    {"never answers a logout", rule::Answered},
    {"answers a play twice", rule::Once},
    {"answers an entry twice", rule::Once},
    {"refuses a play and answers it", rule::Silent},
    {"refuses every entry", rule::Accepted},
    {"begins a stream that is nowhere", rule::Outcome},
    {"names another stream", rule::AsGiven},
    {"plays on after the end", rule::Ended},
    {"tells of a play after a logout", rule::AfterLogout},
    {"tells of a publish after Uninit", rule::AfterUninit},
    {"tells a size of nothing", rule::Values},
    {"lists no streams", rule::Listed},
    {"gives snapshots another index", rule::Snapshots},
    {"keeps the callback alive", rule::Weak},
    {"calls a callback that is gone", rule::Gone},
    {"keeps to the first callback", rule::Replaced, "Callback.ThatReplaces*"},
    {"waits for its events in a logout", rule::Returns},
    {"holds a lock while it tells", rule::Returns},
    {"names the channel that was left", rule::Empty, "*Nowhere*"},
    {"names no publish", rule::Named},
    {"clears the list before it fails", rule::Untouched},
    {"adds to the list", rule::Filled},
    {"never answers a stop of a play", rule::QueueGoesOn, "Proxy.*"},
    {"reads a device that is null", "DevicesThatAreNotThere"},
};

class Faults : public testing::TestWithParam<Planted> {};

TEST_P(Faults, AreFound) {
    const KitRun run = RunKit(GetParam().fault, GetParam().filter);
    EXPECT_FALSE(run.passed) << run.output;
    EXPECT_NE(run.output.find(GetParam().found), std::string::npos) << run.output;
}

INSTANTIATE_TEST_SUITE_P(Each, Faults, testing::ValuesIn(kPlanted),
                         [](const testing::TestParamInfo<Planted>& planted) {
                             std::string name = planted.param.fault;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST(Rules, EachHasAFaultThatBreaksIt) {
    for (const char* const rule : rule::All) {
        const bool planted =
            std::any_of(std::begin(kPlanted), std::end(kPlanted),
                        [&](const Planted& row) { return std::string(row.found) == rule; });
        EXPECT_TRUE(planted) << rule;
    }
}

TEST(Rules, AreKeptByAnEngineWithoutFaults) {
    const KitRun run = RunKit("", "*Answers*");
    EXPECT_TRUE(run.passed) << run.output;
    EXPECT_EQ(run.output.find("broken rule"), std::string::npos) << run.output;
}

}  // namespace

}  // namespace conformance
