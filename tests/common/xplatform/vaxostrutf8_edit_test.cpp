// Joining, cutting, replacing and searching in strutf8.
#include <gtest/gtest.h>

#include <string>

#include "support/StringText.h"
#include "vaxostrutf8.h"

namespace {

using vaxo::strutf8;
using vaxotest::text;

TEST(VaxoStrutf8Edit, AppendingAddsBehindTheContent) {
    strutf8 s;
    EXPECT_EQ(&(s += "ab"), &s);
    EXPECT_EQ(&(s += strutf8("cd")), &s);
    EXPECT_EQ(&s.append("ef\0gh", 4), &s);
    EXPECT_EQ(&s.append(strutf8("ij")), &s);
    EXPECT_EQ(text(s), std::string("abcdef\0gij", 10));
}

TEST(VaxoStrutf8Edit, AppendingAPartClipsItToTheOtherString) {
    const strutf8 other("0123456789");
    strutf8 s(":");
    EXPECT_EQ(text(s.append(other, 2, 3)), ":234");
    EXPECT_EQ(text(s.append(other, 8, 100)), ":23489");
    EXPECT_EQ(text(s.append(other, 10, 1)), ":23489");
    EXPECT_EQ(text(s.append(other, 0xFFFFFFFFU, 0xFFFFFFFFU)), ":23489");
    EXPECT_EQ(text(s.append(other, 9, 0xFFFFFFFFU)), ":234899");
}

TEST(VaxoStrutf8Edit, NullTextsActAsTheEmptyText) {
    const utf8* const none = nullptr;
    strutf8 s("abc");
    EXPECT_EQ(text(s += none), "abc");
    EXPECT_EQ(text(s + none), "abc");
    EXPECT_EQ(text(none + s), "abc");
    EXPECT_EQ(text(s.append(none, 5)), "abc");
    EXPECT_EQ(text(s.replace(1, 1, none)), "ac");
    EXPECT_EQ(s.find(none), 0);
    EXPECT_EQ(s.reversefind(none), 2);
    EXPECT_EQ(text(s.assign(none, 5)), "");
}

TEST(VaxoStrutf8Edit, EmptyOperandsAreHarmless) {
    strutf8 s;
    s += "";
    s += strutf8();
    s.append(s);
    s.append(s, 0, 5);
    s.replace(0, 5, "");
    s.replace(3, 5, s.c_str());
    s.trim(true, true).tolower();
    EXPECT_EQ(text(s), "");
    EXPECT_EQ(text(s + s), "");
    EXPECT_EQ(text(s.substr(0, 5)), "");
}

TEST(VaxoStrutf8Edit, SumsLeaveTheirOperandsAlone) {
    strutf8 a("left ");
    strutf8 b("right");
    EXPECT_EQ(text(a + b), "left right");
    EXPECT_EQ(text(a + "text"), "left text");
    EXPECT_EQ(text("text " + b), "text right");
    EXPECT_EQ(text(a + a), "left left ");
    EXPECT_EQ(text(a), "left ");
    EXPECT_EQ(text(b), "right");
}

TEST(VaxoStrutf8Edit, AStringAppendsItselfAndItsParts) {
    strutf8 s("ab");
    std::string expected = "ab";
    for (int i = 0; i < 10; ++i) {
        s.append(s);
        expected += expected;
        ASSERT_EQ(text(s), expected);
        s += s;
        expected += expected;
        ASSERT_EQ(text(s), expected);
        s.resize(3);
        expected.resize(3);
        s += s.c_str() + 1;
        expected += expected.substr(1);
        ASSERT_EQ(text(s), expected);
        s.append(s, 1, 3);
        expected += expected.substr(1, 3);
        ASSERT_EQ(text(s), expected);
    }
}

TEST(VaxoStrutf8Edit, AStringReplacesAPartWithItsOwnText) {
    for (const uint32 room : {0U, 100U}) {
        strutf8 s("0123456789");
        s.reserve(room);
        EXPECT_EQ(text(s.replace(3, 2, s.c_str())), "012012345678956789");
        s = "0123456789";
        s.reserve(room);
        EXPECT_EQ(text(s.replace(0, 4, s.c_str() + 8)), "89456789");
        s = "0123456789";
        s.reserve(room);
        EXPECT_EQ(text(s.replace(0, 10, s.c_str() + 3)), "3456789");
    }
}

TEST(VaxoStrutf8Edit, ReplaceClipsToTheString) {
    const strutf8 s("hello world");
    EXPECT_EQ(text(strutf8(s).replace(0, 5, "bye")), "bye world");
    EXPECT_EQ(text(strutf8(s).replace(5, 1, " big ")), "hello big world");
    EXPECT_EQ(text(strutf8(s).replace(5, 0, ",")), "hello, world");
    EXPECT_EQ(text(strutf8(s).replace(6, 0xFFFFFFFFU, "you")), "hello you");
    EXPECT_EQ(text(strutf8(s).replace(11, 1, "!")), "hello world!");
    EXPECT_EQ(text(strutf8(s).replace(0xFFFFFFFFU, 0xFFFFFFFFU, "!")), "hello world!");
    EXPECT_EQ(text(strutf8(s).replace(0, 11, "")), "");
}

TEST(VaxoStrutf8Edit, TrimmingRemovesAsciiWhiteSpaceAtTheChosenEnds) {
    const strutf8 s(" \t\r\n\v\fa b\f\v\n\r\t ");
    EXPECT_EQ(text(strutf8(s).trim(true, true)), "a b");
    EXPECT_EQ(text(strutf8(s).trim(true, false)), "a b\f\v\n\r\t ");
    EXPECT_EQ(text(strutf8(s).trim(false, true)), " \t\r\n\v\fa b");
    EXPECT_EQ(text(strutf8(s).trim(false, false)), text(s));
    EXPECT_EQ(text(strutf8(s).trimleft()), "a b\f\v\n\r\t ");
    EXPECT_EQ(text(strutf8(s).trimright()), " \t\r\n\v\fa b");
    strutf8 blank(" \n ");
    EXPECT_EQ(&blank.trimright(), &blank);
    EXPECT_EQ(text(blank), "");
    EXPECT_EQ(text(strutf8(" \n ").trimleft()), "");
    // Not white space: other control characters, a no-break space, a zero byte.
    EXPECT_EQ(text(strutf8("\x01 x\xC2\xA0").trim(true, true)), "\x01 x\xC2\xA0");
    EXPECT_EQ(text(strutf8(" \0 ", 3).trim(true, true)), std::string("\0", 1));
}

TEST(VaxoStrutf8Edit, ResizeCutsOrExtendsWithZerosAndReturnsTheLength) {
    strutf8 s("abcdef");
    EXPECT_EQ(s.resize(3), 3U);
    EXPECT_EQ(text(s), "abc");
    EXPECT_EQ(s.resize(5), 5U);
    EXPECT_EQ(text(s), std::string("abc\0\0", 5)) << "what was cut does not come back";
    EXPECT_EQ(s.resize(3000), 3000U);
    EXPECT_EQ(text(s), "abc" + std::string(2997, '\0'));
    EXPECT_EQ(s.resize(0), 0U);
    EXPECT_EQ(text(s), "");
    EXPECT_EQ(strutf8().resize(0), 0U);
}

TEST(VaxoStrutf8Edit, ReserveSetsTheRoomAndKeepsTheContent) {
    strutf8 s("abc");
    const uint32 large = s.reserve(1000);
    EXPECT_GE(large, 1001U);
    const utf8* const buffer = s.c_str();
    while (s.length() < 1000) {
        s += "x";
    }
    EXPECT_EQ(s.c_str(), buffer) << "no allocation within the room";
    EXPECT_EQ(s.reserve(1000), large) << "asking again changes nothing";
    s.resize(3);
    EXPECT_EQ(s.c_str(), buffer) << "cutting keeps the room";
    EXPECT_EQ(s.reserve(0), 4U) << "no less than the content";
    EXPECT_EQ(text(s), "abc");
    s.resize(0);
    EXPECT_EQ(s.reserve(0), 0U);
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_EQ(s.reserve(0), 0U);
    EXPECT_EQ(strutf8().reserve(1), 2U);
}

TEST(VaxoStrutf8Edit, SubstrClipsToTheString) {
    const strutf8 s("hello world");
    EXPECT_EQ(text(s.substr(6, 5)), "world");
    EXPECT_EQ(text(s.substr(6, 0xFFFFFFFFU)), "world");
    EXPECT_EQ(text(s.substr(0, 5)), "hello");
    EXPECT_EQ(text(s.substr(11, 1)), "");
    EXPECT_EQ(text(s.substr(0xFFFFFFFFU, 0xFFFFFFFFU)), "");
    EXPECT_EQ(text(s.substr(3, 0)), "");
}

TEST(VaxoStrutf8Edit, FindAnswersTheFirstPositionFromStartOn) {
    const strutf8 s("abcABCabc");
    EXPECT_EQ(s.find("abc"), 0);
    EXPECT_EQ(s.find("abc", 1), 6);
    EXPECT_EQ(s.find("abc", 6), 6);
    EXPECT_EQ(s.find("abc", 7), -1);
    EXPECT_EQ(s.find("ABC"), 3);
    EXPECT_EQ(s.find("abc", -5), 0);
    EXPECT_EQ(s.find("abd"), -1);
    EXPECT_EQ(s.find("abcABCabcd"), -1);
    EXPECT_EQ(s.find("c", 100), -1);
    EXPECT_EQ(s.find("abc", 1, false), 3);
    EXPECT_EQ(s.find("aBc", 0, false), 0);
    EXPECT_EQ(s.find("", 9), 9);
    EXPECT_EQ(s.find("", 10), -1);
    EXPECT_EQ(strutf8().find("a"), -1);
    EXPECT_EQ(strutf8().find(""), 0);
}

TEST(VaxoStrutf8Edit, ReverseFindAnswersTheLastPositionUpToStart) {
    const strutf8 s("abcABCabc");
    EXPECT_EQ(s.reversefind("abc"), 6);
    EXPECT_EQ(s.reversefind("abc", 6), 6);
    EXPECT_EQ(s.reversefind("abc", 5), 0);
    EXPECT_EQ(s.reversefind("abc", 0), 0);
    EXPECT_EQ(s.reversefind("bc", 0), -1);
    EXPECT_EQ(s.reversefind("abc", 1000), 6);
    EXPECT_EQ(s.reversefind("abc", -7), 6);
    EXPECT_EQ(s.reversefind("abc", 5, false), 3);
    EXPECT_EQ(s.reversefind("xyz"), -1);
    EXPECT_EQ(s.reversefind("abcABCabcd"), -1);
    EXPECT_EQ(s.reversefind(""), 9);
    EXPECT_EQ(s.reversefind("", 4), 4);
    EXPECT_EQ(strutf8().reversefind("a"), -1);
    EXPECT_EQ(strutf8().reversefind(""), 0);
}

TEST(VaxoStrutf8Edit, SearchingFoldsAsciiLettersOnly) {
    const strutf8 s("[\xC3\x84k]");
    EXPECT_EQ(s.find("K", 0, false), 3);
    EXPECT_EQ(s.find("\xC3\xA4", 0, false), -1);
    EXPECT_EQ(s.find("{", 0, false), -1) << "[ and { differ by the bit that tells letter cases";
}

TEST(VaxoStrutf8Edit, SearchingGoesPastZeroBytes) {
    const strutf8 s("a\0b\0c", 5);
    EXPECT_EQ(s.find("b"), 2);
    EXPECT_EQ(s.find("c"), 4);
    EXPECT_EQ(s.reversefind("a"), 0);
}

}  // namespace
