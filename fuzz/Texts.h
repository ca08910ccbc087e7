// What the fuzzers of strutf8, strutf16 and stream share: arguments in buffers of their
// exact size, the library's texts as the standard library's, and the conversion between
// UTF-8 and UTF-16 worked out in another way.
#ifndef VAXO_FUZZ_TEXTS_H
#define VAXO_FUZZ_TEXTS_H

#include <cstddef>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "vaxostream.h"

namespace fuzz {

typedef std::vector<utf16> Units;

// A null, empty or other text as an argument. Nothing lies behind its bytes, so that
// whoever reads on is seen.
class Argument {
public:
    Argument(Input& in, std::size_t longest);
    explicit Argument(const std::string& bytes);

    // Without a terminator; to be given with Size().
    const utf8* Bytes() const { return m_null ? nullptr : m_bytes.data(); }
    const uint8* Octets() const { return m_null ? nullptr : m_octets.data(); }
    uint32 Size() const { return static_cast<uint32>(m_text.size()); }
    // With one; the text ends at its first zero.
    const utf8* Terminated() const { return m_null ? nullptr : m_terminated.data(); }

    // What either stands for.
    const std::string& Whole() const { return m_text; }
    std::string UpToZero() const { return m_text.c_str(); }

private:
    void Fill();

    bool m_null = false;
    std::string m_text;
    std::vector<utf8> m_bytes, m_terminated;
    std::vector<uint8> m_octets;
};

// At most `longest` units; surrogates are frequent.
Units UnitsFrom(Input& in, std::size_t longest);

// The content; its terminator is required on the way.
std::string Content(const vaxo::strutf8& text);
Units Content(const vaxo::strutf16& text);
std::string Content(const vaxo::stream& bytes);

// The conversions as their rule says: U+FFFD for each maximal part that begins a
// well-formed sequence, and for each surrogate without its partner.
Units Utf16Of(const std::string& text);
std::string Utf8Of(const Units& units);

}  // namespace fuzz

#endif
