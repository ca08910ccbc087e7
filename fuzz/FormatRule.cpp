#include "fuzz/FormatRule.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <type_traits>

namespace fuzz {

namespace {

const int kMostPadding = 1048576;

std::string TakeWhile(const std::string& text, std::size_t& at, const char* among) {
    const std::size_t end = std::min(text.find_first_not_of(among, at), text.size());
    const std::string taken = text.substr(at, end - at);
    at = end;
    return taken;
}

std::string TakeSize(const std::string& text, std::size_t& at) {
    if (text.compare(at, 1, "*") == 0) {
        ++at;
        return "*";
    }
    return TakeWhile(text, at, "0123456789");
}

std::string TakeLength(const std::string& text, std::size_t& at) {
    for (const char* length : {"hh", "ll", "h", "l", "j", "z", "t", "L"}) {
        const std::string candidate = length;
        if (text.compare(at, candidate.size(), candidate) == 0) {
            at += candidate.size();
            return candidate;
        }
    }
    return {};
}

bool IsDefined(const std::string& length, char type) {
    struct Row {
        const char* types;
        std::vector<std::string> lengths;
    };
    static const auto& s_rows = *new std::vector<Row>{
        {"diouxXn", {"", "hh", "h", "l", "ll", "j", "z", "t"}},
        {"aAeEfFgG", {"", "l", "L"}},
        {"cs", {"", "l"}},
        {"p", {""}},
    };
    return type != '\0' && std::any_of(s_rows.begin(), s_rows.end(), [&](const Row& row) {
               return std::string(row.types).find(type) != std::string::npos &&
                      std::count(row.lengths.begin(), row.lengths.end(), length) != 0;
           });
}

int Number(const std::string& digits, int most) {
    const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size());
    const std::string significant = digits.substr(first);
    if (significant.empty()) {
        return 0;
    }
    return significant.size() > 10
               ? most
               : static_cast<int>(std::min<long long>(std::stoll(significant), most));
}

// A template because each kind of value goes through snprintf's own "...".
template <class T>
std::string Printed(const std::string& format, T value) {
    const int size = std::snprintf(nullptr, 0, format.c_str(), value);
    if (size < 0) {
        return {};  // wide text that the locale cannot express
    }
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    text.pop_back();
    return text;
}

}  // namespace

Conversion ConversionAt(const std::string& format, std::size_t begin) {
    Conversion conversion;
    std::size_t at = begin + 1;
    conversion.begin = begin;
    conversion.flags = TakeWhile(format, at, "-+ #0");
    conversion.width = TakeSize(format, at);
    conversion.hasPrecision = format.compare(at, 1, ".") == 0;
    if (conversion.hasPrecision) {
        ++at;
        conversion.precision = TakeSize(format, at);
    }
    conversion.length = TakeLength(format, at);
    conversion.type = at < format.size() ? format[at] : '\0';
    conversion.defined = IsDefined(conversion.length, conversion.type);
    conversion.end = at + 1;
    return conversion;
}

std::vector<Conversion> ConversionsOf(const std::string& format) {
    std::vector<Conversion> conversions;
    std::size_t at = format.find('%');
    while (at != std::string::npos) {
        if (format.compare(at, 2, "%%") == 0) {
            at = format.find('%', at + 2);
            continue;
        }
        conversions.push_back(ConversionAt(format, at));
        if (!conversions.back().defined) {
            break;
        }
        at = format.find('%', conversions.back().end);
    }
    return conversions;
}

Sizes SizesOf(const Conversion& conversion, const std::vector<int>& stars) {
    Sizes sizes;
    if (conversion.width == "*") {
        const long long width = stars.front();
        sizes.left = width < 0;
        sizes.width = static_cast<int>(std::min<long long>(std::abs(width), kMostPadding));
    } else {
        sizes.width = Number(conversion.width, kMostPadding);
    }
    // A text's precision is a limit only.
    const int most = conversion.type == 's' ? INT_MAX : kMostPadding;
    if (conversion.precision == "*") {
        sizes.precision = std::max(-1, std::min(stars.back(), most));
    } else if (conversion.hasPrecision) {
        sizes.precision = Number(conversion.precision, most);
    }
    return sizes;
}

std::string Expected(const Conversion& conversion, const Sizes& sizes, const Value& value) {
    if (conversion.type == 'n') {
        return {};
    }
    std::string flags = conversion.flags + (sizes.left ? "-" : "");
    if (conversion.type == 's') {
        // The others are not defined for texts.
        flags = flags.find('-') == std::string::npos ? "" : "-";
    }
    const std::string format = "%" + flags + (sizes.width == 0 ? "" : std::to_string(sizes.width)) +
                               (sizes.precision < 0 ? "" : "." + std::to_string(sizes.precision)) +
                               conversion.length + conversion.type;
    return std::visit(
        [&](auto plain) {
            typedef decltype(plain) Plain;
            if constexpr (std::is_same_v<Plain, const char*>) {
                return Printed(format, plain == nullptr && conversion.type == 's' ? "" : plain);
            } else if constexpr (std::is_same_v<Plain, const wchar_t*>) {
                return Printed(format, plain == nullptr ? L"" : plain);
            } else {
                return Printed(format, plain);
            }
        },
        value);
}

}  // namespace fuzz
