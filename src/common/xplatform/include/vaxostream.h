// vaxo::stream, the library's owned, growable byte buffer. Brings the strings
// with it: who includes this header has strutf8, strutf16 and stream.
//
// Guarantees
// - A copy duplicates the bytes; nothing is shared. Copying costs one allocation
//   and linear time, and there is no cheaper move: a copy cannot be told apart.
//   Assigning a stream to itself keeps its content.
// - A null pointer acts as no bytes everywhere, whatever length comes with it.
// - Every argument may be the stream itself or a part of it.
// - An allocation that fails throws std::bad_alloc and leaves the stream as it
//   was. A length past what a uint32 or the address space can hold is such a
//   failure, and is seen before the source is read.
//
// Non-guarantees
// - An empty stream may have no buffer: the conversion to unsigned char* may
//   give null.
// - The bytes are not erased from memory when the buffer is released.
// - Not thread-safe: one thread at a time for each stream.
//
// Texts go in as the bytes of their UTF-8 form, without a terminator; UTF-16 is
// converted first. A pointer or reference into the stream is valid until the
// stream changes or tos8() is called.
#ifndef VAXO_VAXOSTREAM_H
#define VAXO_VAXOSTREAM_H

#include <type_traits>

#include "vaxoindex.h"
#include "vaxostrutf16.h"
#include "vaxostrutf8.h"
#include "vaxotypes.h"

namespace vaxo {

class VAXO_API stream {
    // Admit exactly the named unit, so that (nullptr, 0) means the constructor
    // from bytes: nothing is deduced from a null pointer constant.
    template <class Unit>
    using if_utf8 = std::enable_if_t<std::is_same_v<Unit, utf8>, int>;
    template <class Unit>
    using if_utf16 = std::enable_if_t<std::is_same_v<Unit, utf16>, int>;

public:
    stream() = default;
    // Copies `length` bytes.
    stream(const uint8* bytes, uint32 length);
    // Copies `length` bytes of a text.
    template <class Unit, if_utf8<Unit> = 0>
    stream(const Unit* text, uint32 length) {
        copy(text, length);
    }
    // Takes the UTF-8 form of `length` units.
    template <class Unit, if_utf16<Unit> = 0>
    stream(const Unit* text, uint32 length) {
        convert(text, length);
    }
    stream(const stream& other);  // the same bytes, its own buffer
    virtual ~stream();

    stream& operator=(const stream& other);  // the same bytes, its own buffer
    // Takes the bytes of the terminated text. Null empties the stream and releases
    // its buffer.
    stream& operator=(const utf8* text);
    stream& operator=(const strutf8& text);
    stream& operator=(const strutf16& text);
    stream& assign(const uint8* bytes, uint32 length);  // copies `length` bytes

    // Takes over a buffer that was allocated with new uint8[] and holds at least
    // `length` bytes. The stream's own buffer is released, unless it is that very
    // buffer; then the length cannot pass its room. Null empties the stream.
    void attach(uint8* bytes, uint32 length);
    // Hands the buffer out and leaves the stream empty. It belongs to the caller,
    // who frees it with delete[]. Null when there is no buffer. Ask for size()
    // before.
    uint8* detach();

    stream& operator+=(const stream& other);            // appends the bytes of `other`
    stream& append(const uint8* bytes, uint32 length);  // appends `length` bytes
    // Replaces `count` bytes from `pos` on, or what there is of them. Past the
    // end it appends.
    stream& replace(uint32 pos, uint32 count, const uint8* bytes, uint32 length);

    // Empties the stream and releases its buffer.
    void clear() { *this = static_cast<const utf8*>(nullptr); }

    // Cuts the stream, or extends it with zero bytes. Returns the new length. A
    // stream cut to a small part of its buffer gives memory back.
    uint32 resize(uint32 length);

    // The number of bytes held.
    uint32 size() const { return len; }

    // Byte for byte; two empty streams are equal whatever their buffers. The order
    // is that of the bytes as unsigned numbers; a stream comes before its own
    // continuations.
    bool operator==(const stream& other) const;
    bool operator!=(const stream& other) const { return !(*this == other); }
    bool operator<(const stream& other) const;

    // The bit at `index`. Bit 0 is the least significant bit of byte 0, bit 8 that
    // of byte 1. Bits past the end are false.
    bool bits(uint32 index) const;
    // Past the end, either value extends the stream with zero bytes first.
    void bitset(uint32 index, bool value);
    // The union: ORs the bits of `other` in. The result is as long as the longer.
    void bitsmerge(const stream& other);
    // The intersection: ANDs the bits of `other` in. The length stays, and the
    // bytes past the end of `other` become 0.
    void bitsand(const stream& other);

    // The byte at `index`. An index past the end gives a byte that belongs to no
    // stream: it reads 0, and what is written to it is gone with the next such
    // access on the same thread.
    uint8& at(uint32 index);
    const uint8& at(uint32 index) const;
    uint8& operator[](uint32 index) { return at(index); }  // at(index)
    const uint8& operator[](uint32 index) const { return at(index); }
    // Any other index type; see vaxoindex.h. A negative index is past the end.
    template <class Index, if_other_index<Index> = 0>
    uint8& operator[](Index index) {
        return at(index_narrowed(index));
    }
    template <class Index, if_other_index<Index> = 0>
    const uint8& operator[](Index index) const {
        return at(index_narrowed(index));
    }

    // The buffer; may be null when the stream is empty.
    operator unsigned char*() { return data; }

    // The bytes as a terminated text, in the stream's own buffer. Never null: for
    // an empty stream it is the empty text. The bytes stay as they are, so a zero
    // byte among them ends the text early. May allocate, for the terminator.
    utf8* tos8();

private:
    void copy(const utf8* text, uint32 length);
    void convert(const utf16* text, uint32 length);
    // Room for at least, or for no more than, `length` bytes and a terminator;
    // the content stays. Both return the room.
    uint32 grow(uint32 length);
    uint32 shrink(uint32 length);

    uint32 room = 0;        // bytes in the buffer
    uint32 len = 0;         // bytes of content
    uint8* data = nullptr;  // from new uint8[]
};

// Another name in use for the same thing.
typedef stream buffer;

// The rest of the comparisons. Left out, the conversion to unsigned char* would
// let the compiler compare addresses instead.
inline bool operator>(const stream& a, const stream& b) {
    return b < a;
}
inline bool operator<=(const stream& a, const stream& b) {
    return !(b < a);
}
inline bool operator>=(const stream& a, const stream& b) {
    return !(a < b);
}

}  // namespace vaxo

#endif
