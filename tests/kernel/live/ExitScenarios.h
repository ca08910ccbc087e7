// What a process does that ends in the middle of work: one scenario a process, chosen by
// its name. The process then has nothing on its standard error, ends with status 0, and
// prints the words that say how far it came.
#ifndef VAXO_TESTS_LIVE_EXITSCENARIOS_H
#define VAXO_TESTS_LIVE_EXITSCENARIOS_H

#include <string>

namespace livetest {

// To be called by main, which returns the answer; some scenarios leave by exit instead.
// `path` is where the scenario with a log file writes it.
int RunExitScenario(const std::string& name, const std::string& path);

}  // namespace livetest

#endif
