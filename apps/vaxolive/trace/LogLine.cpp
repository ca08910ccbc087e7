#include "LogLine.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <system_error>

namespace vaxotrace {

namespace {

constexpr Micros kSecond = 1000000;
constexpr Micros kDay = 86400 * kSecond;
constexpr std::size_t kLongestText = 256;
constexpr std::size_t kLongestType = 32;

// Days between 1970-01-01 and a date of the Gregorian calendar, and back. Years are counted
// from March, so that the day that comes and goes is the last.
std::int64_t DaysOf(std::int64_t year, std::int64_t month, std::int64_t day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = year / 400;
    const std::int64_t inEra = year % 400;
    const std::int64_t inYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + inEra * 365 + inEra / 4 - inEra / 100 + inYear - 719468;
}

struct Date {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

Date DateOf(std::int64_t days) {
    days += 719468;
    const std::int64_t era = days / 146097;
    const std::int64_t inEra = days % 146097;
    const std::int64_t year = (inEra - inEra / 1460 + inEra / 36524 - inEra / 146096) / 365;
    const std::int64_t inYear = inEra - (365 * year + year / 4 - year / 100);
    const std::int64_t month = (5 * inYear + 2) / 153;
    const std::int64_t day = inYear - (153 * month + 2) / 5 + 1;
    const std::int64_t civil = month + (month < 10 ? 3 : -9);
    return {year + era * 400 + (civil <= 2 ? 1 : 0), civil, day};
}

// Exactly `digits` digits, from `least` to `most`, with `after` behind them.
bool TakeField(std::string_view& text, std::size_t digits, std::int64_t least, std::int64_t most,
               char after, std::int64_t& out) {
    std::int64_t value = 0;
    if (text.size() <= digits || text[digits] != after) {
        return false;
    }
    for (std::size_t i = 0; i < digits; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return false;
        }
        value = value * 10 + (text[i] - '0');
    }
    text.remove_prefix(digits + 1);
    out = value;
    return value >= least && value <= most;
}

bool TakeTime(std::string_view& text, Micros& out) {
    Date date{};
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    std::int64_t second = 0;
    std::int64_t micros = 0;
    if (!TakeField(text, 4, 1970, 9999, '-', date.year) ||
        !TakeField(text, 2, 1, 12, '-', date.month) || !TakeField(text, 2, 1, 31, ' ', date.day) ||
        !TakeField(text, 2, 0, 23, ':', hour) || !TakeField(text, 2, 0, 59, ':', minute) ||
        !TakeField(text, 2, 0, 60, '.', second) || !TakeField(text, 6, 0, 999999, ' ', micros)) {
        return false;
    }
    out = DaysOf(date.year, date.month, date.day) * kDay +
          ((hour * 60 + minute) * 60 + second) * kSecond + micros;
    return true;
}

bool TakeLevel(std::string_view& text, int& out) {
    const std::from_chars_result result =
        std::from_chars(text.data(), text.data() + text.size(), out);
    if (result.ec != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return TakeFront(text, " ");
}

// "CmdQueue:88 ". A tag of the library's has no blank in it.
bool TakeTag(std::string_view& text, std::string_view& out) {
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    const std::size_t colon = word.rfind(':');
    if (colon == std::string_view::npos || colon + 1 == word.size() ||
        word.find_first_not_of("0123456789", colon + 1) != std::string_view::npos) {
        return false;
    }
    out = word.substr(0, colon);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return true;
}

template <class... Values>
std::string Print(const char* format, Values... values) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

}  // namespace

bool TakeNumber(std::string_view& text, std::uint64_t& out) {
    const std::from_chars_result result =
        std::from_chars(text.data(), text.data() + text.size(), out);
    if (result.ec != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

bool TakeFront(std::string_view& text, std::string_view word) {
    if (text.substr(0, word.size()) != word) {
        return false;
    }
    text.remove_prefix(word.size());
    return true;
}

bool TakeBack(std::string_view& text, std::string_view word) {
    if (text.size() < word.size() || text.substr(text.size() - word.size()) != word) {
        return false;
    }
    text.remove_suffix(word.size());
    return true;
}

bool ParseLogLine(std::string_view line, LogLine& out) {
    if (!TakeTime(line, out.time) || !TakeNumber(line, out.thread) || !TakeFront(line, " ") ||
        !TakeLevel(line, out.level) || !TakeTag(line, out.tag)) {
        return false;
    }
    out.text = line;
    return true;
}

bool ParseCommandName(std::string_view text, CommandName& out) {
    const std::size_t open = text.find('(');
    if (open > kLongestType || !TakeBack(text, ")")) {
        return false;
    }
    out.type = std::string(text.substr(0, open));
    if (out.type.find_first_of(" ,:/") != std::string::npos) {
        return false;
    }
    text.remove_prefix(open + 1);
    if (!TakeNumber(text, out.number) || !TakeFront(text, "/")) {
        return false;
    }
    out.text = std::string(text.substr(0, kLongestText));
    return true;
}

std::string SayDate(Micros time) {
    const Date date = DateOf(time / kDay);
    return Print("%04d-%02d-%02d ", static_cast<int>(date.year), static_cast<int>(date.month),
                 static_cast<int>(date.day)) +
           SayTime(time);
}

std::string SayTime(Micros time) {
    const Micros inDay = time % kDay;
    const int seconds = static_cast<int>(inDay / kSecond);
    return Print("%02d:%02d:%02d.%06d", seconds / 3600, seconds / 60 % 60, seconds % 60,
                 static_cast<int>(inDay % kSecond));
}

std::string SayDuration(Micros duration) {
    const auto value = static_cast<double>(duration);
    const auto seconds = static_cast<long long>(duration / kSecond);
    if (duration < kSecond / 1000) {
        return Print("%lld us", static_cast<long long>(duration));
    }
    if (duration < kSecond / 10) {
        return Print("%.1f ms", value / 1e3);
    }
    if (duration < kSecond) {
        return Print("%.0f ms", value / 1e3);
    }
    if (duration < 120 * kSecond) {
        return Print("%.2f s", value / 1e6);
    }
    if (duration < 7200 * kSecond) {
        return Print("%lld min %lld s", seconds / 60, seconds % 60);
    }
    return Print("%lld h %lld min", seconds / 3600, seconds / 60 % 60);
}

}  // namespace vaxotrace
