// The programs to explore, and those that show the explorer itself.
#ifndef VAXO_TESTS_EXPLORE_PROGRAMS_H
#define VAXO_TESTS_EXPLORE_PROGRAMS_H

#include <cstdint>
#include <string>
#include <vector>

#include "explore/Program.h"

namespace explore {

// Each is small enough to be exhausted with two preemptions.
const std::vector<Program>& Programs();

// Calls, answers and threads by lot; "random:SEED".
Program RandomProgram(std::uint64_t seed);

// By name, also "random:SEED"; without a name when there is none.
Program ProgramOf(const std::string& name);

// Parts of the list.
void AddLivePrograms(std::vector<Program>& programs);
void AddRuntimePrograms(std::vector<Program>& programs);

}  // namespace explore

#endif
