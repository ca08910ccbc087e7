// stream: the byte buffer.
#include "vaxostream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>

#include "support/StringText.h"

namespace {

using vaxo::stream;
using vaxotest::bytes;
using vaxotest::peek;

stream made(const std::string& s) {
    return {s.data(), static_cast<uint32>(s.size())};
}

TEST(VaxoStream, TheObjectIsATablePointerThenRoomThenLengthThenBuffer) {
    static_assert(sizeof(stream) == 2 * sizeof(void*) + 2 * sizeof(uint32));
    static_assert(std::has_virtual_destructor_v<stream>);
    stream s = made("seven!!");
    EXPECT_GE(peek<uint32>(s, sizeof(void*)), 7U);
    EXPECT_EQ(peek<uint32>(s, sizeof(void*) + sizeof(uint32)), 7U);
    EXPECT_EQ(peek<uint8*>(s, sizeof(void*) + 2 * sizeof(uint32)), static_cast<uint8*>(s));
}

TEST(VaxoStream, StartsEmpty) {
    EXPECT_EQ(stream().size(), 0U);
    EXPECT_EQ(stream(nullptr, 0).size(), 0U);
    EXPECT_EQ(stream(NULL, 0).size(), 0U);  // NOLINT(modernize-use-nullptr): must compile
    EXPECT_EQ(stream(static_cast<const uint8*>(nullptr), 9).size(), 0U);
    EXPECT_EQ(stream(static_cast<const utf8*>(nullptr), 9).size(), 0U);
    EXPECT_EQ(stream(static_cast<const utf16*>(nullptr), 9).size(), 0U);
    EXPECT_TRUE(stream() == stream(nullptr, 0));
}

TEST(VaxoStream, IsMadeFromBytesAndFromTexts) {
    const uint8 raw[] = {0, 255, 0, 7};
    EXPECT_EQ(bytes(stream(raw, 4)), std::string("\0\xFF\0\x07", 4));
    EXPECT_EQ(bytes(stream("a\0b", 3)), std::string("a\0b", 3));
    const utf16 wide[] = {'k', 0x20AC, 0xD83C, 0xDFA5, 0xD800};
    EXPECT_EQ(bytes(stream(wide, 5)), "k\xE2\x82\xAC\xF0\x9F\x8E\xA5\xEF\xBF\xBD");
    static_assert(!std::is_constructible_v<stream, const int*, uint32>);
    static_assert(std::is_same_v<vaxo::buffer, stream>);
}

TEST(VaxoStream, ACopyIsIndependent) {
    stream original = made("sign key");
    const stream copy(original);
    original[0] = 'S';
    EXPECT_EQ(bytes(copy), "sign key");
    const stream from_temporary(static_cast<stream&&>(original));
    EXPECT_EQ(bytes(original), "Sign key") << "a temporary is copied and not emptied";
    original.clear();
    EXPECT_EQ(bytes(from_temporary), "Sign key");
}

TEST(VaxoStream, AssigningReplacesTheContentAndReturnsTheStream) {
    stream s = made("a longer content than before");
    EXPECT_EQ(&(s = "text"), &s);
    EXPECT_EQ(bytes(s), "text") << "without the terminator";
    EXPECT_EQ(&(s = vaxo::strutf8("a\0b", 3)), &s);
    EXPECT_EQ(bytes(s), std::string("a\0b", 3));
    EXPECT_EQ(&(s = vaxo::strutf16(vaxo::strutf8("\xE2\x82\xAC"))), &s);
    EXPECT_EQ(bytes(s), "\xE2\x82\xAC");
    const stream other = made("other");
    EXPECT_EQ(&(s = other), &s);
    EXPECT_EQ(bytes(s), "other");
    const uint8 raw[] = {1, 0, 2};
    EXPECT_EQ(&s.assign(raw, 3), &s);
    EXPECT_EQ(bytes(s), std::string("\x01\0\x02", 3));
    vaxo::strutf8 variable("not const");
    s = variable;
    EXPECT_EQ(bytes(s), "not const");
}

TEST(VaxoStream, AssigningNullEmptiesAndReleasesTheBuffer) {
    stream s = made("content");
    EXPECT_EQ(&(s = nullptr), &s);
    EXPECT_EQ(s.size(), 0U);
    EXPECT_EQ(static_cast<uint8*>(s), nullptr);
    s = "again";
    s.clear();
    EXPECT_EQ(s.size(), 0U);
    EXPECT_EQ(static_cast<uint8*>(s), nullptr);
}

TEST(VaxoStream, TakesItselfAndItsParts) {
    stream s = made("0123456789");
    const stream& same = s;
    s = same;
    EXPECT_EQ(bytes(s), "0123456789");
    s += same;
    EXPECT_EQ(bytes(s), "01234567890123456789");
    s.assign(s + 5, 3);
    EXPECT_EQ(bytes(s), "567");
    s.append(s + 1, 2);
    EXPECT_EQ(bytes(s), "56767");
    s.replace(1, 2, s, 5);
    EXPECT_EQ(bytes(s), "55676767");
    s = s.tos8();
    EXPECT_EQ(bytes(s), "55676767");
    s = s.tos8() + 6;
    EXPECT_EQ(bytes(s), "67");
}

TEST(VaxoStream, AppendAndReplaceClipAndReturnTheStream) {
    const uint8 raw[] = {'x', 'y', 'z'};
    stream s = made("abc");
    EXPECT_EQ(&s.append(raw, 2), &s);
    EXPECT_EQ(bytes(s), "abcxy");
    EXPECT_EQ(&s.replace(1, 2, raw, 3), &s);
    EXPECT_EQ(bytes(s), "axyzxy");
    EXPECT_EQ(bytes(s.replace(4, 0xFFFFFFFFU, raw, 1)), "axyzx");
    EXPECT_EQ(bytes(s.replace(0xFFFFFFFFU, 5, raw, 1)), "axyzxx");
    EXPECT_EQ(bytes(s.replace(0, 5, nullptr, 77)), "x");
    EXPECT_EQ(bytes(s.append(nullptr, 77)), "x");
    EXPECT_EQ(bytes(s += made("!")), "x!");
}

TEST(VaxoStream, ResizeCutsOrExtendsWithZerosAndReturnsTheLength) {
    stream s = made("abcdef");
    EXPECT_EQ(s.resize(2), 2U);
    EXPECT_EQ(s.resize(4), 4U);
    EXPECT_EQ(bytes(s), std::string("ab\0\0", 4)) << "what was cut does not come back";
    EXPECT_EQ(s.resize(5000), 5000U);
    EXPECT_EQ(bytes(s), "ab" + std::string(4998, '\0'));
    EXPECT_EQ(s.resize(2), 2U);
    EXPECT_EQ(bytes(s), "ab");
    EXPECT_LE(peek<uint32>(s, sizeof(void*)), 64U) << "memory is given back";
    EXPECT_EQ(s.resize(0), 0U);
    EXPECT_EQ(stream().resize(0), 0U);
}

TEST(VaxoStream, ComparesBytesAsUnsignedNumbers) {
    stream a = made("abc");
    stream b = made("abd");
    EXPECT_TRUE(a == made("abc"));
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a != made("ab"));
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < made("abc"));
    EXPECT_TRUE(b > a);
    EXPECT_TRUE(a <= b);
    EXPECT_TRUE(b >= a);
    EXPECT_TRUE(made("ab") < a);
    EXPECT_TRUE(stream() < a);
    EXPECT_TRUE(a < made("\xFF"));
    EXPECT_TRUE(made(std::string("a\0b", 3)) < made(std::string("a\0c", 3)));
    stream cut = made("x");
    cut.resize(0);
    EXPECT_TRUE(cut == stream());
}

TEST(VaxoStream, AnAttachedBufferIsOwnedAndADetachedOneIsNot) {
    auto given = std::make_unique<uint8[]>(3);
    given[0] = 'a';
    given[1] = 'b';
    given[2] = 'c';
    stream s = made("released by attach");
    uint8* const raw = given.release();
    s.attach(raw, 3);
    EXPECT_EQ(bytes(s), "abc");
    EXPECT_EQ(static_cast<uint8*>(s), raw) << "no copy";
    const std::unique_ptr<uint8[]> taken(s.detach());
    EXPECT_EQ(taken.get(), raw);
    EXPECT_EQ(taken[2], 'c');
    EXPECT_EQ(s.size(), 0U);
    EXPECT_EQ(s.detach(), nullptr);
    s = "z";
    EXPECT_EQ(bytes(s), "z") << "usable again";
}

TEST(VaxoStream, AnAttachedBufferGrowsLikeAnyOther) {
    stream s;
    s.attach(std::make_unique<uint8[]>(2).release(), 2);
    s[0] = 'a';
    s[1] = 'b';
    EXPECT_EQ(s.resize(2), 2U);
    EXPECT_STREQ(s.tos8(), "ab");
    s.attach(std::make_unique<uint8[]>(1).release(), 1);
    s[0] = 'x';
    s += s;
    EXPECT_EQ(bytes(s), "xx");
    s.attach(std::make_unique<uint8[]>(0).release(), 0);
    EXPECT_EQ(s.size(), 0U);
    s = "y";
    EXPECT_EQ(bytes(s), "y");
}

TEST(VaxoStream, AttachingNullEmpties) {
    stream s = made("content");
    s.attach(nullptr, 5);
    EXPECT_EQ(s.size(), 0U);
    EXPECT_EQ(static_cast<uint8*>(s), nullptr);
}

TEST(VaxoStream, AttachingItsOwnBufferKeepsItAndClipsTheLength) {
    stream s = made("abcdef");
    s.attach(s, 3);
    EXPECT_EQ(bytes(s), "abc");
    EXPECT_STREQ(s.tos8(), "abc");
    s.attach(s, 0xFFFFFFFFU);
    EXPECT_EQ(s.size(), peek<uint32>(s, sizeof(void*)));
    s.append(nullptr, 0);
    EXPECT_EQ(bytes(s).substr(0, 3), "abc");
}

TEST(VaxoStream, BitZeroIsTheLowestOfByteZero) {
    const uint8 raw[] = {0x01, 0x80};
    const stream s(raw, 2);
    EXPECT_TRUE(s.bits(0));
    EXPECT_FALSE(s.bits(1));
    EXPECT_FALSE(s.bits(8));
    EXPECT_TRUE(s.bits(15));
    EXPECT_FALSE(s.bits(16)) << "past the end";
    EXPECT_FALSE(s.bits(0xFFFFFFFFU));
    EXPECT_FALSE(stream().bits(0));
}

TEST(VaxoStream, SettingABitChangesThatBitAndGrowsWithZeros) {
    stream s;
    s.bitset(10, true);
    EXPECT_EQ(bytes(s), std::string("\0\x04", 2));
    s.bitset(0, true);
    s.bitset(10, false);
    EXPECT_EQ(bytes(s), std::string("\x01\0", 2));
    s.bitset(0, true);
    EXPECT_EQ(bytes(s), std::string("\x01\0", 2)) << "setting twice is setting";
    s.bitset(39, false);
    EXPECT_EQ(bytes(s), std::string("\x01\0\0\0\0", 5)) << "false grows as well";
    s.bitset(7, true);
    EXPECT_EQ(s[0], 0x81);
}

TEST(VaxoStream, MergingIsTheUnionAsLongAsTheLonger) {
    stream a = made("\x01\x02");
    a.bitsmerge(made("\x04\x02\x70"));
    EXPECT_EQ(bytes(a), "\x05\x02\x70");
    a.bitsmerge(made("\x10"));
    EXPECT_EQ(bytes(a), "\x15\x02\x70");
    a.bitsmerge(a);
    a.bitsmerge(stream());
    EXPECT_EQ(bytes(a), "\x15\x02\x70");
    stream empty;
    empty.bitsmerge(a);
    EXPECT_TRUE(empty == a);
}

TEST(VaxoStream, IntersectingKeepsTheLengthAndClearsWhatTheOtherLacks) {
    stream a = made("\x07\x07\x07");
    a.bitsand(made("\x05\x0E"));
    EXPECT_EQ(bytes(a), std::string("\x05\x06\0", 3));
    a.bitsand(a);
    EXPECT_EQ(bytes(a), std::string("\x05\x06\0", 3));
    a.bitsand(made("\x04\x04\xFF\xFF\xFF"));
    EXPECT_EQ(bytes(a), std::string("\x04\x04\0", 3));
    a.bitsand(stream());
    EXPECT_EQ(bytes(a), std::string("\0\0\0", 3));
    stream empty;
    empty.bitsand(a);
    EXPECT_EQ(empty.size(), 0U);
}

// Reads and writes through one index type; the call must not be ambiguous.
template <class Index>
void index_with() {
    stream s = made("abc");
    const stream& fixed = s;
    EXPECT_EQ(s[Index{1}], 'b');
    EXPECT_EQ(fixed[Index{1}], 'b');
    s[Index{1}] = 'B';
    EXPECT_EQ(bytes(s), "aBc");
    EXPECT_EQ(s[Index{100}], 0);
}

TEST(VaxoStream, EveryIntegralTypeIndexes) {
    index_with<char>();
    index_with<unsigned char>();
    index_with<short>();
    index_with<int>();
    index_with<unsigned int>();
    index_with<long>();
    index_with<unsigned long>();
    index_with<long long>();
    index_with<unsigned long long>();
    EXPECT_EQ(made("a")[0], 'a');
}

TEST(VaxoStream, AnIndexPastTheEndReadsZeroAndSwallowsWrites) {
    stream s = made("abc");
    const stream& fixed = s;
    s[3] = 'x';
    EXPECT_EQ(s[3], 0);
    EXPECT_EQ(fixed.at(3), 0);
    EXPECT_EQ(s[-1], 0);
    EXPECT_EQ(s.at(0xFFFFFFFFU), 0);
    EXPECT_EQ(s[0x100000001ULL], 0) << "an index is not cut to 32 bits";
    EXPECT_STREQ(s.tos8(), "abc");
}

TEST(VaxoStream, TheBytesAreThereAsATerminatedText) {
    stream s = made("key");
    utf8* const text = s.tos8();
    EXPECT_STREQ(text, "key");
    EXPECT_EQ(static_cast<void*>(text), static_cast<uint8*>(s)) << "in the stream's own buffer";
    text[0] = 'K';
    EXPECT_EQ(bytes(s), "Key");
    EXPECT_EQ(s.size(), 3U) << "the terminator is no content";
    EXPECT_STREQ(stream().tos8(), "");
    stream cut = made("long");
    cut.resize(2);
    EXPECT_STREQ(cut.tos8(), "lo");
}

// stream beside std::string: the same random operations must give the same bytes.
class Pair {
public:
    explicit Pair(unsigned seed) : m_dice(seed) {}

    void Step() {
        const std::string with = Bytes(50);
        const stream other = made(with);
        const uint32 pos = Below(Size() + 2);
        const uint32 count = Below(30);
        const uint32 clipped = std::min(pos, Size());
        switch (Below(7)) {
            case 0:
                m_tested = other;
                m_model = with;
                break;
            case 1:
                m_tested += other;
                m_model += with;
                break;
            case 2:
                m_tested.replace(pos, count, stream(other), other.size());
                m_model.replace(clipped, count, with);
                break;
            case 3: {
                const uint32 from = Below(Size() + 1);
                m_tested.replace(pos, count, static_cast<uint8*>(m_tested) + from, Size() - from);
                m_model.replace(clipped, count, std::string(m_model, from));
                break;
            }
            case 4:
                m_tested.resize(std::min(pos + count / 8, 3000U));
                m_model.resize(std::min(pos + count / 8, 3000U), '\0');
                break;
            case 5:
                Bits(other, with);
                break;
            default: {
                const uint32 size = m_tested.size();
                m_tested.attach(m_tested.detach(), size);
                break;
            }
        }
    }

    void Check() {
        ASSERT_EQ(bytes(m_tested), m_model);
        if (Below(4) == 0) {
            ASSERT_EQ(m_tested.tos8()[Size()], 0);
            ASSERT_EQ(bytes(stream(m_tested)), m_model);
        }
    }

private:
    uint32 Below(uint32 limit) { return static_cast<uint32>(m_dice() % limit); }
    uint32 Size() const { return static_cast<uint32>(m_model.size()); }

    std::string Bytes(uint32 longest) {
        std::string all(Below(longest + 1), '\0');
        std::generate(all.begin(), all.end(), [this] { return static_cast<char>(Below(256)); });
        return all;
    }

    void Bits(const stream& other, const std::string& with) {
        if (Below(2) == 0) {
            m_tested.bitsmerge(other);
            m_model.resize(std::max(m_model.size(), with.size()), '\0');
            for (std::size_t i = 0; i < with.size(); ++i) {
                m_model[i] = static_cast<char>(m_model[i] | with[i]);
            }
        } else {
            m_tested.bitsand(other);
            for (std::size_t i = 0; i < m_model.size(); ++i) {
                m_model[i] = static_cast<char>(i < with.size() ? m_model[i] & with[i] : 0);
            }
        }
    }

    std::mt19937 m_dice;
    stream m_tested;
    std::string m_model;
};

TEST(VaxoStream, RandomOperationsGiveTheSameBytesAsTheStandardString) {
    for (unsigned seed = 1; seed <= 10; ++seed) {
        Pair pair(seed);
        for (int step = 0; step < 1000; ++step) {
            pair.Step();
            pair.Check();
            ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
    }
}

}  // namespace
