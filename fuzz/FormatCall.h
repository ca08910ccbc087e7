// Calls the formatter with arguments whose number and kinds are known only at run time.
#ifndef VAXO_FUZZ_FORMATCALL_H
#define VAXO_FUZZ_FORMATCALL_H

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace fuzz {

// An argument as "..." takes it. Other integers are one of these under another name, and
// signed or unsigned is the same to "..."; "%p" and "%n" take a pointer to characters.
typedef std::variant<int, long, long long, double, long double, const char*, const wchar_t*> Value;

// Every kind at every place is a call of its own, so they cannot be many.
constexpr std::size_t kMostValues = 3;

// What the formatter appends; no more values than that.
std::string Formatted(const std::string& format, const std::vector<Value>& values);

}  // namespace fuzz

#endif
