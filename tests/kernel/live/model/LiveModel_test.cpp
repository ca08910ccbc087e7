// Random programs on the real proxy, queue and runner, compared step by step with the
// model: every line that either side says, in one order.
//
//   VAXO_MODEL_PROGRAMS=N   programs a theme, in place of what a case asks for
//   VAXO_MODEL_SEED=N       LiveModelReplay plays the program of this seed
//   VAXO_MODEL_PROGRAM=F    LiveModelReplay plays the program in this file
//   VAXO_MODEL_VERBOSE=1    says every seed before it is played
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "kernel/live/model/Compare.h"
#include "kernel/live/model/Program.h"

namespace {

using livemodel::Program;

std::string Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

std::uint64_t NumberIn(const char* name, std::uint64_t otherwise) {
    const std::string value = Environment(name);
    return value.empty() ? otherwise : std::strtoull(value.c_str(), nullptr, 10);
}

void Agree(std::uint64_t seed) {
    const Program program = livemodel::Generate(seed);
    if (livemodel::Compare(program).found) {
        const std::string name = "VAXO_MODEL_SEED=" + std::to_string(seed);
        FAIL() << livemodel::Explain(name, program);
    }
}

// The programs of one theme, by its number.
void ThemeAgrees(std::size_t theme) {
    const std::uint64_t first = livemodel::Themes().at(theme).firstSeed;
    const std::uint64_t count = NumberIn("VAXO_MODEL_PROGRAMS", 3000);
    const bool verbose = !Environment("VAXO_MODEL_VERBOSE").empty();
    for (std::uint64_t seed = first; seed != first + count; ++seed) {
        if (verbose) {
            std::cerr << "seed " << seed << std::endl;
        }
        Agree(seed);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace

TEST(LiveModel, ProgramsOfEverythingAgree) {
    ThemeAgrees(0);
}

TEST(LiveModel, ProgramsThatCrowdTheQueueAgree) {
    ThemeAgrees(1);
}

TEST(LiveModel, ProgramsFullOfEventsAgree) {
    ThemeAgrees(2);
}

TEST(LiveModel, ProgramsThatActInsideOtherCallsAgree) {
    ThemeAgrees(3);
}

TEST(LiveModel, ProgramsWhoseCallbackObjectsComeAndGoAgree) {
    ThemeAgrees(4);
}

TEST(LiveModel, ProgramsOfMediaControlsAgree) {
    ThemeAgrees(5);
}

TEST(LiveModel, ProgramsWithCommandsOfUnknownTypesAgree) {
    ThemeAgrees(6);
}

TEST(LiveModel, ProgramsWhoseEngineComesAndGoesAgree) {
    ThemeAgrees(7);
}

// Plays what the environment names; without that, the road of a few requests.
TEST(LiveModelReplay, TheProgramThatTheEnvironmentNamesAgrees) {
    if (!Environment("VAXO_MODEL_SEED").empty()) {
        return Agree(NumberIn("VAXO_MODEL_SEED", 0));
    }
    std::string text =
        "SetCallback A\n"
        "Init 7 key\n"
        "in PlayStream: OnPlayStateUpdate 0 s1\n"
        "PlayStream s1 0\n"
        "during PlayStream: Logout\n"
        "PlayStream \"\\x00\" 1\n"
        "streams s1 s2\n"
        "run all\n"
        "answer 3\n";
    const std::string file = Environment("VAXO_MODEL_PROGRAM");
    if (!file.empty()) {
        std::ostringstream content;
        content << std::ifstream(file).rdbuf();
        text = content.str();
    }
    Program program;
    std::string error;
    ASSERT_TRUE(livemodel::Parse(text, program, error)) << error;
    ASSERT_FALSE(program.empty());
    EXPECT_FALSE(livemodel::Compare(program).found) << livemodel::Explain("the program", program);
}
