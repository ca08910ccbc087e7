// What the strings and the byte buffer do about memory: what they allocate and
// release, and what is left of them when an allocation fails. The linker sends the
// executable's array allocations through wrappers that count and fail on demand;
// the thread sanitizer lets nobody replace the operators themselves.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <tuple>

#include "support/StringText.h"
#include "vaxostream.h"

namespace {

std::atomic<long> arrays_living{0};
std::atomic<long> arrays_made{0};
thread_local bool arrays_fail = false;

void* counted(void* made) {
    if (made != nullptr) {
        ++arrays_living;
        ++arrays_made;
    }
    return made;
}

}  // namespace

// The names that the linker's --wrap gives to the operators: its prefix and the
// operator's symbol, in which size_t is "m" or "j". Macros, because a symbol cannot
// be put together otherwise.
#if defined(__LP64__)
#define VAXO_NEW(prefix) prefix##_Znam
#define VAXO_NOTHROW_NEW(prefix) prefix##_ZnamRKSt9nothrow_t
#define VAXO_SIZED_DELETE(prefix) prefix##_ZdaPvm
#else
#define VAXO_NEW(prefix) prefix##_Znaj
#define VAXO_NOTHROW_NEW(prefix) prefix##_ZnajRKSt9nothrow_t
#define VAXO_SIZED_DELETE(prefix) prefix##_ZdaPvj
#endif

// The wrappers are visible because a shared standard library calls the operators.
extern "C" {

void* VAXO_NEW(__real_)(std::size_t size);
VAXO_API void* VAXO_NEW(__wrap_)(std::size_t size);
void* VAXO_NOTHROW_NEW(__real_)(std::size_t size, const std::nothrow_t& tag) noexcept;
VAXO_API void* VAXO_NOTHROW_NEW(__wrap_)(std::size_t size, const std::nothrow_t& tag) noexcept;
void __real__ZdaPv(void* block) noexcept;
VAXO_API void __wrap__ZdaPv(void* block) noexcept;
void VAXO_SIZED_DELETE(__real_)(void* block, std::size_t size) noexcept;
VAXO_API void VAXO_SIZED_DELETE(__wrap_)(void* block, std::size_t size) noexcept;

void* VAXO_NEW(__wrap_)(std::size_t size) {
    if (arrays_fail) {
        throw std::bad_alloc();
    }
    return counted(VAXO_NEW(__real_)(size));
}

void* VAXO_NOTHROW_NEW(__wrap_)(std::size_t size, const std::nothrow_t& tag) noexcept {
    return arrays_fail ? nullptr : counted(VAXO_NOTHROW_NEW(__real_)(size, tag));
}

void __wrap__ZdaPv(void* block) noexcept {
    arrays_living -= block == nullptr ? 0 : 1;
    __real__ZdaPv(block);
}

void VAXO_SIZED_DELETE(__wrap_)(void* block, std::size_t size) noexcept {
    arrays_living -= block == nullptr ? 0 : 1;
    VAXO_SIZED_DELETE(__real_)(block, size);
}
}

namespace {

using vaxo::stream;
using vaxo::strutf16;
using vaxo::strutf8;
using vaxotest::bytes;
using vaxotest::text;
using vaxotest::units;

const uint32 most = 0xFFFFFFFFU;

// Whether `job` ends in std::bad_alloc while every array allocation fails.
bool fails(const std::function<void()>& job) {
    arrays_fail = true;
    bool failed = false;
    try {
        job();
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    arrays_fail = false;
    return failed;
}

// Whether `job` ends in std::bad_alloc without having asked for memory.
bool overflows(const std::function<void()>& job) {
    const long made = arrays_made;
    try {
        job();
    } catch (const std::bad_alloc&) {
        return arrays_made == made;
    }
    return false;
}

TEST(VaxoOwned, EmptyOnesAllocateNothing) {
    const long made = arrays_made;
    strutf8 s(nullptr, 0);
    s = strutf8(s) + strutf8("");
    s = strutf16(s);
    s.assign(s.substr(0, 5)).append(s).trim(true, true);
    stream bin(nullptr, 0);
    bin = stream(bin);
    bin += bin;
    EXPECT_EQ(arrays_made, made);
    EXPECT_EQ(s.length() + bin.size(), 0U);
}

TEST(VaxoOwned, ACopyAllocatesOnceAndIsReleased) {
    const long before = arrays_living;
    {
        const strutf8 s("content");
        const stream bin("content", 7);
        const strutf16 wide(s);
        EXPECT_EQ(arrays_living, before + 3);
        const long made = arrays_made;
        const std::tuple<strutf8, stream, strutf16> copies(s, bin, wide);
        EXPECT_EQ(arrays_made, made + 3);
        EXPECT_EQ(arrays_living, before + 6);
        EXPECT_TRUE(std::get<0>(copies) == s);
        EXPECT_TRUE(std::get<1>(copies) == bin);
        EXPECT_TRUE(std::get<2>(copies) == wide);
    }
    EXPECT_EQ(arrays_living, before);
}

TEST(VaxoOwned, AssigningNullAndClearingReleaseTheBuffer) {
    const long before = arrays_living;
    strutf8 s("content");
    stream bin("content", 7);
    strutf16 wide(s);
    EXPECT_EQ(arrays_living, before + 3);
    s = nullptr;
    EXPECT_EQ(arrays_living, before + 2);
    bin = nullptr;
    EXPECT_EQ(arrays_living, before + 1);
    wide.clear();
    EXPECT_EQ(arrays_living, before);
    s = "again";
    bin = "again";
    s.clear();
    bin.clear();
    EXPECT_EQ(arrays_living, before);
}

TEST(VaxoOwned, AttachAndDetachMoveTheOwnership) {
    const long before = arrays_living;
    {
        stream s("old", 3);
        s.attach(std::make_unique<uint8[]>(10).release(), 10);
        EXPECT_EQ(arrays_living, before + 1) << "the old buffer is released";
        const std::unique_ptr<uint8[]> mine(s.detach());
        s.clear();
        EXPECT_EQ(arrays_living, before + 1) << "the stream no longer owns it";
    }
    EXPECT_EQ(arrays_living, before);
    {
        stream s;
        s.attach(std::make_unique<uint8[]>(0).release(), 0);
    }
    EXPECT_EQ(arrays_living, before) << "an empty buffer is owned as well";
}

TEST(VaxoOwned, AppendingAllocatesSeldom) {
    const long made = arrays_made;
    strutf8 s;
    for (int i = 0; i < 100000; ++i) {
        s.append("x", 1);
    }
    EXPECT_LT(arrays_made - made, 50);
    EXPECT_EQ(s.length(), 100000U);
}

TEST(VaxoOwned, AFailedAllocationLeavesAStringAsItWas) {
    const std::string longer(200, 'L');
    const strutf8 other(longer.c_str());
    const strutf16 wide(other);
    strutf8 s("as it was");
    s.reserve(0);
    const utf8* const buffer = s.c_str();
    const std::function<void()> jobs[] = {
        [&] { s = other; },
        [&] { s = longer.c_str(); },
        [&] { s = wide; },
        [&] { s.assign(other); },
        [&] { s.format("%s", longer.c_str()); },
        [&] { s += other; },
        [&] { s += longer.c_str(); },
        [&] { s.append(s); },
        [&] { s.append(other, 1, 100); },
        [&] { s.replace(2, 1, longer.c_str()); },
        [&] { s.replace(2, 4, s.c_str() + 6); },
        [&] { s.resize(500); },
        [&] { s.reserve(500); },
        [&] { const strutf8 sum = s + other; },
        [&] { const strutf8 part = s.substr(1, 3); },
        [&] { strutf8(s).clear(); },
    };
    for (const auto& job : jobs) {
        EXPECT_TRUE(fails(job)) << "job " << &job - jobs;
        EXPECT_EQ(text(s), "as it was") << "job " << &job - jobs;
        EXPECT_EQ(s.c_str(), buffer) << "job " << &job - jobs;
    }
    EXPECT_EQ(text(other), longer);
}

TEST(VaxoOwned, AFailedAllocationLeavesAStreamAsItWas) {
    const std::string longer(200, 'L');
    const stream other(longer.c_str(), 200);
    stream s("as it was", 9);
    const std::function<void()> jobs[] = {
        [&] { s = other; },
        [&] { s = longer.c_str(); },
        [&] { s += other; },
        [&] { s.append(static_cast<uint8*>(s), 9); },
        [&] { s.replace(2, 1, stream(other), 200); },
        [&] { s.resize(500); },
        [&] { s.bitset(5000, true); },
        [&] { s.bitsmerge(other); },
        [&] { stream(s).clear(); },
    };
    for (const auto& job : jobs) {
        EXPECT_TRUE(fails(job)) << "job " << &job - jobs;
        EXPECT_EQ(bytes(s), "as it was") << "job " << &job - jobs;
    }
}

TEST(VaxoOwned, AFailedAllocationLeavesAUtf16StringAsItWas) {
    const std::string longer(200, 'L');
    const strutf8 narrow(longer.c_str());
    const strutf16 other(narrow);
    strutf16 s(strutf8("as it was"));
    EXPECT_TRUE(fails([&] { s = other; }));
    EXPECT_TRUE(fails([&] { s = narrow; }));
    EXPECT_TRUE(fails([&] { s.append(s); }));
    EXPECT_EQ(units(s), u"as it was");
}

TEST(VaxoOwned, GivingMemoryBackNeedsNone) {
    strutf8 s("content");
    const uint32 room = s.reserve(1000);
    EXPECT_FALSE(fails([&] { EXPECT_EQ(s.reserve(0), room); }));
    EXPECT_EQ(text(s), "content");
    stream bin("content", 7);
    bin.resize(1000);
    EXPECT_FALSE(fails([&] { EXPECT_EQ(bin.resize(7), 7U); }));
    EXPECT_EQ(bytes(bin), "content");
}

TEST(VaxoOwned, AStringThatWouldPassTheLargestLengthFailsBeforeReading) {
    strutf8 s("abc");
    // One byte to read: a single read more would be seen by the address sanitizer.
    const auto one = std::make_unique<utf8[]>(1);
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most - 1); }));
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most - 3); })) << "room for the terminator";
    EXPECT_TRUE(overflows([&] { s.assign(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { const strutf8 made(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { s.resize(most); }));
    EXPECT_TRUE(overflows([&] { s.reserve(most); }));
    EXPECT_EQ(text(s), "abc");
    s.append(s, 1, most);
    EXPECT_EQ(text(s), "abcbc") << "a clipped count is no overflow";
}

TEST(VaxoOwned, AStreamThatWouldPassTheLargestLengthFailsBeforeReading) {
    stream s("abc", 3);
    const auto one = std::make_unique<uint8[]>(1);
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most - 3); })) << "room for the terminator";
    EXPECT_TRUE(overflows([&] { s.assign(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { s.replace(1, 1, one.get(), most - 2); }));
    EXPECT_TRUE(overflows([&] { s.resize(most); }));
    EXPECT_TRUE(overflows([&] { const stream made(one.get(), most); }));
    EXPECT_EQ(bytes(s), "abc");
}

TEST(VaxoOwned, AUtf16StringThatWouldPassTheLargestLengthFailsBeforeReading) {
    strutf16 s(strutf8("abc"));
    const auto one = std::make_unique<utf16[]>(1);
    EXPECT_TRUE(overflows([&] { s.append(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { s.assign(one.get(), most); }));
    EXPECT_TRUE(overflows([&] { const strutf16 made(one.get(), most); }));
    EXPECT_EQ(units(s), u"abc");
}

}  // namespace
