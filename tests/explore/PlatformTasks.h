// What the explorer's platform layer tells of its workers.
#ifndef VAXO_TESTS_EXPLORE_PLATFORMTASKS_H
#define VAXO_TESTS_EXPLORE_PLATFORMTASKS_H

#include <cstdint>
#include <string>

namespace explore {

// How many calls the calling thread has pushed to workers of that name.
std::uint64_t PushesBySelf(const std::string& worker);

}  // namespace explore

#endif
