#include "vaxostrutf16.h"

#include "vaxoowned.h"
#include "vaxostrutf8.h"
#include "vaxoutf.h"

namespace vaxo {

strutf16::strutf16(const utf16* text, uint32 length) {
    assign(text, length);
}

strutf16::strutf16(const strutf8& text) {
    convert(text);
}

strutf16::strutf16(const strutf16& other) {
    assign(other._data, other.len);
}

strutf16::~strutf16() {
    clear();
}

strutf16& strutf16::operator=(const strutf16& other) {
    if (this != &other) {
        assign(other._data, other.len);
    }
    return *this;
}

strutf16& strutf16::operator=(const strutf8& text) {
    convert(text);
    return *this;
}

strutf16& strutf16::assign(const utf16* text, uint32 length) {
    owned::splice<utf16>({room, len, _data}, 0, len, text, text == nullptr ? 0 : length);
    return *this;
}

strutf16& strutf16::append(const utf16* text, uint32 length) {
    owned::splice<utf16>({room, len, _data}, len, 0, text, text == nullptr ? 0 : length);
    return *this;
}

strutf16& strutf16::append(const strutf16& other) {
    return append(other._data, other.len);
}

void strutf16::clear() {
    owned::release<utf16>({room, len, _data});
}

bool strutf16::operator==(const strutf16& other) const {
    return len == other.len && std::equal(_data, _data + len, other._data);
}

void strutf16::convert(const strutf8& text) {
    const uint32 units =
        owned::checked_length<utf16>(utf::utf16_length(text.c_str(), text.length()));
    if (units == 0) {
        clear();
        return;
    }
    owned::grow<utf16>({room, len, _data}, units);
    utf::to_utf16(text.c_str(), text.length(), _data);
    _data[units] = 0;
    len = units;
}

}  // namespace vaxo
