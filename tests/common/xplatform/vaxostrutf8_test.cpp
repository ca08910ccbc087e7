// Making, copying, assigning, comparing, formatting and indexing strutf8.
#include "vaxostrutf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>

#include "support/StringText.h"
#include "vaxostrutf16.h"

namespace {

using vaxo::strutf8;
using vaxotest::peek;
using vaxotest::text;

strutf8 made(const std::string& s) {
    return {s.data(), static_cast<uint32>(s.size())};
}

TEST(VaxoStrutf8, TheObjectIsATablePointerThenRoomThenLengthThenBuffer) {
    static_assert(sizeof(strutf8) == 2 * sizeof(void*) + 2 * sizeof(uint32));
    static_assert(std::is_polymorphic_v<strutf8>);
    strutf8 s("seven!!");
    const uint32 room = s.reserve(100);
    EXPECT_EQ(peek<uint32>(s, sizeof(void*)), room);
    EXPECT_EQ(peek<uint32>(s, sizeof(void*) + sizeof(uint32)), 7U);
    EXPECT_EQ(peek<const utf8*>(s, sizeof(void*) + 2 * sizeof(uint32)), s.c_str());
}

TEST(VaxoStrutf8, DeletingThroughTheBaseRunsTheDerivedDestructor) {
    struct derived : strutf8 {
        explicit derived(int& runs) : m_runs(runs) {}
        derived(const derived&) = delete;
        derived& operator=(const derived&) = delete;
        ~derived() override { ++m_runs; }
        int& m_runs;
    };
    int runs = 0;
    std::unique_ptr<strutf8> s = std::make_unique<derived>(runs);
    *s = "content";
    s.reset();
    EXPECT_EQ(runs, 1);
}

TEST(VaxoStrutf8, NullAndZeroGiveAnEmptyString) {
    const strutf8 from_nullptr(nullptr, 0);
    const strutf8 from_macro(NULL, 0);  // NOLINT(modernize-use-nullptr): both must compile
    const strutf8 none;
    EXPECT_EQ(from_nullptr.length(), 0U);
    EXPECT_EQ(from_nullptr.size(), 0U);
    EXPECT_EQ(from_macro.length(), 0U);
    EXPECT_EQ(none.length(), 0U);
    EXPECT_TRUE(from_nullptr == none);
}

TEST(VaxoStrutf8, ANullTextIsEmptyWhateverLengthComesWithIt) {
    const strutf8 s(nullptr, 77);
    EXPECT_EQ(s.length(), 0U);
    EXPECT_EQ(strutf8(static_cast<const utf8*>(nullptr)).length(), 0U);
}

TEST(VaxoStrutf8, TheUtf16ConstructorTakesExactlyUtf16) {
    static_assert(std::is_constructible_v<strutf8, const utf16*, uint32>);
    static_assert(std::is_constructible_v<strutf8, utf16*, uint32>);
    static_assert(!std::is_constructible_v<strutf8, const uint8*, uint32>);
    static_assert(!std::is_constructible_v<strutf8, const char16_t*, uint32>);
    const utf16 units[] = {'a', 0xE4, 0x20AC};
    EXPECT_EQ(text(strutf8(units, 3)), "a\xC3\xA4\xE2\x82\xAC");
}

TEST(VaxoStrutf8, AllEmptyStringsAreEqualWhateverTheirBuffers) {
    strutf8 cut("had content");
    cut.resize(0);
    ASSERT_NE(cut.c_str(), nullptr);
    const strutf8 fresh(nullptr, 0);
    strutf8 cleared("x");
    cleared.clear();
    EXPECT_TRUE(cut == fresh);
    EXPECT_TRUE(fresh == cut);
    EXPECT_TRUE(cleared == cut);
    EXPECT_FALSE(cut != cleared);
    EXPECT_TRUE(cut == strutf8(""));
}

TEST(VaxoStrutf8, ALengthCopiesThatManyBytesZeroBytesIncluded) {
    const strutf8 s("ab\0cd\0", 6);
    EXPECT_EQ(s.length(), 6U);
    EXPECT_EQ(text(s), std::string("ab\0cd\0", 6));
    EXPECT_EQ(text(strutf8("abcdef", 3)), "abc");
}

TEST(VaxoStrutf8, ACopyIsIndependent) {
    strutf8 original("stream-1");
    const strutf8 copy(original);
    EXPECT_TRUE(copy == original);
    EXPECT_NE(copy.c_str(), original.c_str());
    original[0] = 'S';
    EXPECT_EQ(text(copy), "stream-1");
    original.clear();
    EXPECT_EQ(text(copy), "stream-1");
}

TEST(VaxoStrutf8, ATemporaryIsCopiedAndNotEmptied) {
    strutf8 original("kept");
    const strutf8 constructed(static_cast<strutf8&&>(original));
    strutf8 assigned;
    assigned = static_cast<strutf8&&>(original);
    EXPECT_EQ(text(original), "kept");
    EXPECT_EQ(text(constructed), "kept");
    EXPECT_EQ(text(assigned), "kept");
}

TEST(VaxoStrutf8, AssigningReplacesTheContentAndReturnsTheString) {
    strutf8 s("a longer content than before");
    const strutf8 other("short");
    EXPECT_EQ(&(s = other), &s);
    EXPECT_EQ(text(s), "short");
    EXPECT_EQ(&(s = "from a terminated text that is longer"), &s);
    EXPECT_EQ(text(s), "from a terminated text that is longer");
    EXPECT_EQ(text(s.assign("abc\0def", 5)), std::string("abc\0d", 5));
    EXPECT_EQ(text(s.assign(other)), "short");
    EXPECT_EQ(text(s = ""), "");
}

TEST(VaxoStrutf8, AssigningNullEmptiesAndReleasesTheBuffer) {
    strutf8 s("content");
    EXPECT_EQ(&(s = nullptr), &s);
    EXPECT_EQ(s.length(), 0U);
    EXPECT_EQ(s.c_str(), nullptr);
    s = "again";
    s.clear();
    EXPECT_EQ(s.length(), 0U);
    EXPECT_EQ(s.c_str(), nullptr);
    s.clear();
    EXPECT_EQ(s.length(), 0U);
}

TEST(VaxoStrutf8, AssigningAStringToItselfKeepsItsContent) {
    strutf8 s("keep me");
    const strutf8& same = s;
    s = same;
    EXPECT_EQ(text(s), "keep me");
    s.assign(same);
    EXPECT_EQ(text(s), "keep me");
    s = s.c_str();
    EXPECT_EQ(text(s), "keep me");
}

TEST(VaxoStrutf8, AssigningAPartOfItselfWorks) {
    strutf8 s("0123456789");
    s = s.c_str() + 1;
    EXPECT_EQ(text(s), "123456789");
    s.assign(s.c_str() + 2, 3);
    EXPECT_EQ(text(s), "345");
    s = s.c_str() + s.length();
    EXPECT_EQ(text(s), "");
}

TEST(VaxoStrutf8, EqualLengthsWithOneDifferentByteAreUnequal) {
    for (uint32 i = 0; i < 6; ++i) {
        const strutf8 a("abcdef");
        strutf8 b(a);
        EXPECT_TRUE(a == b);
        b[i] = static_cast<utf8>(b[i] ^ 0x20);
        EXPECT_FALSE(a == b) << i;
        EXPECT_TRUE(a != b) << i;
    }
    EXPECT_FALSE(made(std::string("a\0b", 3)) == made(std::string("a\0c", 3)));
}

TEST(VaxoStrutf8, DifferentLengthsAreUnequal) {
    EXPECT_FALSE(strutf8("abc") == strutf8("abcd"));
    EXPECT_FALSE(strutf8("abc") == strutf8("ab"));
    EXPECT_TRUE(strutf8("abc") != strutf8());
    EXPECT_FALSE(made(std::string("abc\0", 4)) == strutf8("abc"));
}

TEST(VaxoStrutf8, EqualityFoldsNoCaseAndComparesBytes) {
    EXPECT_FALSE(strutf8("ABC") == strutf8("abc"));
    // The same letter, composed and decomposed.
    EXPECT_FALSE(strutf8("\xC3\xA4") == strutf8("a\xCC\x88"));
    const strutf8 s("self");
    EXPECT_TRUE(s == s);  // NOLINT(misc-redundant-expression): self-comparison is the case
    EXPECT_FALSE(s < s);  // NOLINT(misc-redundant-expression)
}

TEST(VaxoStrutf8, ATerminatedTextComparesFromEitherSide) {
    strutf8 s("abc");  // not const: the conversion to utf8* must not interfere
    EXPECT_TRUE(s == "abc");
    EXPECT_TRUE("abc" == s);
    EXPECT_TRUE(s != "abd");
    EXPECT_TRUE("ab" != s);
    EXPECT_FALSE(s == nullptr);
    EXPECT_TRUE(strutf8() == nullptr);
    EXPECT_TRUE(s < "abd");
    EXPECT_TRUE("abb" < s);
    EXPECT_TRUE(s > "abb");
    EXPECT_TRUE("abd" > s);
    EXPECT_TRUE(s <= "abc");
    EXPECT_TRUE("abc" <= s);
    EXPECT_TRUE(s >= "abc");
    EXPECT_TRUE("abc" >= s);
    EXPECT_FALSE(made(std::string("abc\0", 4)) == "abc");
}

TEST(VaxoStrutf8, TheOrderIsThatOfUnsignedBytes) {
    strutf8 small("a");
    strutf8 large("\xC3\xA4");
    EXPECT_TRUE(small < large);
    EXPECT_TRUE(large > small);
    EXPECT_TRUE(small <= large);
    EXPECT_FALSE(small >= large);
    EXPECT_TRUE(strutf8("ab") < strutf8("abc"));
    EXPECT_TRUE(strutf8() < strutf8("a"));
    EXPECT_TRUE(made(std::string("a\0", 2)) < made(std::string("a\0\0", 3)));
}

TEST(VaxoStrutf8, CompareAnswersMinusOneZeroOrOne) {
    const strutf8 s("mmm");
    EXPECT_EQ(s.compare("mmm"), 0);
    EXPECT_EQ(s.compare("zz"), -1);
    EXPECT_EQ(s.compare("aaaa"), 1);
    EXPECT_EQ(s.compare("mm"), 1);
    EXPECT_EQ(s.compare("mmmm"), -1);
    EXPECT_EQ(s.compare("\xFF"), -1);
    EXPECT_EQ(s.compare(nullptr), 1);
    EXPECT_EQ(strutf8().compare(nullptr), 0);
}

TEST(VaxoStrutf8, ComparingAPartClipsItToTheString) {
    const strutf8 s("hello world");
    EXPECT_EQ(s.compare(6, 5, "world"), 0);
    EXPECT_EQ(s.compare(6, 500, "world"), 0);
    EXPECT_EQ(s.compare(6, -1, "world"), 0);
    EXPECT_EQ(s.compare(-3, 5, "hello"), 0);
    EXPECT_EQ(s.compare(0, 5, "world"), -1);
    EXPECT_EQ(s.compare(6, 5, "hello"), 1);
    EXPECT_EQ(s.compare(11, 5, ""), 0);
    EXPECT_EQ(s.compare(2000000000, 2000000000, ""), 0);
    EXPECT_EQ(s.compare(0, 0, s), -1);
    EXPECT_EQ(s.compare(0, -1, s), 0);
}

TEST(VaxoStrutf8, EqualsStartsWithAndEndsWithAnswerZeroOrOne) {
    const strutf8 s("rtmp://host/app");
    EXPECT_EQ(s.equals("rtmp://host/app"), 1);
    EXPECT_EQ(s.equals("rtmp://host/ap"), 0);
    EXPECT_EQ(s.startswith("rtmp://"), 1);
    EXPECT_EQ(s.startswith("http://"), 0);
    EXPECT_EQ(s.startswith("rtmp://host/app/"), 0);
    EXPECT_EQ(s.endswith("/app"), 1);
    EXPECT_EQ(s.endswith("/apq"), 0);
    EXPECT_EQ(s.endswith("xrtmp://host/app"), 0);
    EXPECT_EQ(s.startswith("rtmp://host/app"), 1);
    EXPECT_EQ(s.endswith("rtmp://host/app"), 1);
}

TEST(VaxoStrutf8, ANullTextEqualsOnlyTheEmptyStringButStartsAndEndsEveryString) {
    const strutf8 s("x");
    const strutf8 empty;
    EXPECT_EQ(s.equals(nullptr), 0);
    EXPECT_EQ(empty.equals(nullptr), 1);
    EXPECT_EQ(empty.equals(""), 1);
    EXPECT_EQ(s.startswith(nullptr), 1);
    EXPECT_EQ(s.endswith(nullptr), 1);
    EXPECT_EQ(empty.startswith(""), 1);
    EXPECT_EQ(empty.endswith(nullptr), 1);
    EXPECT_EQ(empty.startswith("x"), 0);
}

TEST(VaxoStrutf8, FormatReplacesTheContentAndReturnsTheString) {
    strutf8 s("something else that is longer");
    EXPECT_EQ(&s.format("QR.%d", 7), &s);
    EXPECT_EQ(s.length(), 4U);
    EXPECT_EQ(std::memcmp(s.c_str(), "QR.7", 5), 0);
}

TEST(VaxoStrutf8, FormatTakesTextsOfAnyLengthAndItsOwnContent) {
    const std::string longtext(5000, 'l');
    strutf8 s;
    s.format("<%s|%5d|%llu>", longtext.c_str(), -12, 18446744073709551615ULL);
    EXPECT_EQ(text(s), "<" + longtext + "|  -12|18446744073709551615>");
    s = "self";
    s.format("%s", s.c_str());
    EXPECT_EQ(text(s), "self");
    s.format("[%s %s]", s.c_str(), s.c_str());
    EXPECT_EQ(text(s), "[self self]");
    s.format("%c%c%c", 'a', 0, 'b');
    EXPECT_EQ(text(s), std::string("a\0b", 3));
}

TEST(VaxoStrutf8, FormatPrintsAnEmptyStringsNullTextAsEmpty) {
    const strutf8 empty;
    strutf8 s;
    s.format("<%s>", empty.c_str());
    EXPECT_EQ(text(s), "<>");
    s.format(nullptr, 1);
    EXPECT_EQ(text(s), "");
}

TEST(VaxoStrutf8, TheBufferIsReachedWithoutACopy) {
    strutf8 s("abc");
    const strutf8& fixed = s;
    EXPECT_EQ(s.data(), s.c_str());
    EXPECT_EQ(fixed.data(), s.c_str());
    utf8* raw = s;
    EXPECT_EQ(raw, s.c_str());
    raw[1] = 'X';
    EXPECT_EQ(text(s), "aXc");
    static_assert(!std::is_convertible_v<const strutf8&, utf8*>);
    strutf8 none;
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(static_cast<utf8*>(none), nullptr);
}

// Reads and writes through one index type; the call must not be ambiguous.
template <class Index>
void index_with() {
    strutf8 s("abc");
    const strutf8& fixed = s;
    EXPECT_EQ(s[Index{1}], 'b');
    EXPECT_EQ(fixed[Index{1}], 'b');
    s[Index{1}] = 'B';
    EXPECT_EQ(text(s), "aBc");
    EXPECT_EQ(s[Index{100}], 0);
}

TEST(VaxoStrutf8, EveryIntegralTypeIndexes) {
    index_with<char>();
    index_with<signed char>();
    index_with<unsigned char>();
    index_with<short>();
    index_with<unsigned short>();
    index_with<int>();
    index_with<unsigned int>();
    index_with<long>();
    index_with<unsigned long>();
    index_with<long long>();
    index_with<unsigned long long>();
    enum { second = 1 };
    strutf8 s("abc");
    EXPECT_EQ(s[0], 'a');
    EXPECT_EQ(s[second], 'b');
    EXPECT_EQ(s.at(2), 'c');
}

TEST(VaxoStrutf8, AnIndexPastTheEndReadsZeroAndSwallowsWrites) {
    strutf8 s("abc");
    const strutf8& fixed = s;
    s[3] = 'x';
    EXPECT_EQ(s.c_str()[3], 0) << "the terminator is out of reach";
    EXPECT_EQ(s[3], 0) << "a write is gone with the next access";
    s.at(4000000000U) = 'y';
    EXPECT_EQ(s.at(4000000000U), 0);
    EXPECT_EQ(fixed.at(3), 0);
    EXPECT_EQ(fixed[0xFFFFFFFFU], 0);
    EXPECT_EQ(s[-1], 0);
    EXPECT_EQ(fixed[-1LL], 0);
    EXPECT_EQ(s[0x100000001ULL], 0) << "an index is not cut to 32 bits";
    EXPECT_EQ(strutf8()[0], 0);
    EXPECT_EQ(text(s), "abc");
}

TEST(VaxoStrutf8, EveryThreadHasAPastTheEndByteOfItsOwn) {
    strutf8 mine("a");
    utf8& here = mine[9];
    here = 'h';
    std::thread([] {
        strutf8 other("b");
        other[9] = 't';
    }).join();
    EXPECT_EQ(here, 'h');
}

TEST(VaxoStrutf8, CaseChangesTouchOnlyAsciiLetters) {
    strutf8 s("aZ09[`{\xC3\x84\xC3\xA4");
    EXPECT_EQ(&s.toupper(), &s);
    EXPECT_EQ(text(s), "AZ09[`{\xC3\x84\xC3\xA4");
    EXPECT_EQ(&s.tolower(), &s);
    EXPECT_EQ(text(s), "az09[`{\xC3\x84\xC3\xA4");
    EXPECT_EQ(text(strutf8().tolower().toupper()), "");
}

}  // namespace
