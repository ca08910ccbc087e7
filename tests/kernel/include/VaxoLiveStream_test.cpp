// The record of one stream: what it starts with, that a copy shares nothing, and that a
// copy which runs out of memory leaves nothing behind.
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "IVaxoLive.h"
#include "support/FailingNew.h"
#include "support/PrivateAccess.h"
#include "support/StringText.h"

using Strova::VaxoLiveStream;
using vaxotest::text;

namespace {

struct Length {
    typedef uint32 vaxo::strutf8::*type;
};

}  // namespace

template struct PrivateAccess<Length, &vaxo::strutf8::len>;

namespace {

// Every field filled, with texts that hold `mark`.
VaxoLiveStream Filled(const std::string& mark) {
    VaxoLiveStream stream;
    stream.streamGID = ("global " + mark).c_str();
    stream.streamID = ("stream " + mark).c_str();
    stream.userID = ("user " + mark).c_str();
    stream.userName = ("name " + mark).c_str();
    stream.title = ("title " + mark).c_str();
    for (const char* end : {"/1", "/2", "/3"}) {
        stream.rtmpURLs.Add(("rtmp://" + mark + end).c_str());
        stream.hlsURLs.Add(("https://" + mark + end).c_str());
    }
    stream.status = 4000000000U;
    return stream;
}

// The fields in order, one text each.
std::vector<std::string> Fields(const VaxoLiveStream& stream) {
    std::vector<std::string> fields = {text(stream.streamGID), text(stream.streamID),
                                       text(stream.userID), text(stream.userName),
                                       text(stream.title)};
    std::string all;
    for (const vaxo::strutf8& url : stream.rtmpURLs) {
        all += text(url) + " ";
    }
    fields.push_back(all);
    all.clear();
    for (const vaxo::strutf8& url : stream.hlsURLs) {
        all += text(url) + " ";
    }
    fields.push_back(all);
    fields.push_back(std::to_string(stream.status));
    return fields;
}

// While one lives, the string cannot be copied: it says that it is longer than any buffer
// can be, which a copy finds out before it reads a byte.
class Uncopyable {
public:
    explicit Uncopyable(vaxo::strutf8& string)
        : m_length(Private<Length>(string)), m_former(m_length) {
        m_length = 0xFFFFFFFFU;
    }
    ~Uncopyable() { m_length = m_former; }
    Uncopyable(const Uncopyable&) = delete;
    Uncopyable& operator=(const Uncopyable&) = delete;

private:
    uint32& m_length;
    uint32 m_former;
};

// A string of every field that has one, in the order of the fields.
std::vector<vaxo::strutf8*> StringsOf(VaxoLiveStream& stream) {
    return {&stream.streamGID, &stream.streamID,    &stream.userID,    &stream.userName,
            &stream.title,     &stream.rtmpURLs[1], &stream.hlsURLs[2]};
}

}  // namespace

TEST(VaxoLiveStream, StartsEmptyWithStatusZero) {
    const VaxoLiveStream stream;
    EXPECT_EQ(Fields(stream), (std::vector<std::string>{"", "", "", "", "", "", "", "0"}));
    EXPECT_EQ(stream.rtmpURLs.capacity(), 0U);
    EXPECT_EQ(stream.hlsURLs.capacity(), 0U);
}

TEST(VaxoLiveStream, TheFieldsHaveTheirTypesAndStandInTheirOrder) {
    EXPECT_TRUE((std::is_same_v<decltype(VaxoLiveStream::title), vaxo::strutf8>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(VaxoLiveStream::rtmpURLs), vaxostl::vector<vaxo::strutf8>>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(VaxoLiveStream::hlsURLs), vaxostl::vector<vaxo::strutf8>>));
    EXPECT_TRUE((std::is_same_v<decltype(VaxoLiveStream::status), unsigned int>));

    const VaxoLiveStream s;
    const std::vector<const void*> inOrder = {&s,       &s.streamID, &s.userID,  &s.userName,
                                              &s.title, &s.rtmpURLs, &s.hlsURLs, &s.status};
    EXPECT_EQ(inOrder.front(), static_cast<const void*>(&s.streamGID));
    for (std::size_t i = 1; i < inOrder.size(); ++i) {
        EXPECT_LT(inOrder[i - 1], inOrder[i]) << "field " << i;
    }
}

TEST(VaxoLiveStream, ACopyHasEveryField) {
    const VaxoLiveStream original = Filled("a");
    const VaxoLiveStream copy(original);
    EXPECT_EQ(Fields(copy),
              (std::vector<std::string>{"global a", "stream a", "user a", "name a", "title a",
                                        "rtmp://a/1 rtmp://a/2 rtmp://a/3 ",
                                        "https://a/1 https://a/2 https://a/3 ", "4000000000"}));
}

TEST(VaxoLiveStream, ACopyKeepsZeroBytes) {
    VaxoLiveStream original;
    original.streamID = vaxo::strutf8("a\0b", 3);
    const VaxoLiveStream copy(original);
    EXPECT_EQ(text(copy.streamID), std::string("a\0b", 3));
}

TEST(VaxoLiveStream, ACopySharesNothingWithItsSource) {
    VaxoLiveStream original = Filled("a");
    VaxoLiveStream copy(original);
    const std::vector<vaxo::strutf8*> ours = StringsOf(copy);
    const std::vector<vaxo::strutf8*> theirs = StringsOf(original);
    for (std::size_t i = 0; i < ours.size(); ++i) {
        EXPECT_NE(ours[i]->c_str(), theirs[i]->c_str()) << "string " << i;
    }
    original = Filled("b");
    original.rtmpURLs.clear();
    EXPECT_EQ(Fields(copy), Fields(Filled("a")));
}

TEST(VaxoLiveStream, ACopyOutlivesItsSource) {
    const std::vector<std::string> expected = Fields(Filled("a"));
    const VaxoLiveStream copy = [] {
        const VaxoLiveStream original = Filled("a");
        vaxostl::vector<VaxoLiveStream> list;
        list.Add(original);
        return VaxoLiveStream(list[0]);
    }();
    EXPECT_EQ(Fields(copy), expected);
}

TEST(VaxoLiveStream, AssigningReplacesEveryField) {
    VaxoLiveStream stream = Filled("a");
    stream = Filled("b");
    EXPECT_EQ(Fields(stream), Fields(Filled("b")));
    stream = VaxoLiveStream();
    EXPECT_EQ(Fields(stream), Fields(VaxoLiveStream()));
}

TEST(VaxoLiveStream, AssigningToItselfChangesNothing) {
    VaxoLiveStream stream = Filled("a");
    const VaxoLiveStream& same = stream;
    stream = same;
    EXPECT_EQ(Fields(stream), Fields(Filled("a")));
}

// What was built so far is freed: the address sanitizer would tell.
TEST(VaxoLiveStream, ACopyThatRunsOutOfMemoryAtAnyFieldThrowsAndLeavesTheSource) {
    VaxoLiveStream original = Filled("a");
    for (vaxo::strutf8* string : StringsOf(original)) {
        const Uncopyable uncopyable(*string);
        EXPECT_THROW(VaxoLiveStream copy(original), std::bad_alloc);
    }
    EXPECT_EQ(Fields(original), Fields(Filled("a")));
}

TEST(VaxoLiveStream, TheFieldsAreAssignedInTheirOrder) {
    VaxoLiveStream source = Filled("b");
    const std::vector<std::string> before = Fields(Filled("a"));
    const std::vector<std::string> after = Fields(source);
    const std::vector<vaxo::strutf8*> strings = StringsOf(source);
    for (std::size_t failing = 0; failing < strings.size(); ++failing) {
        VaxoLiveStream target = Filled("a");
        target.status = 1;
        {
            const Uncopyable uncopyable(*strings[failing]);
            EXPECT_THROW(target = source, std::bad_alloc);
        }
        const std::vector<std::string> fields = Fields(target);
        for (std::size_t i = 0; i < failing; ++i) {
            EXPECT_EQ(fields[i], after[i]) << "failing " << failing;
        }
        for (std::size_t i = failing + 1; i < strings.size(); ++i) {
            EXPECT_EQ(fields[i], before[i]) << "failing " << failing;
        }
        EXPECT_EQ(fields.back(), "1") << "failing " << failing;
    }
}

TEST(VaxoLiveStream, ListsThatGetNoStorageStayEmptyAndTheRestIsCopied) {
    const VaxoLiveStream original = Filled("a");
    std::vector<std::string> expected = Fields(original);
    expected[5].clear();
    expected[6].clear();
    const VaxoLiveStream copy = [&] {
        const failing_new::Refusal refusal;
        return VaxoLiveStream(original);
    }();
    EXPECT_EQ(Fields(copy), expected);
}
