// A 64-bit hash of two numbers, for telling runs and states apart. Not for adversaries.
#ifndef VAXO_TESTS_EXPLORE_HASH_H
#define VAXO_TESTS_EXPLORE_HASH_H

#include <cstdint>

namespace explore {

inline std::uint64_t Mix(std::uint64_t seed, std::uint64_t value) {
    std::uint64_t mixed = (seed ^ (value + 0x9E3779B97F4A7C15U + (seed << 6U) + (seed >> 2U)));
    mixed ^= mixed >> 30U;
    mixed *= 0xBF58476D1CE4E5B9U;
    mixed ^= mixed >> 27U;
    mixed *= 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
}

}  // namespace explore

#endif
