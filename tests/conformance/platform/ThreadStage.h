// Runs cases on the system's threads, with a watch for those that never end.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_THREADSTAGE_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_THREADSTAGE_H

#include <chrono>

#include "conformance/platform/Kit.h"

namespace conformance {

// Returns when the rule holds. Else the process ends with status 1 and a report; also when
// the case has not ended within the limit.
void RunOnThreads(const Case& one, std::chrono::seconds limit);

}  // namespace conformance

#endif
