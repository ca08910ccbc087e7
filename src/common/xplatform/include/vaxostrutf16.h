// vaxo::strutf16, an owned UTF-16 string: the form in which some platforms hand
// texts over. The library itself works with strutf8.
//
// Guarantees
// - A copy duplicates the units; nothing is shared. Copying costs one allocation
//   and linear time, and there is no cheaper move: a copy cannot be told apart.
// - Zero units are kept when a length is given. Behind the content the buffer
//   always holds a zero unit.
// - Every argument may be the string itself or a part of it.
// - Conversion to and from UTF-8 has a result for every input: U+FFFD stands for
//   what is ill-formed (for each maximal part that begins a well-formed UTF-8
//   sequence, and for each surrogate without its partner).
// - An allocation that fails throws std::bad_alloc and leaves the string as it
//   was; so does a length past what a uint32 or the address space can hold.
//
// Non-guarantees
// - The content is not checked: it need not be well-formed UTF-16.
// - An empty string may have no buffer: c_str() may be null.
// - Not thread-safe: one thread at a time for each string.
#ifndef VAXO_VAXOSTRUTF16_H
#define VAXO_VAXOSTRUTF16_H

#include "vaxotypes.h"

namespace vaxo {

class strutf8;

class VAXO_API strutf16 {
public:
    strutf16() = default;
    // Copies `length` units. A null text gives the empty string.
    strutf16(const utf16* text, uint32 length);
    // Converts. Explicit, because strutf8 converts from strutf16 without asking.
    explicit strutf16(const strutf8& text);
    strutf16(const strutf16& other);  // the same units, its own buffer
    ~strutf16();

    strutf16& operator=(const strutf16& other);          // the same units, its own buffer
    strutf16& operator=(const strutf8& text);            // converts
    strutf16& assign(const utf16* text, uint32 length);  // copies `length` units
    strutf16& append(const utf16* text, uint32 length);  // `length` units more
    strutf16& append(const strutf16& other);             // all of `other`

    // Empties the string and releases its buffer.
    void clear();

    // The buffer, valid until the string changes. Null when there is none.
    const utf16* c_str() const { return _data; }

    // The length in units, without the terminator.
    uint32 length() const { return len; }
    uint32 size() const { return len; }  // the same

    // Unit for unit; two empty strings are equal whatever their buffers.
    bool operator==(const strutf16& other) const;
    bool operator!=(const strutf16& other) const { return !(*this == other); }

private:
    void convert(const strutf8& text);

    uint32 room = 0;         // units in the buffer, the terminator's included
    uint32 len = 0;          // units of content
    utf16* _data = nullptr;  // from new utf16[]
};

}  // namespace vaxo

#endif
