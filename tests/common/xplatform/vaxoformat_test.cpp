#include "vaxoformat.h"

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

std::string Format(const char* format, ...) {
    std::string text;
    va_list args;
    va_start(args, format);
    vaxo::format_append(text, format, args);
    va_end(args);
    return text;
}

std::string Reference(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int size = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    text.pop_back();
    return text;
}

// A template because the arguments go through "..." twice.
template <typename... Args>
void ExpectAsPrintf(const std::string& format, Args... args) {
    EXPECT_EQ(Format(format.c_str(), args...), Reference(format.c_str(), args...)) << format;
}

// All sets of the flags, each with several widths and precisions.
std::vector<std::string> Prefixes(const std::string& flags) {
    std::vector<std::string> prefixes;
    for (unsigned set = 0; set < (1U << flags.size()); ++set) {
        std::string chosen = "%";
        for (std::size_t i = 0; i < flags.size(); ++i) {
            if ((set & (1U << i)) != 0) {
                chosen += flags[i];
            }
        }
        for (const char* sizes : {"", "1", "12", ".", ".0", ".3", "12.3", "3.12", "150.140"}) {
            prefixes.push_back(chosen + sizes);
        }
    }
    return prefixes;
}

template <typename T>
void ExpectIntegersAsPrintf(const char* length, const std::vector<T>& values) {
    for (const char* type : {"d", "i"}) {
        for (const std::string& prefix : Prefixes("-+ 0")) {
            for (const T value : values) {
                ExpectAsPrintf(prefix + length + type, value);
            }
        }
    }
}

template <typename T>
void ExpectUnsignedAsPrintf(const char* length, const std::vector<T>& values) {
    for (const std::string& prefix : Prefixes("-0")) {
        for (const T value : values) {
            ExpectAsPrintf(prefix + length + "u", value);
        }
    }
    for (const char* type : {"o", "x", "X"}) {
        for (const std::string& prefix : Prefixes("-#0")) {
            for (const T value : values) {
                ExpectAsPrintf(prefix + length + type, value);
            }
        }
    }
}

template <typename T>
std::vector<T> SomeOf() {
    return {T{0}, T{1}, T{42}, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}

TEST(VaxoFormat, PlainTextIsCopied) {
    EXPECT_EQ(Format("no conversion at all"), "no conversion at all");
    EXPECT_EQ(Format(""), "");
}

TEST(VaxoFormat, ANullFormatAppendsNothing) {
    EXPECT_EQ(Format(nullptr), "");
}

TEST(VaxoFormat, TheTextIsAppendedToWhatIsThere) {
    std::string text = "before ";
    const auto append = [&text](const char* format, ...) {
        va_list args;
        va_start(args, format);
        vaxo::format_append(text, format, args);
        va_end(args);
    };
    append("%d", 1);
    append(" and %s", "2");
    EXPECT_EQ(text, "before 1 and 2");
}

TEST(VaxoFormat, TheCallersArgumentListStaysWhereItWas) {
    const auto twice = [](const char* format, ...) {
        std::string text;
        va_list args;
        va_start(args, format);
        vaxo::format_append(text, format, args);
        text += va_arg(args, int) == 7 ? " first" : " moved";
        va_end(args);
        return text;
    };
    EXPECT_EQ(twice("%d-%d", 7, 8), "7-8 first");
}

TEST(VaxoFormat, ACommandPrintsAsDescriptionNumberAndText) {
    EXPECT_EQ(Format("%s(%llu/%s)", "SyncCmd", 1114ULL, "extra"), "SyncCmd(1114/extra)");
    EXPECT_EQ(Format("%s(%llu/%s)", "SyncCmd", ULLONG_MAX, static_cast<char*>(nullptr)),
              "SyncCmd(18446744073709551615/)");
}

TEST(VaxoFormat, SignedIntegersOfEveryLengthPrintAsPrintfDoes) {
    ExpectIntegersAsPrintf("", SomeOf<int>());
    ExpectIntegersAsPrintf("l", SomeOf<long>());
    ExpectIntegersAsPrintf("ll", SomeOf<long long>());
    ExpectIntegersAsPrintf("j", SomeOf<std::intmax_t>());
    ExpectIntegersAsPrintf("t", SomeOf<std::ptrdiff_t>());
    ExpectIntegersAsPrintf("z", SomeOf<std::ptrdiff_t>());
}

TEST(VaxoFormat, UnsignedIntegersOfEveryLengthPrintAsPrintfDoes) {
    ExpectUnsignedAsPrintf("", SomeOf<unsigned>());
    ExpectUnsignedAsPrintf("l", SomeOf<unsigned long>());
    ExpectUnsignedAsPrintf("ll", SomeOf<unsigned long long>());
    ExpectUnsignedAsPrintf("j", SomeOf<std::uintmax_t>());
    ExpectUnsignedAsPrintf("z", SomeOf<std::size_t>());
    ExpectUnsignedAsPrintf("t", SomeOf<std::size_t>());
}

TEST(VaxoFormat, NarrowLengthsCutTheArgumentAsPrintfDoes) {
    const std::vector<int> values{0, 1, -1, 127, 128, 255, 256, -129, 32768, 65535, 65536, INT_MIN};
    ExpectIntegersAsPrintf("hh", values);
    ExpectIntegersAsPrintf("h", values);
    ExpectUnsignedAsPrintf("hh", std::vector<unsigned>{0, 1, 255, 256, 65537, UINT_MAX});
    ExpectUnsignedAsPrintf("h", std::vector<unsigned>{0, 1, 255, 65535, 65536, UINT_MAX});
    EXPECT_EQ(Format("%hhd %hd %hhu", 300, 70000, 300U), "44 4464 44");
}

TEST(VaxoFormat, FloatingPointPrintsAsPrintfDoes) {
    const std::vector<double> values{0.0,
                                     -0.0,
                                     1.0,
                                     -1.5,
                                     3.14159,
                                     1e-300,
                                     1e300,
                                     std::numeric_limits<double>::infinity(),
                                     std::numeric_limits<double>::quiet_NaN()};
    for (const char* type : {"e", "E", "f", "F", "g", "G", "a", "A"}) {
        for (const std::string& prefix : Prefixes("-+ #0")) {
            for (const double value : values) {
                ExpectAsPrintf(prefix + type, value);
                ExpectAsPrintf(prefix + "l" + type, value);
                ExpectAsPrintf(prefix + "L" + type, static_cast<long double>(value));
            }
        }
    }
}

TEST(VaxoFormat, CharactersAndPointersPrintAsPrintfDoes) {
    int object = 0;
    for (const char* prefix : {"%", "%5", "%-5"}) {
        ExpectAsPrintf(std::string(prefix) + "c", 'x');
        ExpectAsPrintf(std::string(prefix) + "c", 200);
        ExpectAsPrintf(std::string(prefix) + "lc", static_cast<std::wint_t>(L'w'));
        ExpectAsPrintf(std::string(prefix) + "p", static_cast<void*>(&object));
        ExpectAsPrintf(std::string(prefix) + "p", static_cast<void*>(nullptr));
    }
}

TEST(VaxoFormat, ANulCharacterIsPartOfTheText) {
    EXPECT_EQ(Format("a%cb", 0), std::string("a\0b", 3));
}

TEST(VaxoFormat, TextsPrintAsPrintfDoes) {
    for (const char* sizes : {"", "1", "12", ".", ".0", ".3", ".12", "12.3", "3.12", "300.200"}) {
        for (const char* flags : {"", "-"}) {
            for (const char* text : {"", "a", "abc", "abcdefghijklm"}) {
                ExpectAsPrintf(std::string("%") + flags + sizes + "s", text);
            }
            for (const wchar_t* text : {L"", L"a", L"abc", L"abcdefghijklm"}) {
                ExpectAsPrintf(std::string("%") + flags + sizes + "ls", text);
            }
        }
    }
}

TEST(VaxoFormat, StarsTakeTheirArguments) {
    for (const int width : {0, 1, 7, -7, 200, -200}) {
        for (const int precision : {-5, -1, 0, 2, 180}) {
            ExpectAsPrintf("%*.*d|", width, precision, 42);
            ExpectAsPrintf("%*.*s|", width, precision, "text");
            ExpectAsPrintf("%*.*f|", width, precision, 2.5);
            ExpectAsPrintf("%0*d|%.*x|%-*c|", width, 42, precision, 255U, width, 'c');
        }
    }
}

TEST(VaxoFormat, RepeatedFlagsCountOnce) {
    ExpectAsPrintf("%-----8d|%++++++d|%#####x|%00000005d|%      d", 1, 2, 3U, 4, 5);
}

TEST(VaxoFormat, ManyConversionsInOneFormatKeepTheirArguments) {
    ExpectAsPrintf("%d %s %5.2f %lld %c %zu %Lg %%%hhd %s %p end", -1, "two", 3.0, 4LL, '5',
                   std::size_t{6}, 7.0L, 8, "nine", static_cast<void*>(nullptr));
}

TEST(VaxoFormat, APercentSignIsWrittenTwice) {
    EXPECT_EQ(Format("100%% of %d%%", 5), "100% of 5%");
    EXPECT_EQ(Format("%%"), "%");
}

TEST(VaxoFormat, ANullTextPrintsAsTheEmptyTextInEveryForm) {
    const char* none = nullptr;
    EXPECT_EQ(Format("[%s]", none), "[]");
    EXPECT_EQ(Format("[%4s]", none), "[    ]");
    EXPECT_EQ(Format("[%-4s]", none), "[    ]");
    EXPECT_EQ(Format("[%.3s]", none), "[]");
    EXPECT_EQ(Format("[%.9s]", none), "[]");
    EXPECT_EQ(Format("[%*s]", 3, none), "[   ]");
    EXPECT_EQ(Format("[%-*.*s]", 3, 6, none), "[   ]");
    EXPECT_EQ(Format("[%s|%d]", none, 7), "[|7]");
}

TEST(VaxoFormat, ANullWideTextPrintsAsTheEmptyTextInEveryForm) {
    const wchar_t* none = nullptr;
    EXPECT_EQ(Format("[%ls]", none), "[]");
    EXPECT_EQ(Format("[%4ls]", none), "[    ]");
    EXPECT_EQ(Format("[%.9ls]", none), "[]");
}

TEST(VaxoFormat, TheStoreConversionTakesItsArgumentAndWritesNothing) {
    int count = 77;
    EXPECT_EQ(Format("ab%ncd%d", &count, 5), "abcd5");
    EXPECT_EQ(count, 77);
    long long wide = 78;
    signed char narrow = 79;
    EXPECT_EQ(Format("%lln%hhn%s", &wide, &narrow, "end"), "end");
    EXPECT_EQ(wide, 78);
    EXPECT_EQ(narrow, 79);
    EXPECT_EQ(Format("a%nb", static_cast<int*>(nullptr)), "ab");
}

TEST(VaxoFormat, AnUndefinedConversionIsCopiedWithAllBehindIt) {
    for (const char* unknown :
         {"%y and %d", "%", "%5", "%-", "%.", "%l", "%hh", "%1$d %s", "%m%d", "%'d", "%Ld", "%Ls",
          "%hs", "%llf", "%zc", "%lp", "%5%", "%C", "%S"}) {
        EXPECT_EQ(Format((std::string("%d ") + unknown).c_str(), 1, 2, 3),
                  std::string("1 ") + unknown);
    }
}

TEST(VaxoFormat, APrecisionBoundsTheReadingOfAnUnterminatedText) {
    // Of exactly this size, so that the address sanitizer sees one byte more.
    const auto text = std::make_unique<char[]>(3);
    std::memcpy(text.get(), "abc", 3);
    EXPECT_EQ(Format("[%.3s]", text.get()), "[abc]");
    EXPECT_EQ(Format("[%.*s]", 2, text.get()), "[ab]");
    EXPECT_EQ(Format("[%5.3s]", text.get()), "[  abc]");
    EXPECT_EQ(Format("[%.0s]", text.get()), "[]");
}

TEST(VaxoFormat, ALargePrecisionReadsNoFurtherThanTheTerminator) {
    const auto text = std::make_unique<char[]>(4);
    std::memcpy(text.get(), "abc", 4);
    EXPECT_EQ(Format("[%.2147483647s]", text.get()), "[abc]");
    EXPECT_EQ(Format("[%.99999999999999999999s]", text.get()), "[abc]");
    EXPECT_EQ(Format("[%.*s]", INT_MAX, text.get()), "[abc]");
}

TEST(VaxoFormat, ATextOfAnyLengthIsWhole) {
    const std::string text = std::string(3000000, 'a') + "end";
    EXPECT_EQ(Format("<%s>", text.c_str()), "<" + text + ">");
    EXPECT_EQ(Format("%.2000000s", text.c_str()), text.substr(0, 2000000));
    EXPECT_EQ(Format(text.c_str()), text);
}

TEST(VaxoFormat, ResultsAroundTheSizeOfAnInnerBufferAreWhole) {
    for (int width = 100; width < 300; ++width) {
        const std::string text = Format("%*d", width, 5);
        EXPECT_EQ(text, std::string(static_cast<std::size_t>(width) - 1, ' ') + "5");
    }
}

TEST(VaxoFormat, HugeWidthsAndPrecisionsAreCutToOneMebibyte) {
    constexpr std::size_t kMost = 1048576;
    EXPECT_EQ(Format("%2147483647d", 1).size(), kMost);
    EXPECT_EQ(Format("%99999999999999999999d|", 1).size(), kMost + 1);
    EXPECT_EQ(Format("%*d", INT_MAX, 1).size(), kMost);
    EXPECT_EQ(Format("%*d|", INT_MIN, 1), "1" + std::string(kMost - 1, ' ') + "|");
    EXPECT_EQ(Format("%.2147483647d", 1), std::string(kMost - 1, '0') + "1");
    EXPECT_EQ(Format("%.99999999999999999999x", 1U).size(), kMost);
    EXPECT_EQ(Format("%.*d", INT_MAX, 1).size(), kMost);
    EXPECT_EQ(Format("%.2147483647f", 1.0), "1." + std::string(kMost, '0'));
    EXPECT_EQ(Format("%2147483647s", "a").size(), kMost);
    EXPECT_EQ(Format("%2147483647s", static_cast<char*>(nullptr)).size(), kMost);
    EXPECT_EQ(Format("%1048576d", 1).size(), kMost);
    EXPECT_EQ(Format("%1048575d", 1).size(), kMost - 1);
}

TEST(VaxoFormat, WideTextThatTheLocaleCannotExpressPrintsAsNothing) {
    // The locale is "C", in which every program starts.
    EXPECT_EQ(Format("[%ls|%d]", L"\u4e2d", 3), "[|3]");
    EXPECT_EQ(Format("[%lc|%d]", static_cast<std::wint_t>(0x4e2d), 3), "[|3]");
}

}  // namespace
