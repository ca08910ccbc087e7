// What vaxo_bench_start and vaxo_bench_empty have in common: the line that they print.
#ifndef VAXO_BENCH_MEMORY_RESIDENT_H
#define VAXO_BENCH_MEMORY_RESIDENT_H

#include <cstdio>

namespace vaxoengine {

// Prints the memory of this process that is resident now, in KiB, as one line; 0 when the
// system does not tell.
inline void PrintResident() {
    long kib = 0;
    if (std::FILE* const status = std::fopen("/proc/self/status", "re")) {
        char line[256];
        while (std::fgets(line, sizeof(line), status) != nullptr &&
               std::sscanf(line, "VmRSS: %ld", &kib) != 1) {
        }
        static_cast<void>(std::fclose(status));
    }
    std::printf("%ld\n", kib);
    static_cast<void>(std::fflush(stdout));
}

}  // namespace vaxoengine

#endif
