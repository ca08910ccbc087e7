// vaxo::strutf8, the library's owned, growable UTF-8 string.
//
// Guarantees
// - A copy duplicates the bytes; nothing is shared. Copying costs one allocation
//   and linear time, and there is no cheaper move: a copy cannot be told apart.
//   Assigning a string to itself keeps its content.
// - Zero bytes are kept where a length is given. Behind the content the buffer
//   always holds a zero byte.
// - A null text acts as the empty text everywhere.
// - Every argument may be the string itself or a part of it: s = s.c_str() + 1,
//   s.append(s) and s.format("<%s>", s.c_str()) do what they say.
// - An allocation that fails throws std::bad_alloc and leaves the string as it
//   was. A length past what a uint32 or the address space can hold is such a
//   failure, and is seen before the source is read.
//
// Non-guarantees
// - The bytes are not checked: they need not be well-formed UTF-8. Positions and
//   lengths count bytes, and a cut may fall inside a character.
// - An empty string may have no buffer: c_str() and data() may be null. The
//   library's own format and log functions print that as the empty text; for
//   anybody else's "%s" test for it.
// - A string does not release memory when it becomes shorter; clear(), assigning
//   null and reserve() do.
// - Not thread-safe: one thread at a time for each string. While nobody changes it,
//   several may read it (c_str, size, comparisons).
//
// A pointer or reference into the string is valid until the string changes.
#ifndef VAXO_VAXOSTRUTF8_H
#define VAXO_VAXOSTRUTF8_H

#include <cstring>
#include <type_traits>

#include "vaxoindex.h"
#include "vaxotypes.h"

namespace vaxo {

class strutf16;

class VAXO_API strutf8 {
    // Admits exactly utf16, so that (nullptr, 0) means the UTF-8 constructor:
    // nothing is deduced from a null pointer constant.
    template <class Unit>
    using if_utf16 = std::enable_if_t<std::is_same_v<Unit, utf16>, int>;

public:
    strutf8() = default;
    // Copies `length` bytes. A null text gives the empty string.
    strutf8(const utf8* text, uint32 length);
    // Copies a terminated text. Implicit: a text may stand where a string does.
    strutf8(const utf8* text);
    // Converts `length` units; U+FFFD stands for each surrogate without partner.
    template <class Unit, if_utf16<Unit> = 0>
    strutf8(const Unit* text, uint32 length) {
        convert(text, length);
    }
    strutf8(const strutf16& text);  // converts
    strutf8(const strutf8& other);  // the same bytes, its own buffer
    virtual ~strutf8();

    strutf8& operator=(const strutf8& other);  // the same bytes, its own buffer
    // Null empties the string and releases its buffer.
    strutf8& operator=(const utf8* text);
    strutf8& operator=(const strutf16& text);          // converts
    strutf8& assign(const utf8* text, uint32 length);  // copies `length` bytes
    strutf8& assign(const strutf8& other);             // copies all of `other`

    // Replaces the content by the printf-style formatted text. A null "%s"
    // argument prints as the empty text. A null format gives the empty string.
    // Without the compiler's check of the arguments, which turns null texts down.
    strutf8& format(const char* fmt, ...);

    strutf8& operator+=(const utf8* text);  // appends; null is the empty text
    strutf8& operator+=(const strutf8& other);
    strutf8 operator+(const utf8* text) const;  // a new string: this one, then the other
    strutf8 operator+(const strutf8& other) const;
    strutf8& append(const utf8* text, uint32 length);  // `length` bytes more
    // Appends `count` bytes of `other` from `start` on, or what there is of them.
    strutf8& append(const strutf8& other, uint32 start, uint32 count);
    strutf8& append(const strutf8& other);  // all of `other`

    // Replaces `count` bytes from `pos` on, or what there is of them. Past the
    // end it appends.
    strutf8& replace(uint32 pos, uint32 count, const utf8* text);

    // ASCII letters only, whatever the locale.
    strutf8& tolower();
    strutf8& toupper();  // the same, to capitals

    // Removes ASCII white space (blank, \t \n \v \f \r) at the chosen ends.
    strutf8& trim(bool left, bool right);
    strutf8& trimleft();   // at the start alone
    strutf8& trimright();  // at the end alone

    // Empties the string and releases its buffer.
    void clear() { *this = static_cast<const utf8*>(nullptr); }

    // Cuts the string, or extends it with zero bytes. Returns the new length.
    uint32 resize(uint32 length);
    // Sets the room: grows it so that the string can become `length` bytes long
    // without allocating, or gives back what is more than that and the content
    // need. Returns the room in bytes, the terminator's included; 0 when there is
    // no buffer.
    uint32 reserve(uint32 length);

    // The length in bytes, without the terminator.
    uint32 length() const { return len; }
    uint32 size() const { return len; }  // the same

    // The buffer; may be null when the string is empty. Whoever writes through it
    // stays within length() bytes.
    const utf8* c_str() const { return _data; }
    const utf8* data() const { return _data; }  // the same as c_str()
    utf8* data() { return _data; }
    operator utf8*() { return _data; }  // for interfaces that write into a text

    // The byte at `index`. An index past the end gives a byte that belongs to no
    // string: it reads 0, and what is written to it is gone with the next such
    // access on the same thread.
    utf8& at(uint32 index);
    const utf8& at(uint32 index) const;
    utf8& operator[](uint32 index) { return at(index); }  // at(index)
    const utf8& operator[](uint32 index) const { return at(index); }
    // Any other index type; see vaxoindex.h. A negative index is past the end.
    template <class Index, if_other_index<Index> = 0>
    utf8& operator[](Index index) {
        return at(index_narrowed(index));
    }
    template <class Index, if_other_index<Index> = 0>
    const utf8& operator[](Index index) const {
        return at(index_narrowed(index));
    }

    // The bytes from `pos` on, `count` of them or what there is.
    strutf8 substr(uint32 pos, uint32 count) const;

    // The first position at or behind `start` where `text` stands, or -1. A
    // negative start counts as 0. The empty text stands everywhere, the end
    // included. Without casesensitive, ASCII letters match in either case. Only
    // positions that an int32 can tell are searched.
    int32 find(const utf8* text, int32 start = 0, bool casesensitive = true) const;
    // The last position at or before `start` where `text` stands, or -1. A
    // negative start means the end.
    int32 reversefind(const utf8* text, int32 start = -1, bool casesensitive = true) const;

    // -1, 0 or 1: the order of the bytes as unsigned numbers; a text comes before
    // its own continuations.
    int32 compare(const char* text) const;
    // Compares `count` bytes from `pos` on, or what there is of them, with the
    // whole of `other`. A negative pos counts as 0, a negative count as all.
    int32 compare(int32 pos, int32 count, const strutf8& other) const;

    // 1 or 0. Byte for byte, against the terminated text. The empty text is the
    // start and the end of every string.
    boolean equals(const char* text) const;
    boolean startswith(const char* text) const;  // `text` stands at the start
    boolean endswith(const char* text) const;    // `text` stands at the end

    // Byte for byte. Two empty strings are equal whatever their buffers.
    bool operator==(const strutf8& other) const {
        return len == other.len && (len == 0 || std::memcmp(_data, other._data, len) == 0);
    }
    bool operator!=(const strutf8& other) const { return !(*this == other); }
    bool operator==(const utf8* text) const { return equals(text) != 0; }
    bool operator!=(const utf8* text) const { return equals(text) == 0; }
    // The order of compare().
    bool operator<(const strutf8& other) const { return compare(0, -1, other) < 0; }
    bool operator<(const utf8* text) const { return compare(text) < 0; }

private:
    void convert(const utf16* text, uint32 length);
    // Room for at least, or for no more than, `length` bytes and a terminator;
    // the content stays. Both return the room.
    uint32 grow(uint32 length);
    uint32 shrink(uint32 length);

    uint32 room = 0;        // bytes in the buffer, the terminator's included
    uint32 len = 0;         // bytes of content
    utf8* _data = nullptr;  // from new utf8[]
};

// The rest of the comparisons, in bytes like the members. Left out, the
// conversion to utf8* would let the compiler compare addresses instead.
inline bool operator==(const utf8* a, const strutf8& b) {
    return b == a;
}
inline bool operator!=(const utf8* a, const strutf8& b) {
    return b != a;
}
inline bool operator<(const utf8* a, const strutf8& b) {
    return b.compare(a) > 0;
}
inline bool operator>(const strutf8& a, const strutf8& b) {
    return b < a;
}
inline bool operator>(const strutf8& a, const utf8* b) {
    return a.compare(b) > 0;
}
inline bool operator>(const utf8* a, const strutf8& b) {
    return b < a;
}
inline bool operator<=(const strutf8& a, const strutf8& b) {
    return !(b < a);
}
inline bool operator<=(const strutf8& a, const utf8* b) {
    return a.compare(b) <= 0;
}
inline bool operator<=(const utf8* a, const strutf8& b) {
    return b.compare(a) >= 0;
}
inline bool operator>=(const strutf8& a, const strutf8& b) {
    return !(a < b);
}
inline bool operator>=(const strutf8& a, const utf8* b) {
    return a.compare(b) >= 0;
}
inline bool operator>=(const utf8* a, const strutf8& b) {
    return b.compare(a) <= 0;
}

// A new string: the text, then the string.
inline strutf8 operator+(const utf8* a, const strutf8& b) {
    return strutf8(a) + b;
}

}  // namespace vaxo

#endif
