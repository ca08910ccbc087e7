// One line of the library's log, taken apart:
//
//   2026-11-21 10:11:12.123456 12345 3 CmdQueue:88 text
//
// Pure functions, any thread. What they answer points into the line they were given.
#ifndef VAXO_APPS_TRACE_LOGLINE_H
#define VAXO_APPS_TRACE_LOGLINE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vaxotrace {

// Microseconds since 1970 on the clock of the log, which is local time: good for differences
// and for writing it down again. A line says no time zone.
typedef std::int64_t Micros;

constexpr Micros kNoTime = INT64_MIN;

struct LogLine {
    Micros time = kNoTime;
    std::uint64_t thread = 0;
    int level = 0;
    std::string_view tag;
    std::string_view text;
};

// False when `line` (without its line end) is no line of the library's log.
bool ParseLogLine(std::string_view line, LogLine& out);

// A command as the queue's lines name it: "PlayStream(0/show)".
struct CommandName {
    std::string type;  // empty: of no known type
    std::uint64_t number = 0;
    std::string text;  // of a long one the first 256 bytes

    bool operator==(const CommandName& other) const {
        return number == other.number && type == other.type && text == other.text;
    }
    bool operator!=(const CommandName& other) const { return !(*this == other); }
};

bool ParseCommandName(std::string_view text, CommandName& out);

// Takes a whole number of decimal digits from the front of `text`.
bool TakeNumber(std::string_view& text, std::uint64_t& out);

// Takes `word` from the front, or the end, of `text`.
bool TakeFront(std::string_view& text, std::string_view word);
bool TakeBack(std::string_view& text, std::string_view word);

// "2026-11-21 10:11:12.123456", and only the time of day.
std::string SayDate(Micros time);
std::string SayTime(Micros time);

// "12 us", "3.4 ms", "2.50 s", "3 min 20 s", "2 h 5 min".
std::string SayDuration(Micros duration);

}  // namespace vaxotrace

#endif
