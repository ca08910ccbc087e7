#include "fuzz/FormatCall.h"

#include <cstdarg>

#include "fuzz/Steps.h"
#include "vaxoformat.h"

namespace fuzz {

namespace {

std::string Call(const char* format, ...) {
    const std::string before = "before ";
    std::string once = before;
    std::string twice;
    std::va_list args;
    va_start(args, format);
    vaxo::format_append(once, format, args);
    vaxo::format_append(twice, format, args);  // the list has stayed where it was
    va_end(args);
    Require(once == before + twice, "two calls with the same list");
    return twice;
}

// A template because each list of types is a call of its own.
template <class... Done>
std::string CallWith(const char* format, const std::vector<Value>& values, Done... done) {
    if constexpr (sizeof...(Done) < kMostValues) {
        if (sizeof...(Done) < values.size()) {
            return std::visit([&](auto next) { return CallWith(format, values, done..., next); },
                              values[sizeof...(Done)]);
        }
    }
    return Call(format, done...);
}

}  // namespace

std::string Formatted(const std::string& format, const std::vector<Value>& values) {
    return CallWith(format.c_str(), values);
}

}  // namespace fuzz
