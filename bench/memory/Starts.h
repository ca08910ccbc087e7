// Starts of a small program that prints one line, its resident memory in KiB.
#ifndef VAXO_BENCH_MEMORY_STARTS_H
#define VAXO_BENCH_MEMORY_STARTS_H

#include <string>
#include <vector>

namespace vaxoengine {

struct Start {
    double lineMicroseconds = 0;  // until its line was there
    double endMicroseconds = 0;   // until it had ended
    long residentKib = 0;
};

// Starts `program`, in the folder of this one, once. Throws std::runtime_error when it cannot
// be started or fails.
Start StartOnce(const std::string& program);

// Member by member.
Start MedianOf(const std::vector<Start>& starts);

}  // namespace vaxoengine

#endif
