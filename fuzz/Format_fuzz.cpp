// The formatter of log and strings beside the C library's. The first byte says whether the
// rest begins with any text as the format, or with conversions put together; then come the
// values of the arguments that the format asks for.
#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "fuzz/FormatCall.h"
#include "fuzz/FormatRule.h"
#include "fuzz/Input.h"

namespace fuzz {

namespace {

const char kUnwritten[] = "what n must not write to";

// A text that ends in a conversion; C does not define all that comes out.
std::string TakeConversion(Input& in) {
    std::string text = in.Flag() ? in.Text(6) : std::string();
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    text += '%';
    for (unsigned flags = in.Byte(), bit = 0; bit < 5; ++bit) {
        text += (flags >> bit & 1U) != 0 ? std::string(1, "-+ #0"[bit]) : std::string();
    }
    const char* const sizes[] = {"", "", "0", "1", "12", "140", "*", "*"};
    text += sizes[in.Below(std::size(sizes))];
    if (in.Flag()) {
        text += std::string(".") + sizes[in.Below(std::size(sizes))];
    }
    const char* const lengths[] = {"", "", "", "hh", "h", "l", "ll", "j", "z", "t", "L"};
    text += lengths[in.Below(std::size(lengths))];
    const char types[] = "diouxXaAeEfFgGcspn%";
    return text + types[in.Below(std::strlen(types))];
}

std::string TakeFormat(Input& in) {
    std::string format;
    if (in.Flag()) {
        for (std::uint32_t count = 1 + in.Below(4); count != 0; --count) {
            format += TakeConversion(in);
        }
        return format + (in.Flag() ? " end" : "");
    }
    for (std::uint32_t left = in.Below(100); left != 0 && !in.AtEnd(); --left) {
        format += static_cast<char>(in.Byte());
    }
    return format.substr(0, format.find('\0'));
}

// ---- Values ----

// The integer of a length modifier.
Value TakeInteger(Input& in, const std::string& length) {
    const long long edges[] = {0, 1, -1, INT_MIN, INT_MAX, LLONG_MIN, LLONG_MAX, 255};
    const std::uint32_t choice = in.Below(16);
    const long long number =
        choice < std::size(edges) ? edges[choice] : static_cast<long long>(in.Number(8));
    if (length == "ll") {
        return number;
    }
    if (length == "l" || length == "j" || length == "z" || length == "t") {
        static_assert(std::is_same_v<std::intmax_t, long> && std::is_same_v<std::ptrdiff_t, long>,
                      "these are one kind of argument here");
        return static_cast<long>(number);
    }
    return static_cast<int>(number);
}

double TakeDouble(Input& in) {
    typedef std::numeric_limits<double> Limits;
    const double edges[] = {0.0,
                            -0.0,
                            1.0,
                            0.5,
                            -1234.5678,
                            Limits::max(),
                            Limits::min(),
                            Limits::denorm_min(),
                            Limits::infinity(),
                            Limits::quiet_NaN()};
    const std::uint32_t choice = in.Below(16);
    if (choice < std::size(edges)) {
        return edges[choice];
    }
    const std::uint64_t bits = in.Number(8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

// Texts that live until the call is over.
class Texts {
public:
    // A null, empty or other text; one that a precision ends needs no terminator.
    const char* Take(Input& in, int precision) {
        if (in.Below(8) == 0) {
            return nullptr;
        }
        std::string text = in.Text(30);
        const bool ends = precision >= 0 && text.size() >= static_cast<std::size_t>(precision);
        std::vector<char>& kept = m_narrow.emplace_back(text.begin(), text.end());
        if (ends) {
            kept.resize(static_cast<std::size_t>(precision));
        } else {
            kept.push_back('\0');
        }
        kept.shrink_to_fit();
        static const char s_nothing = '\0';
        return kept.empty() ? &s_nothing : kept.data();
    }

    const wchar_t* TakeWide(Input& in) {
        if (in.Below(8) == 0) {
            return nullptr;
        }
        // The last cannot be expressed in any locale.
        const wchar_t some[] = {L'a', L'\x7F', L'\xE9', L'\x20AC', L'\U0001F600', L'\x7FFFFFFF'};
        std::vector<wchar_t>& kept = m_wide.emplace_back();
        for (std::uint32_t left = in.Below(12); left != 0; --left) {
            kept.push_back(some[in.Below(std::size(some))]);
        }
        kept.push_back(L'\0');
        return kept.data();
    }

private:
    std::list<std::vector<char>> m_narrow;
    std::list<std::vector<wchar_t>> m_wide;
};

Value TakeValue(Input& in, const Conversion& conversion, const Sizes& sizes, Texts& texts) {
    switch (conversion.type) {
        case 'c':
            return static_cast<int>(in.Number(conversion.length.empty() ? 1 : 3));
        case 's':
            if (conversion.length.empty()) {
                return texts.Take(in, sizes.precision);
            }
            return texts.TakeWide(in);
        case 'p':
            return in.Flag() ? kUnwritten + in.Below(8) : nullptr;
        case 'n':
            return kUnwritten;
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            return TakeInteger(in, conversion.length);
        default:
            if (conversion.length == "L") {
                return std::ldexp(static_cast<long double>(TakeDouble(in)),
                                  static_cast<int>(in.Number(2)) - 32768);
            }
            return TakeDouble(in);
    }
}

// A width or a precision: mostly small, at times anything.
int TakeStar(Input& in) {
    const int edges[] = {INT_MIN, INT_MAX, 1048576, 1048577, -1048577};
    const std::uint32_t choice = in.Below(256);
    if (choice >= 256 - std::size(edges)) {
        return edges[255 - choice];
    }
    // Zero when the input is at its end.
    return choice < 128 ? static_cast<int>(choice) : static_cast<int>(choice) - 256;
}

// ---- One input ----

void Run(Input& in) {
    std::string format = TakeFormat(in);
    std::string expected;
    std::vector<Value> values;
    Texts texts;
    std::size_t copied = 0;  // of the format
    const auto copyUpTo = [&](std::size_t end) {
        for (; copied < end; ++copied) {
            expected += format[copied];
            // Only "%%" stands between conversions.
            copied += format[copied] == '%' ? 1U : 0U;
        }
    };
    for (const Conversion& conversion : ConversionsOf(format)) {
        const std::size_t taken = conversion.Stars() + (conversion.defined ? 1U : 0U);
        if (values.size() + taken > kMostValues) {
            format.resize(conversion.begin);
            break;
        }
        copyUpTo(conversion.begin);
        std::vector<int> stars;
        for (std::size_t star = 0; star < conversion.Stars(); ++star) {
            stars.push_back(TakeStar(in));
            values.emplace_back(stars.back());
        }
        if (!conversion.defined) {
            expected += format.substr(conversion.begin);
            copied = format.size();
            break;
        }
        const Sizes sizes = SizesOf(conversion, stars);
        values.push_back(TakeValue(in, conversion, sizes, texts));
        expected += Expected(conversion, sizes, values.back());
        copied = conversion.end;
    }
    copyUpTo(format.size());
    const std::string got = Formatted(format, values);
    if (got != expected) {
        std::fprintf(
            stderr,
            "DIFFERENCE: format \"%s\" with %zu values\nexpected \"%.500s\"\ngot \"%.500s\"\n",
            format.c_str(), values.size(), expected.c_str(), got.c_str());
        std::abort();
    }
}

}  // namespace

}  // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    std::setlocale(LC_ALL, "C.UTF-8");  // which expresses nearly all wide texts
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    fuzz::Run(in);
    return 0;
}
