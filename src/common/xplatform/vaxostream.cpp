#include "vaxostream.h"

#include "vaxoowned.h"

namespace vaxo {
namespace {

// Buffers up to this size are not worth giving a part of them back.
const uint32 small_room = 64;

// Every object may be seen as unsigned char, so the bytes of a text may be.
const uint8* bytes_of(const utf8* text) {
    return reinterpret_cast<const uint8*>(text);
}

uint8 bit_of(uint32 index) {
    return static_cast<uint8>(1U << (index % 8));
}

}  // namespace

stream::stream(const uint8* bytes, uint32 length) {
    assign(bytes, length);
}

stream::stream(const stream& other) {
    assign(other.data, other.len);
}

stream::~stream() {
    clear();
}

stream& stream::operator=(const stream& other) {
    if (this != &other) {
        assign(other.data, other.len);
    }
    return *this;
}

stream& stream::operator=(const utf8* text) {
    if (text == nullptr) {
        owned::release<uint8>({room, len, data});
    } else {
        assign(bytes_of(text), owned::checked_length<uint8>(owned::text_size(text)));
    }
    return *this;
}

stream& stream::operator=(const strutf8& text) {
    assign(bytes_of(text.c_str()), text.length());
    return *this;
}

stream& stream::operator=(const strutf16& text) {
    return *this = strutf8(text);
}

stream& stream::assign(const uint8* bytes, uint32 length) {
    owned::splice<uint8>({room, len, data}, 0, len, bytes, bytes == nullptr ? 0 : length);
    return *this;
}

void stream::attach(uint8* bytes, uint32 length) {
    if (bytes != nullptr && bytes == data) {
        len = std::min(length, room);
        return;
    }
    clear();
    if (bytes != nullptr) {
        room = length;
        len = length;
        data = bytes;
    }
}

uint8* stream::detach() {
    uint8* const given = data;
    data = nullptr;
    room = 0;
    len = 0;
    return given;
}

stream& stream::operator+=(const stream& other) {
    return append(other.data, other.len);
}

stream& stream::append(const uint8* bytes, uint32 length) {
    owned::splice<uint8>({room, len, data}, len, 0, bytes, bytes == nullptr ? 0 : length);
    return *this;
}

stream& stream::replace(uint32 pos, uint32 count, const uint8* bytes, uint32 length) {
    const uint32 from = std::min(pos, len);
    owned::splice<uint8>({room, len, data}, from, std::min(count, len - from), bytes,
                         bytes == nullptr ? 0 : length);
    return *this;
}

uint32 stream::resize(uint32 length) {
    owned::resize<uint8>({room, len, data}, length);
    if (room > small_room && length < room / 4) {
        shrink(length);
    }
    return len;
}

bool stream::operator==(const stream& other) const {
    return len == other.len && owned::compare(data, len, other.data, len) == 0;
}

bool stream::operator<(const stream& other) const {
    return owned::compare(data, len, other.data, other.len) < 0;
}

bool stream::bits(uint32 index) const {
    return (at(index / 8) & bit_of(index)) != 0;
}

void stream::bitset(uint32 index, bool value) {
    const uint32 needed = index / 8 + 1;
    if (needed > len) {
        resize(needed);
    }
    uint8& byte = data[index / 8];
    byte = static_cast<uint8>(value ? byte | bit_of(index) : byte & ~bit_of(index));
}

void stream::bitsmerge(const stream& other) {
    if (other.len > len) {
        resize(other.len);
    }
    for (uint32 i = 0; i < other.len; ++i) {
        data[i] = static_cast<uint8>(data[i] | other.data[i]);
    }
}

void stream::bitsand(const stream& other) {
    for (uint32 i = 0; i < len; ++i) {
        data[i] = static_cast<uint8>(data[i] & other.at(i));
    }
}

uint8& stream::at(uint32 index) {
    static thread_local uint8 scratch;
    if (index < len) {
        return data[index];
    }
    scratch = 0;
    return scratch;
}

const uint8& stream::at(uint32 index) const {
    static const uint8 zero = 0;
    return index < len ? data[index] : zero;
}

utf8* stream::tos8() {
    grow(len);  // an attached buffer may have no room for the terminator
    data[len] = 0;
    return reinterpret_cast<utf8*>(data);  // char may look at any object
}

void stream::copy(const utf8* text, uint32 length) {
    assign(bytes_of(text), length);
}

void stream::convert(const utf16* text, uint32 length) {
    *this = strutf8(text, length);
}

uint32 stream::grow(uint32 length) {
    return owned::grow<uint8>({room, len, data}, length);
}

uint32 stream::shrink(uint32 length) {
    return owned::shrink<uint8>({room, len, data}, length);
}

}  // namespace vaxo
