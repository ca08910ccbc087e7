#include "vaxoutf.h"

namespace vaxo::utf {
namespace {

const uint32 replacement = 0xFFFD;

uint32 byte_at(const utf8* text, uint32 at) {
    return static_cast<uint8>(text[at]);
}

// What a lead byte promises: the bits it brings, how many bytes follow, and
// between which bounds the first of them lies. The bounds keep out overlong
// forms, surrogates and numbers past U+10FFFF.
struct sequence {
    uint32 bits;
    uint32 following;
    uint32 low;
    uint32 high;
};

// For a byte that begins no sequence, `following` is 0.
sequence sequence_of(uint32 lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return {lead & 0x1FU, 1, 0x80, 0xBF};
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return {lead & 0x0FU, 2, lead == 0xE0 ? 0xA0U : 0x80U, lead == 0xED ? 0x9FU : 0xBFU};
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return {lead & 0x07U, 3, lead == 0xF0 ? 0x90U : 0x80U, lead == 0xF4 ? 0x8FU : 0xBFU};
    }
    return {replacement, 0, 0, 0};
}

// Reads the character at `at` and moves `at` behind it, or behind the maximal
// ill-formed part.
uint32 next(const utf8* text, uint32 count, uint32& at) {
    const uint32 lead = byte_at(text, at++);
    if (lead < 0x80) {
        return lead;
    }
    sequence expected = sequence_of(lead);
    for (; expected.following != 0; --expected.following) {
        if (at == count) {
            return replacement;
        }
        const uint32 byte = byte_at(text, at);
        if (byte < expected.low || byte > expected.high) {
            return replacement;
        }
        ++at;
        expected = {expected.bits << 6U | (byte & 0x3FU), expected.following, 0x80, 0xBF};
    }
    return expected.bits;
}

uint32 next(const utf16* text, uint32 count, uint32& at) {
    const uint32 unit = text[at++];
    if (unit < 0xD800 || unit > 0xDFFF) {
        return unit;
    }
    if (unit > 0xDBFF || at == count || text[at] < 0xDC00 || text[at] > 0xDFFF) {
        return replacement;
    }
    return 0x10000 + ((unit - 0xD800) << 10U) + (text[at++] - 0xDC00U);
}

uint32 utf8_size(uint32 point) {
    if (point < 0x80) {
        return 1;
    }
    if (point < 0x800) {
        return 2;
    }
    return point < 0x10000 ? 3 : 4;
}

utf8* put(uint32 point, utf8* out) {
    const uint32 size = utf8_size(point);
    if (size == 1) {
        *out++ = static_cast<utf8>(point);
        return out;
    }
    // The lead byte begins with as many ones as the sequence has bytes.
    uint32 shift = 6 * (size - 1);
    const uint32 mark = 0xF00U >> size & 0xFFU;
    *out++ = static_cast<utf8>(mark | point >> shift);
    while (shift != 0) {
        shift -= 6;
        *out++ = static_cast<utf8>(0x80U | (point >> shift & 0x3FU));
    }
    return out;
}

utf16* put(uint32 point, utf16* out) {
    if (point < 0x10000) {
        *out++ = static_cast<utf16>(point);
        return out;
    }
    *out++ = static_cast<utf16>(0xD800U + ((point - 0x10000) >> 10U));
    *out++ = static_cast<utf16>(0xDC00U + ((point - 0x10000) & 0x3FFU));
    return out;
}

}  // namespace

uint64 utf8_length(const utf16* text, uint32 count) {
    uint64 length = 0;
    for (uint32 at = 0; at < count;) {
        length += utf8_size(next(text, count, at));
    }
    return length;
}

void to_utf8(const utf16* text, uint32 count, utf8* out) {
    for (uint32 at = 0; at < count;) {
        out = put(next(text, count, at), out);
    }
}

uint64 utf16_length(const utf8* text, uint32 count) {
    uint64 length = 0;
    for (uint32 at = 0; at < count;) {
        length += next(text, count, at) < 0x10000 ? 1U : 2U;
    }
    return length;
}

void to_utf16(const utf8* text, uint32 count, utf16* out) {
    for (uint32 at = 0; at < count;) {
        out = put(next(text, count, at), out);
    }
}

}  // namespace vaxo::utf
