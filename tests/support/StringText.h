// The library's strings and buffers as the standard library's, for comparing and
// for readable failures. Checks the terminator on the way.
#ifndef VAXO_TESTS_STRINGTEXT_H
#define VAXO_TESTS_STRINGTEXT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "vaxostream.h"

namespace vaxotest {

inline std::string text(const vaxo::strutf8& s) {
    if (s.c_str() == nullptr) {
        EXPECT_EQ(s.length(), 0U);
        return {};
    }
    EXPECT_EQ(s.c_str()[s.length()], '\0');
    return {s.c_str(), s.length()};
}

inline std::u16string units(const vaxo::strutf16& s) {
    if (s.c_str() == nullptr) {
        EXPECT_EQ(s.length(), 0U);
        return {};
    }
    EXPECT_EQ(s.c_str()[s.length()], 0);
    return {s.c_str(), s.c_str() + s.length()};
}

inline std::string bytes(const vaxo::stream& s) {
    std::string all;
    for (uint32 i = 0; i < s.size(); ++i) {
        all += static_cast<char>(s[i]);
    }
    return all;
}

// Object bytes from `offset` on, as a T. The representation of an object may be
// read as bytes, and a T may be copied from them.
template <class T, class Object>
T peek(const Object& whole, std::size_t offset) {
    T value;
    const void* object = &whole;
    std::memcpy(&value, static_cast<const unsigned char*>(object) + offset, sizeof(value));
    return value;
}

}  // namespace vaxotest

#endif
