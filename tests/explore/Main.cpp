// Explores the schedules of a program by hand; script/explore runs them all at length.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "explore/Programs.h"
#include "explore/Session.h"

namespace {

using namespace explore;

const char* const s_help =
    "vaxo_explore                              lists the programs\n"
    "vaxo_explore PROGRAM [OPTION...]          PROGRAM: a name of the list, or random:SEED\n"
    "  --strategy dfs:BOUND | pct:DEPTH | uniform     default dfs:2\n"
    "  --schedules N       at most, default 1000000\n"
    "  --seconds N         at most, default 600\n"
    "  --seed N            the first seed of pct and uniform, default 1\n"
    "  --replay \"12:2 40:0\"   one schedule, as a failure prints it; every step is printed\n"
    "Prints one line; a failure also its report and a schedule that shows it, as small as\n"
    "could be found. Status 0: no failure, 1: a failure, 2: not understood.\n";

MakeChooser MakeOf(const std::string& strategy, std::uint32_t length) {
    if (strategy == "uniform") {
        return [](std::uint64_t seed) { return std::make_unique<Uniform>(seed); };
    }
    const int depth = std::atoi(strategy.c_str() + strategy.find(':') + 1);
    return [=](std::uint64_t seed) { return std::make_unique<Pct>(seed, depth, length); };
}

Outcome ExploreBy(const std::string& strategy, const Program& program, const Limits& limits,
                  std::uint64_t seed) {
    if (strategy.compare(0, 4, "dfs:") == 0) {
        return ExploreDepthFirst(program, std::atoi(strategy.c_str() + 4), limits);
    }
    // How long a run is: for the places of the priority changes.
    const Outcome one = RunOne(program, {});
    return one.failed ? one : ExploreSeeds(program, MakeOf(strategy, one.decisions), seed, limits);
}

void Print(const Program& program, const std::string& strategy, const Outcome& outcome) {
    std::printf("%s %s: %llu schedules, %llu steps and %u decisions in the last%s%s\n",
                program.name.c_str(), strategy.c_str(),
                static_cast<unsigned long long>(outcome.schedules),
                static_cast<unsigned long long>(outcome.steps), outcome.decisions,
                outcome.exhausted ? ", exhausted" : "", outcome.failed ? ", FAILED" : "");
    if (outcome.failed) {
        const Schedule small = Shrink(program, outcome);
        std::printf("failure: %s\nschedule \"%s\" of \"%s\"\n", outcome.failure.c_str(),
                    TextOf(small).c_str(), TextOf(outcome.schedule).c_str());
    }
}

int Refuse() {
    std::fputs(s_help, stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        for (const Program& program : Programs()) {
            std::printf("%-26s%s\n", program.name.c_str(), program.about.c_str());
        }
        return 0;
    }
    const Program program = ProgramOf(argv[1]);
    std::map<std::string, std::string> options = {{"--strategy", "dfs:2"},
                                                  {"--schedules", "1000000"},
                                                  {"--seconds", "600"},
                                                  {"--seed", "1"},
                                                  {"--replay", "-"}};
    for (int i = 2; i < argc; i += 2) {
        if (options.count(argv[i]) == 0 || i + 1 == argc) {
            return Refuse();
        }
        options[argv[i]] = argv[i + 1];
    }
    const std::string strategy = options["--strategy"];
    if (program.name.empty() || (strategy != "uniform" && strategy.compare(0, 4, "dfs:") != 0 &&
                                 strategy.compare(0, 4, "pct:") != 0)) {
        return Refuse();
    }
    if (options["--replay"] != "-") {
        setenv("VAXO_EXPLORE_TRACE", "1", 1);
        const Outcome outcome = RunOne(program, ScheduleOf(options["--replay"]));
        Print(program, "replay", outcome);
        return outcome.failed ? 1 : 0;
    }
    const Limits limits = {std::strtoull(options["--schedules"].c_str(), nullptr, 10),
                           std::strtoull(options["--seconds"].c_str(), nullptr, 10)};
    const Outcome outcome =
        ExploreBy(strategy, program, limits, std::strtoull(options["--seed"].c_str(), nullptr, 10));
    Print(program, strategy, outcome);
    return outcome.failed ? 1 : 0;
}
