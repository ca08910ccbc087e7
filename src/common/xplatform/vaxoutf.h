// Conversion between UTF-8 and UTF-16. Internal; not installed.
//
// Every input has a result: what is ill-formed becomes U+FFFD. In UTF-8 one
// U+FFFD stands for each maximal part that begins a well-formed sequence, else
// for a single byte; in UTF-16 for each surrogate without its partner. Zero units
// are ordinary characters. Nothing is read past `count` units.
//
// First ask for the length, then convert into a buffer of that length; no
// terminator is written. Thread-safe. `text` may be null when `count` is 0.
#ifndef VAXO_VAXOUTF_H
#define VAXO_VAXOUTF_H

#include "vaxotypes.h"

namespace vaxo::utf {

// Lengths are 64 bits wide: three bytes for one unit can pass what a uint32 holds.
uint64 utf8_length(const utf16* text, uint32 count);
void to_utf8(const utf16* text, uint32 count, utf8* out);

uint64 utf16_length(const utf8* text, uint32 count);
void to_utf16(const utf8* text, uint32 count, utf16* out);

}  // namespace vaxo::utf

#endif
