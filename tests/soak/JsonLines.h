// What a member says: one JSON object a line on the standard output, whole lines from any
// thread. Each has "ms", milliseconds of the machine's monotonic clock.
#ifndef VAXO_TESTS_SOAK_JSONLINES_H
#define VAXO_TESTS_SOAK_JSONLINES_H

#include <nlohmann/json.hpp>

namespace soak {

void Say(nlohmann::json object);

}  // namespace soak

#endif
