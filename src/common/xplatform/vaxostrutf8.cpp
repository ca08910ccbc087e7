#include "vaxostrutf8.h"

#include <cstdarg>
#include <string>

#include "vaxoformat.h"
#include "vaxoowned.h"
#include "vaxostrutf16.h"
#include "vaxoutf.h"

namespace vaxo {
namespace {

const uint32 last_position = INT32_MAX;

bool is_space(utf8 c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

utf8 lower(utf8 c) {
    return c >= 'A' && c <= 'Z' ? static_cast<utf8>(c - 'A' + 'a') : c;
}

utf8 upper(utf8 c) {
    return c >= 'a' && c <= 'z' ? static_cast<utf8>(c - 'a' + 'A') : c;
}

bool same(utf8 a, utf8 b) {
    return a == b;
}

bool same_letter(utf8 a, utf8 b) {
    return lower(a) == lower(b);
}

// The size of a terminated text, as the length of a string.
uint32 text_length(const utf8* text) {
    return owned::checked_length<utf8>(owned::text_size(text));
}

strutf8 joined(const utf8* left, uint32 left_length, const utf8* right, uint32 right_length) {
    strutf8 sum;
    sum.reserve(owned::checked_length<utf8>(uint64{left_length} + right_length));
    sum.append(left, left_length).append(right, right_length);
    return sum;
}

}  // namespace

strutf8::strutf8(const utf8* text, uint32 length) {
    assign(text, length);
}

strutf8::strutf8(const utf8* text) {
    assign(text, text_length(text));
}

strutf8::strutf8(const strutf16& text) {
    convert(text.c_str(), text.length());
}

strutf8::strutf8(const strutf8& other) {
    assign(other._data, other.len);
}

strutf8::~strutf8() {
    clear();
}

strutf8& strutf8::operator=(const strutf8& other) {
    if (this != &other) {
        assign(other._data, other.len);
    }
    return *this;
}

strutf8& strutf8::operator=(const utf8* text) {
    if (text == nullptr) {
        owned::release<utf8>({room, len, _data});
    } else {
        assign(text, text_length(text));
    }
    return *this;
}

strutf8& strutf8::operator=(const strutf16& text) {
    convert(text.c_str(), text.length());
    return *this;
}

strutf8& strutf8::assign(const utf8* text, uint32 length) {
    owned::splice<utf8>({room, len, _data}, 0, len, text, text == nullptr ? 0 : length);
    return *this;
}

strutf8& strutf8::assign(const strutf8& other) {
    return assign(other._data, other.len);
}

strutf8& strutf8::format(const char* fmt, ...) {
    std::string text;  // apart from the buffer, which an argument may point into
    std::va_list args;
    va_start(args, fmt);
    // va_end belongs in the function of its va_start, so no guard object does it.
    try {
        format_append(text, fmt, args);
    } catch (...) {
        va_end(args);
        throw;
    }
    va_end(args);
    return assign(text.data(), owned::checked_length<utf8>(text.size()));
}

strutf8& strutf8::operator+=(const utf8* text) {
    return append(text, text_length(text));
}

strutf8& strutf8::operator+=(const strutf8& other) {
    return append(other._data, other.len);
}

strutf8 strutf8::operator+(const utf8* text) const {
    return joined(_data, len, text, text_length(text));
}

strutf8 strutf8::operator+(const strutf8& other) const {
    return joined(_data, len, other._data, other.len);
}

strutf8& strutf8::append(const utf8* text, uint32 length) {
    owned::splice<utf8>({room, len, _data}, len, 0, text, text == nullptr ? 0 : length);
    return *this;
}

strutf8& strutf8::append(const strutf8& other, uint32 start, uint32 count) {
    const uint32 from = std::min(start, other.len);
    return append(other._data + from, std::min(count, other.len - from));
}

strutf8& strutf8::append(const strutf8& other) {
    return append(other._data, other.len);
}

strutf8& strutf8::replace(uint32 pos, uint32 count, const utf8* text) {
    const uint32 from = std::min(pos, len);
    owned::splice<utf8>({room, len, _data}, from, std::min(count, len - from), text,
                        text_length(text));
    return *this;
}

strutf8& strutf8::tolower() {
    std::transform(_data, _data + len, _data, lower);
    return *this;
}

strutf8& strutf8::toupper() {
    std::transform(_data, _data + len, _data, upper);
    return *this;
}

strutf8& strutf8::trim(bool left, bool right) {
    uint32 end = len;
    while (right && end != 0 && is_space(_data[end - 1])) {
        --end;
    }
    uint32 begin = 0;
    while (left && begin != end && is_space(_data[begin])) {
        ++begin;
    }
    return assign(_data + begin, end - begin);
}

strutf8& strutf8::trimleft() {
    return trim(true, false);
}

strutf8& strutf8::trimright() {
    return trim(false, true);
}

uint32 strutf8::resize(uint32 length) {
    owned::resize<utf8>({room, len, _data}, length);
    return len;
}

uint32 strutf8::reserve(uint32 length) {
    return length < room || length == 0 ? shrink(length) : grow(length);
}

utf8& strutf8::at(uint32 index) {
    static thread_local utf8 scratch;
    if (index < len) {
        return _data[index];
    }
    scratch = 0;
    return scratch;
}

const utf8& strutf8::at(uint32 index) const {
    static const utf8 zero = 0;
    return index < len ? _data[index] : zero;
}

strutf8 strutf8::substr(uint32 pos, uint32 count) const {
    const uint32 from = std::min(pos, len);
    return {_data + from, std::min(count, len - from)};
}

int32 strutf8::find(const utf8* text, int32 start, bool casesensitive) const {
    const std::size_t size = owned::text_size(text);
    const uint32 first = start < 0 ? 0 : static_cast<uint32>(start);
    if (first > len || size > len - first) {
        return -1;
    }
    const uint32 last = std::min(len - static_cast<uint32>(size), last_position);
    for (uint32 pos = first; pos <= last; ++pos) {
        if (std::equal(text, text + size, _data + pos, casesensitive ? same : same_letter)) {
            return static_cast<int32>(pos);
        }
    }
    return -1;
}

int32 strutf8::reversefind(const utf8* text, int32 start, bool casesensitive) const {
    const std::size_t size = owned::text_size(text);
    if (size > len) {
        return -1;
    }
    uint32 last = std::min(len - static_cast<uint32>(size), last_position);
    if (start >= 0) {
        last = std::min(last, static_cast<uint32>(start));
    }
    for (uint32 behind = last + 1; behind != 0; --behind) {
        const uint32 pos = behind - 1;
        if (std::equal(text, text + size, _data + pos, casesensitive ? same : same_letter)) {
            return static_cast<int32>(pos);
        }
    }
    return -1;
}

int32 strutf8::compare(const char* text) const {
    return owned::compare(_data, len, text, owned::text_size(text));
}

int32 strutf8::compare(int32 pos, int32 count, const strutf8& other) const {
    const uint32 from = pos < 0 ? 0 : std::min(static_cast<uint32>(pos), len);
    const uint32 rest = len - from;
    const uint32 size = count < 0 ? rest : std::min(static_cast<uint32>(count), rest);
    return owned::compare(_data + from, size, other._data, other.len);
}

boolean strutf8::equals(const char* text) const {
    return compare(text) == 0 ? 1 : 0;
}

boolean strutf8::startswith(const char* text) const {
    const std::size_t size = owned::text_size(text);
    return size <= len && owned::compare(_data, size, text, size) == 0 ? 1 : 0;
}

boolean strutf8::endswith(const char* text) const {
    const std::size_t size = owned::text_size(text);
    return size <= len && owned::compare(_data + (len - size), size, text, size) == 0 ? 1 : 0;
}

void strutf8::convert(const utf16* text, uint32 length) {
    const uint32 units = text == nullptr ? 0 : length;
    const uint32 bytes = owned::checked_length<utf8>(utf::utf8_length(text, units));
    if (bytes == 0) {
        clear();
        return;
    }
    grow(bytes);
    utf::to_utf8(text, units, _data);
    _data[bytes] = 0;
    len = bytes;
}

uint32 strutf8::grow(uint32 length) {
    return owned::grow<utf8>({room, len, _data}, length);
}

uint32 strutf8::shrink(uint32 length) {
    return owned::shrink<utf8>({room, len, _data}, length);
}

}  // namespace vaxo
