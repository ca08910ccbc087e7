// Reads log files line by line, in the order given, and keeps nothing of them.
//
// Guarantees
// - Memory is bounded: of a line longer than kLongestLine nothing is kept.
// - It ends: after kMostBytes of all files, and with a file in whose first kMostForeign bytes
//   no line of the library stands.
// - A file that is being written is read as far as it goes at that moment. Its last line counts
//   although its line end is missing.
#ifndef VAXO_APPS_TRACE_LOGREADER_H
#define VAXO_APPS_TRACE_LOGREADER_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "LogLine.h"

namespace vaxotrace {

constexpr std::size_t kLongestLine = 64 * 1024;
constexpr std::uint64_t kMostBytes = std::uint64_t{4} << 30U;
constexpr std::uint64_t kMostForeign = std::uint64_t{64} << 20U;

struct ReadReport {
    std::uint64_t bytes = 0;
    std::uint64_t lines = 0;                // of the library's log
    std::uint64_t otherLines = 0;           // of something else, or torn
    std::uint64_t tooLongLines = 0;         // left out
    std::vector<std::string> strangeFiles;  // without a line of the library
    bool isCut = false;                     // kMostBytes were not all
};

// Gives each line of the files to `take`. False when a file cannot be read, with `error`.
bool ReadLogs(const std::vector<std::string>& files,
              const std::function<void(const LogLine&)>& take, ReadReport& report,
              std::string& error);

}  // namespace vaxotrace

#endif
