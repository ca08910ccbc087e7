// Counts what operator new gives out. Linking CountingNew.cpp replaces the global operators
// of the program; they take a lock and are slow, so nothing is timed there.
#ifndef VAXO_BENCH_MEMORY_COUNTINGNEW_H
#define VAXO_BENCH_MEMORY_COUNTINGNEW_H

#include <cstdint>

namespace vaxoengine {

struct Counts {
    std::int64_t allocations = 0;  // blocks that are there
    std::int64_t bytes = 0;        // what was asked for them
    std::int64_t usable = 0;       // what the C library gave for them
    std::int64_t made = 0;         // blocks ever given out
};

// Of all threads, as it is now. Any thread.
Counts CountsNow();

}  // namespace vaxoengine

#endif
