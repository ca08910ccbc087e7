#include "fuzz/Texts.h"

#include <algorithm>

#include "fuzz/Steps.h"

namespace fuzz {

Argument::Argument(Input& in, std::size_t longest) : m_text(in.Text(longest)) {
    m_null = m_text.empty() && in.Flag();
    Fill();
}

Argument::Argument(const std::string& bytes) : m_text(bytes) {
    Fill();
}

void Argument::Fill() {
    m_bytes.assign(m_text.begin(), m_text.end());
    m_octets.assign(m_text.begin(), m_text.end());
    m_terminated = m_bytes;
    m_terminated.push_back('\0');
    m_bytes.shrink_to_fit();
    m_octets.shrink_to_fit();
    m_terminated.shrink_to_fit();
}

Units UnitsFrom(Input& in, std::size_t longest) {
    Units units;
    for (unsigned left = in.Below(longest + 1); left != 0 && !in.AtEnd(); --left) {
        const unsigned choice = in.Byte();
        const unsigned low = in.Byte();
        // The edges of what takes one, two or three bytes, and of the surrogates.
        const unsigned base[] = {0, 0x0700, 0xD700, 0xD800, 0xDB00, 0xDC00, 0xDF00, 0xFF00};
        units.push_back(static_cast<utf16>(base[choice % 8] + low));
    }
    units.shrink_to_fit();
    return units;
}

std::string Content(const vaxo::strutf8& text) {
    Require(text.length() == text.size() && text.c_str() == text.data(), "length or data");
    if (text.c_str() == nullptr) {
        Require(text.length() == 0, "a text without a buffer");
        return {};
    }
    Require(text.c_str()[text.length()] == '\0', "the terminator");
    return {text.c_str(), text.length()};
}

Units Content(const vaxo::strutf16& text) {
    Require(text.length() == text.size(), "length");
    if (text.c_str() == nullptr) {
        Require(text.length() == 0, "a text without a buffer");
        return {};
    }
    Require(text.c_str()[text.length()] == 0, "the terminator");
    return {text.c_str(), text.c_str() + text.length()};
}

std::string Content(const vaxo::stream& bytes) {
    std::string all;
    for (uint32 i = 0; i < bytes.size(); ++i) {
        all += static_cast<char>(bytes.at(i));
    }
    return all;
}

// ---- Conversions -----------------------------------------------------------------

namespace {

const unsigned kReplacement = 0xFFFD;

unsigned ByteAt(const std::string& text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// How many bytes a sequence has that begins so; 0 for what begins none.
unsigned LengthOf(unsigned lead) {
    return lead < 0x80   ? 1
           : lead < 0xC0 ? 0
           : lead < 0xE0 ? 2
           : lead < 0xF0 ? 3
           : lead < 0xF8 ? 4
                         : 0;
}

// Whether one of the numbers from `first` to `last` is a character that takes `length`
// bytes.
bool HoldsCharacter(unsigned first, unsigned last, unsigned length) {
    const unsigned lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const unsigned highest[] = {0, 0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
    first = std::max(first, lowest[length]);
    last = std::min(last, highest[length]);
    return first <= last && (first < 0xD800 || last > 0xDFFF);
}

// The character at `at`, or the replacement for the longest part there that could have
// become one; moves `at` behind it. Every byte so far leaves a range of numbers open.
unsigned TakeCharacter(const std::string& text, std::size_t& at) {
    const unsigned length = LengthOf(ByteAt(text, at));
    if (length <= 1) {
        return length == 0 ? (++at, kReplacement) : ByteAt(text, at++);
    }
    unsigned bits = ByteAt(text, at) & (0x7FU >> length);
    unsigned open = 6 * (length - 1);
    unsigned taken = 1;
    bool possible = HoldsCharacter(bits << open, ((bits + 1) << open) - 1, length);
    while (possible && taken < length && at + taken < text.size()) {
        const unsigned byte = ByteAt(text, at + taken);
        const unsigned more = bits << 6U | (byte & 0x3FU);
        possible = byte >> 6U == 2 &&
                   HoldsCharacter(more << (open - 6), ((more + 1) << (open - 6)) - 1, length);
        if (possible) {
            bits = more;
            open -= 6;
            ++taken;
        }
    }
    at += taken;
    return taken == length ? bits : kReplacement;
}

void PutCharacter(unsigned point, std::string& text) {
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += {static_cast<char>(0xC0 + point / 64), static_cast<char>(0x80 + point % 64)};
    } else if (point < 0x10000) {
        text += {static_cast<char>(0xE0 + point / 4096), static_cast<char>(0x80 + point / 64 % 64),
                 static_cast<char>(0x80 + point % 64)};
    } else {
        text +=
            {static_cast<char>(0xF0 + point / 262144), static_cast<char>(0x80 + point / 4096 % 64),
             static_cast<char>(0x80 + point / 64 % 64), static_cast<char>(0x80 + point % 64)};
    }
}

}  // namespace

Units Utf16Of(const std::string& text) {
    Units units;
    for (std::size_t at = 0; at < text.size();) {
        const unsigned point = TakeCharacter(text, at);
        if (point >= 0x10000) {
            units.push_back(static_cast<utf16>(0xD800 + (point - 0x10000) / 1024));
            units.push_back(static_cast<utf16>(0xDC00 + (point - 0x10000) % 1024));
        } else {
            units.push_back(static_cast<utf16>(point));
        }
    }
    return units;
}

std::string Utf8Of(const Units& units) {
    std::string text;
    for (std::size_t at = 0; at < units.size(); ++at) {
        const unsigned unit = units[at];
        const unsigned next = at + 1 < units.size() ? units[at + 1] : 0U;
        if (unit / 1024 == 0xD800 / 1024 && next / 1024 == 0xDC00 / 1024) {
            PutCharacter(0x10000 + unit % 1024 * 1024 + next % 1024, text);
            ++at;
        } else {
            PutCharacter(unit / 2048 == 0xD800 / 2048 ? kReplacement : unit, text);
        }
    }
    return text;
}

}  // namespace fuzz
