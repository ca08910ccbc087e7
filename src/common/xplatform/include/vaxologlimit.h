// Whether a log line of a level has a chance of being written, for callers with many lines or
// with costly arguments.
//
// Any thread, at any time; one relaxed load. The answer no is certain: the platform's log drops
// such a line. The answer yes is a guess; a platform layer that never tells its limit gets every
// line and drops what it will. A copy of the library in another shared object has a limit of its
// own, which nobody tells it.
#ifndef VAXO_VAXOLOGLIMIT_H
#define VAXO_VAXOLOGLIMIT_H

#include <atomic>
#include <limits>

#include "vaxotypes.h"

// The platform layer's to set.
inline std::atomic<int32> vaxolog_limit{std::numeric_limits<int32>::max()};

// False: a line of this level would be dropped.
inline bool vaxolog_wants(int32 level) {
    return level <= vaxolog_limit.load(std::memory_order_relaxed);
}

#endif
