// strutf16, and the conversions between UTF-8 and UTF-16.
#include "vaxostrutf16.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/StringText.h"
#include "vaxostrutf8.h"

namespace {

using vaxo::strutf16;
using vaxo::strutf8;
using vaxotest::text;
using vaxotest::units;

// The input ends where its block of memory ends, so that the address sanitizer
// sees a read past it.
strutf16 from_units(const std::u16string& s) {
    const std::vector<utf16> block(s.begin(), s.end());
    return {block.data(), static_cast<uint32>(block.size())};
}

std::string to_utf8(const std::u16string& s) {
    const std::vector<utf16> block(s.begin(), s.end());
    return text(strutf8(block.data(), static_cast<uint32>(block.size())));
}

std::u16string to_utf16(const std::string& s) {
    return units(strutf16(strutf8(s.data(), static_cast<uint32>(s.size()))));
}

TEST(VaxoStrutf16, StartsEmpty) {
    const strutf16 none;
    const strutf16 from_null(nullptr, 0);
    const strutf16 from_null_and_length(nullptr, 9);
    EXPECT_EQ(none.length(), 0U);
    EXPECT_EQ(none.size(), 0U);
    EXPECT_EQ(from_null_and_length.length(), 0U);
    EXPECT_TRUE(none == from_null);
    EXPECT_FALSE(none != from_null);
}

TEST(VaxoStrutf16, KeepsTheUnitsItIsGiven) {
    const std::u16string given(u"a\0b\xD800", 4);
    const strutf16 s = from_units(given);
    EXPECT_EQ(s.length(), 4U);
    EXPECT_EQ(units(s), given);
}

TEST(VaxoStrutf16, ACopyIsIndependent) {
    strutf16 original = from_units(u"abc");
    const strutf16 copy(original);
    EXPECT_NE(copy.c_str(), original.c_str());
    original.append(copy);
    EXPECT_EQ(units(copy), u"abc");
    EXPECT_EQ(units(original), u"abcabc");
    original = copy;
    EXPECT_TRUE(original == copy);
    original.clear();
    EXPECT_EQ(original.length(), 0U);
    EXPECT_EQ(original.c_str(), nullptr);
    EXPECT_EQ(units(copy), u"abc");
}

TEST(VaxoStrutf16, TakesItselfAndItsParts) {
    strutf16 s = from_units(u"0123");
    const strutf16& same = s;
    s = same;
    EXPECT_EQ(units(s), u"0123");
    EXPECT_EQ(units(s.append(s)), u"01230123");
    EXPECT_EQ(units(s.append(s.c_str() + 6, 2)), u"0123012323");
    EXPECT_EQ(units(s.assign(s.c_str() + 7, 3)), u"323");
    EXPECT_EQ(units(s.append(nullptr, 3)), u"323");
    EXPECT_EQ(units(s.assign(nullptr, 3)), u"");
}

TEST(VaxoStrutf16, ComparesUnitForUnit) {
    EXPECT_TRUE(from_units(u"abc") == from_units(u"abc"));
    EXPECT_TRUE(from_units(u"abc") != from_units(u"abd"));
    EXPECT_TRUE(from_units(u"abc") != from_units(u"abcd"));
    EXPECT_TRUE(from_units(std::u16string(u"a\0b", 3)) != from_units(std::u16string(u"a\0c", 3)));
    strutf16 cut = from_units(u"abc");
    cut.assign(nullptr, 0);
    EXPECT_TRUE(cut == strutf16());
}

TEST(VaxoStrutf16, ConvertsToAndFromStrutf8) {
    const strutf8 narrow("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8E\xA5");
    const strutf16 wide(narrow);
    EXPECT_EQ(units(wide), u"gr\u00FC\u00DF \u20AC \U0001F3A5");
    EXPECT_TRUE(strutf8(wide) == narrow);
    strutf8 back;
    back = wide;
    EXPECT_TRUE(back == narrow);
    strutf16 again = from_units(u"old content");
    again = narrow;
    EXPECT_TRUE(again == wide);
    back = strutf16();
    EXPECT_EQ(back.length(), 0U);
    again = strutf8();
    EXPECT_EQ(again.length(), 0U);
    static_assert(std::is_convertible_v<strutf16, strutf8>);
    static_assert(!std::is_convertible_v<strutf8, strutf16>);
}

TEST(VaxoStrutf16, ConversionKeepsZeroUnits) {
    EXPECT_EQ(to_utf16(std::string("a\0b\0", 4)), std::u16string(u"a\0b\0", 4));
    EXPECT_EQ(to_utf8(std::u16string(u"a\0b\0", 4)), std::string("a\0b\0", 4));
}

TEST(VaxoStrutf16, ANullUtf16TextGivesTheEmptyString) {
    EXPECT_EQ(strutf8(static_cast<const utf16*>(nullptr), 5).length(), 0U);
}

TEST(VaxoUtf, EveryScalarValueRoundTrips) {
    std::u16string all;
    for (uint32 point = 0; point <= 0x10FFFF; ++point) {
        if (point >= 0x10000) {
            all += static_cast<char16_t>(0xD800 + (point - 0x10000) / 0x400);
            all += static_cast<char16_t>(0xDC00 + (point - 0x10000) % 0x400);
        } else if (point < 0xD800 || point > 0xDFFF) {
            all += static_cast<char16_t>(point);
        }
    }
    const std::string narrow = to_utf8(all);
    EXPECT_EQ(narrow.size(), 0x80U + 2 * 0x780U + 3 * (0xF800U - 0x800U) + 4 * 0x100000U);
    EXPECT_TRUE(to_utf16(narrow) == all);
}

TEST(VaxoUtf, EncodesTheEdgesOfEverySequenceLength) {
    EXPECT_EQ(to_utf8(u"\x7F"), "\x7F");
    EXPECT_EQ(to_utf8(u"\u0080"), "\xC2\x80");
    EXPECT_EQ(to_utf8(u"\u07FF"), "\xDF\xBF");
    EXPECT_EQ(to_utf8(u"\u0800"), "\xE0\xA0\x80");
    EXPECT_EQ(to_utf8(u"\uD7FF\uE000"), "\xED\x9F\xBF\xEE\x80\x80");
    EXPECT_EQ(to_utf8(u"\uFFFF"), "\xEF\xBF\xBF");
    EXPECT_EQ(to_utf8(u"\U00010000"), "\xF0\x90\x80\x80");
    EXPECT_EQ(to_utf8(u"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

struct ill_formed {
    const char* what;
    std::string bytes;
    std::u16string expected;
};

const std::u16string R1 = u"\uFFFD";
const std::u16string R2 = R1 + R1;
const std::u16string R3 = R2 + R1;
const std::u16string R4 = R2 + R2;

TEST(VaxoUtf, IllFormedUtf8BecomesOneReplacementForEachMaximalPart) {
    const std::vector<ill_formed> cases = {
        {"lone continuation", "a\x80z", u"a" + R1 + u"z"},
        {"two lone continuations", "\x80\xBF", R2},
        {"bytes that never occur", "\xC0\xC1\xF5\xFF", R4},
        {"overlong two", "\xC0\xAF", R2},
        {"overlong three", "\xE0\x9F\xBF", R3},
        {"overlong four", "\xF0\x8F\xBF\xBF", R4},
        {"high surrogate", "\xED\xA0\x80", R3},
        {"low surrogate", "\xED\xBF\xBF", R3},
        {"past the last character", "\xF4\x90\x80\x80", R4},
        {"cut after one of two", "\xC3", R1},
        {"cut after one of three", "\xE2", R1},
        {"cut after two of three", "\xE2\x82", R1},
        {"cut after one of four", "\xF0", R1},
        {"cut after two of four", "\xF0\x9F", R1},
        {"cut after three of four", "\xF0\x9F\x8E", R1},
        {"ASCII inside a sequence", "\xE2\x82z", R1 + u"z"},
        {"a lead inside a sequence", "\xF0\x9F\x8E\xC3\xA4", R1 + u"\u00E4"},
        {"five-byte form", "\xF8\x88\x80\x80\x80", R4 + R1},
        {"overlong forms then ASCII", "\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", R4 + R4 + u"A"},
        {"surrogate forms then ASCII", "\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", R4 + R4 + u"A"},
        {"other ill-formed", "\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", R4 + R1 + u"A" + R2 + u"B"},
        {"truncated", "\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", R4 + u"A"},
    };
    for (const ill_formed& c : cases) {
        EXPECT_TRUE(to_utf16(c.bytes) == c.expected) << c.what;
    }
}

TEST(VaxoUtf, ASurrogateWithoutItsPartnerBecomesAReplacement) {
    const char16_t high = 0xD83C;
    const char16_t low = 0xDFA5;
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(to_utf8({high}), r);
    EXPECT_EQ(to_utf8({low}), r);
    EXPECT_EQ(to_utf8({low, high}), r + r);
    EXPECT_EQ(to_utf8({low, low}), r + r);
    EXPECT_EQ(to_utf8({high, high, low}), r + "\xF0\x9F\x8E\xA5");
    EXPECT_EQ(to_utf8({high, low, low}), "\xF0\x9F\x8E\xA5" + r);
    EXPECT_EQ(to_utf8({high, u'a'}), r + "a");
    EXPECT_EQ(to_utf8({u'a', low, u'b'}), "a" + r + "b");
    EXPECT_EQ(to_utf8({0xD800, 0xDC00}), "\xF0\x90\x80\x80");
    EXPECT_EQ(to_utf8({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF");
}

TEST(VaxoUtf, RandomBytesAlwaysGiveWellFormedText) {
    std::mt19937 dice(7);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(dice() % 12, ' ');
        for (char& c : bytes) {
            // Mostly from the upper half, where the rules are.
            c = static_cast<char>(dice() % 4 == 0 ? dice() % 0x80 : 0x80 + dice() % 0x80);
        }
        const std::u16string wide = to_utf16(bytes);
        // What was ill-formed is gone, so a second round changes nothing.
        ASSERT_TRUE(to_utf16(to_utf8(wide)) == wide) << round;
        ASSERT_LE(wide.size(), bytes.size());
    }
}

}  // namespace
