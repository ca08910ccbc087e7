#include "vaxoformat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <type_traits>

namespace {

// The largest width, and the largest precision of a number.
constexpr int kMaxPadding = 1 << 20;

enum class Length { none, hh, h, l, ll, j, z, t, L };

// One "%..." of the format, its "*" already replaced by their arguments.
struct Conversion {
    std::array<char, 6> flags{};  // each of "-+ #0" at most once, terminated
    int width = 0;                // 0: none, which prints the same
    int precision = -1;           // -1: none
    Length length = Length::none;
    char type = '\0';

    bool has(char flag) const { return std::strchr(flags.data(), flag) != nullptr; }

    void set(char flag) {
        if (!has(flag)) {
            flags[std::strlen(flags.data())] = flag;
        }
    }

    bool isPlain() const { return flags[0] == '\0' && width == 0 && precision < 0; }
};

// Walks over one format and its arguments.
class Formatter {
public:
    Formatter(std::string& out, va_list args) : m_out(out) { va_copy(m_args, args); }
    ~Formatter() { va_end(m_args); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    void run(const char* format);

private:
    bool quick(const char*& at);
    bool parse(const char*& at, Conversion& conversion);
    void parseWidth(const char*& at, Conversion& conversion);
    void parsePrecision(const char*& at, Conversion& conversion);
    void convert(const Conversion& conversion);

    std::intmax_t nextSigned(Length length);
    std::uintmax_t nextUnsigned(Length length);

    void appendText(const Conversion& conversion, const char* text);
    template <typename T>
    void appendDecimal(T value);
    template <typename T>
    void appendInteger(const Conversion& conversion, T value);
    template <typename T>
    void append(const Conversion& conversion, const char* length, T value);

    std::string& m_out;
    va_list m_args;
};

// The digits at `at` as a number, at most `limit`.
int parseDigits(const char*& at, int limit) {
    int value = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        // Compared before it is multiplied, so that it cannot overflow.
        const int digit = *at - '0';
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return value;
}

Length parseLength(const char*& at) {
    const char letter = *at;
    const bool isDoubled = (letter == 'h' || letter == 'l') && at[1] == letter;
    Length length = Length::none;
    switch (letter) {
        case 'h':
            length = isDoubled ? Length::hh : Length::h;
            break;
        case 'l':
            length = isDoubled ? Length::ll : Length::l;
            break;
        case 'j':
            length = Length::j;
            break;
        case 'z':
            length = Length::z;
            break;
        case 't':
            length = Length::t;
            break;
        case 'L':
            length = Length::L;
            break;
        default:
            return length;
    }
    at += isDoubled ? 2 : 1;
    return length;
}

// Whether C defines this pair of length modifier and conversion.
bool isDefined(Length length, char type) {
    switch (type) {
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X':
        case 'n':
            return length != Length::L;
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
            return length == Length::none || length == Length::l || length == Length::L;
        case 'c':
        case 's':
            return length == Length::none || length == Length::l;
        case 'p':
            return length == Length::none;
        default:
            return false;
    }
}

void Formatter::run(const char* format) {
    for (;;) {
        const char* percent = std::strchr(format, '%');
        if (percent == nullptr) {
            m_out.append(format);
            return;
        }
        m_out.append(format, static_cast<std::size_t>(percent - format));
        format = percent + 1;
        if (quick(format)) {
            continue;
        }
        Conversion conversion;
        if (!parse(format, conversion)) {
            m_out.append(percent);
            return;
        }
        convert(conversion);
    }
}

// Writes a conversion that is nothing but a usual type, and moves `at` behind it; false for any
// other. Most lines of the log have these alone, and they cost a third of the long way.
bool Formatter::quick(const char*& at) {
    std::size_t letters = 1;
    switch (at[0]) {
        case '%':
            m_out.push_back('%');
            break;
        case 's':
            if (const char* const text = va_arg(m_args, const char*)) {
                m_out.append(text);
            }
            break;
        case 'd':
            appendDecimal(va_arg(m_args, int));
            break;
        case 'u':
            appendDecimal(va_arg(m_args, unsigned int));
            break;
        case 'l':
            if (at[1] != 'l' || at[2] != 'u') {
                return false;
            }
            appendDecimal(va_arg(m_args, unsigned long long));
            letters = 3;
            break;
        default:
            return false;
    }
    at += letters;
    return true;
}

// Reads a conversion behind its "%" and moves `at` behind it; false when C does
// not define it.
bool Formatter::parse(const char*& at, Conversion& conversion) {
    for (; *at != '\0' && std::strchr("-+ #0", *at) != nullptr; ++at) {
        conversion.set(*at);
    }
    parseWidth(at, conversion);
    parsePrecision(at, conversion);
    conversion.length = parseLength(at);
    conversion.type = *at;
    if (!isDefined(conversion.length, conversion.type)) {
        return false;
    }
    ++at;
    if (conversion.type != 's') {
        conversion.precision = std::min(conversion.precision, kMaxPadding);
    }
    return true;
}

void Formatter::parseWidth(const char*& at, Conversion& conversion) {
    if (*at != '*') {
        conversion.width = parseDigits(at, kMaxPadding);
        return;
    }
    ++at;
    int width = va_arg(m_args, int);
    if (width < 0) {
        conversion.set('-');
        width = width < -kMaxPadding ? kMaxPadding : -width;
    }
    conversion.width = std::min(width, kMaxPadding);
}

void Formatter::parsePrecision(const char*& at, Conversion& conversion) {
    if (*at != '.') {
        return;
    }
    ++at;
    if (*at != '*') {
        conversion.precision = parseDigits(at, INT_MAX);
        return;
    }
    ++at;
    conversion.precision = std::max(va_arg(m_args, int), -1);
}

void Formatter::convert(const Conversion& conversion) {
    const bool isLong = conversion.length == Length::l;
    switch (conversion.type) {
        case 'd':
        case 'i':
            appendInteger(conversion, nextSigned(conversion.length));
            break;
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            appendInteger(conversion, nextUnsigned(conversion.length));
            break;
        case 'c':
            if (isLong) {
                append(conversion, "l", va_arg(m_args, std::wint_t));
            } else {
                append(conversion, "", va_arg(m_args, int));
            }
            break;
        case 's':
            if (isLong) {
                const wchar_t* text = va_arg(m_args, const wchar_t*);
                append(conversion, "l", text == nullptr ? L"" : text);
            } else {
                const char* text = va_arg(m_args, const char*);
                appendText(conversion, text == nullptr ? "" : text);
            }
            break;
        case 'p':
            append(conversion, "", va_arg(m_args, void*));
            break;
        case 'n':
            // Taken and left alone; every object pointer is passed alike.
            static_cast<void>(va_arg(m_args, void*));
            break;
        default:  // the floating-point conversions
            if (conversion.length == Length::L) {
                append(conversion, "L", va_arg(m_args, long double));
            } else {
                append(conversion, "", va_arg(m_args, double));
            }
            break;
    }
}

// The narrow types arrive promoted to int; the casts undo it, as printf does.
std::intmax_t Formatter::nextSigned(Length length) {
    switch (length) {
        case Length::hh:
            return static_cast<signed char>(va_arg(m_args, int));
        case Length::h:
            return static_cast<short>(va_arg(m_args, int));
        case Length::l:
            return va_arg(m_args, long);
        case Length::ll:
            return va_arg(m_args, long long);
        // NOLINTNEXTLINE(bugprone-branch-clone): one type here, others elsewhere
        case Length::j:
            return va_arg(m_args, std::intmax_t);
        case Length::z:
            return va_arg(m_args, std::make_signed_t<std::size_t>);
        case Length::t:
            return va_arg(m_args, std::ptrdiff_t);
        default:
            return va_arg(m_args, int);
    }
}

std::uintmax_t Formatter::nextUnsigned(Length length) {
    switch (length) {
        case Length::hh:
            return static_cast<unsigned char>(va_arg(m_args, unsigned int));
        case Length::h:
            return static_cast<unsigned short>(va_arg(m_args, unsigned int));
        case Length::l:
            return va_arg(m_args, unsigned long);
        case Length::ll:
            return va_arg(m_args, unsigned long long);
        // NOLINTNEXTLINE(bugprone-branch-clone): one type here, others elsewhere
        case Length::j:
            return va_arg(m_args, std::uintmax_t);
        case Length::z:
            return va_arg(m_args, std::size_t);
        case Length::t:
            return va_arg(m_args, std::make_unsigned_t<std::ptrdiff_t>);
        default:
            return va_arg(m_args, unsigned int);
    }
}

// Done by hand and not by snprintf: its result is an int, and the text may be
// longer than that.
void Formatter::appendText(const Conversion& conversion, const char* text) {
    std::size_t size = 0;
    if (conversion.precision < 0) {
        size = std::strlen(text);
    } else {
        // Stops at the terminator, and at the precision if there is none.
        const auto limit = static_cast<std::size_t>(conversion.precision);
        const void* end = std::memchr(text, '\0', limit);
        size =
            end == nullptr ? limit : static_cast<std::size_t>(static_cast<const char*>(end) - text);
    }
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > size ? width - size : 0;
    const bool isLeft = conversion.has('-');
    if (padding != 0 && !isLeft) {
        m_out.append(padding, ' ');
    }
    m_out.append(text, size);
    if (padding != 0 && isLeft) {
        m_out.append(padding, ' ');
    }
}

// Templates because signed and unsigned values take the same way.
template <typename T>
void Formatter::appendDecimal(T value) {
    std::array<char, 24> digits;  // 64 bits need 20 and a sign
    char* const begin = digits.data();
    const char* const end = std::to_chars(begin, begin + digits.size(), value).ptr;
    m_out.append(begin, static_cast<std::size_t>(end - begin));
}

template <typename T>
void Formatter::appendInteger(const Conversion& conversion, T value) {
    const bool isDecimal =
        conversion.type == 'd' || conversion.type == 'i' || conversion.type == 'u';
    if (!isDecimal || !conversion.isPlain()) {
        append(conversion, "j", value);
        return;
    }
    appendDecimal(value);
}

// Formats one value with snprintf. The width and the precision always go in as
// "*", which leaves one shape of format: "%", flags, "*.*", length, type. A
// template because the value goes through snprintf's own "...".
template <typename T>
void Formatter::append(const Conversion& conversion, const char* length, T value) {
    std::string format("%");
    format.append(conversion.flags.data()).append("*.*").append(length).append(1, conversion.type);

    std::array<char, 128> buffer{};
    const int wanted = std::snprintf(buffer.data(), buffer.size(), format.c_str(), conversion.width,
                                     conversion.precision, value);
    if (wanted < 0) {
        return;  // wide text that the locale cannot express
    }
    const auto size = static_cast<std::size_t>(wanted);
    if (size < buffer.size()) {
        m_out.append(buffer.data(), size);
        return;
    }
    const std::size_t before = m_out.size();
    m_out.resize(before + size + 1);  // snprintf writes its terminator too
    std::snprintf(&m_out[before], size + 1, format.c_str(), conversion.width, conversion.precision,
                  value);
    m_out.resize(before + size);
}

}  // namespace

namespace vaxo {

void format_append(std::string& out, const char* format, va_list args) {
    if (format != nullptr) {
        Formatter(out, args).run(format);
    }
}

}  // namespace vaxo
