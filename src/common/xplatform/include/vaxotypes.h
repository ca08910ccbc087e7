// Scalar names used by every other header of the library.
//
// The names are global on purpose: they are part of the public interface and
// appear in every signature. `uint64` is `unsigned long long` so that it can be
// printed with "%llu" on every platform.
#ifndef VAXO_VAXOTYPES_H
#define VAXO_VAXOTYPES_H

#include <climits>

typedef char utf8;                  // a byte of a UTF-8 text
typedef unsigned short utf16;       // a unit of a UTF-16 text
typedef unsigned char uint8;        // an octet
typedef unsigned int uint32;        // 32 bits
typedef int int32;                  // 32 bits, signed
typedef unsigned long long uint64;  // 64 bits, "%llu"
typedef long long int64;            // 64 bits, signed, "%lld"
typedef unsigned char boolean;      // a truth value: 0 is false, anything else true

static_assert(CHAR_BIT == 8, "a byte buffer holds octets");
static_assert(sizeof(utf16) == 2 && sizeof(uint32) == 4 && sizeof(uint64) == 8,
              "the scalar names promise their widths");

// Marks what a shared build exports; everything else is hidden by the compiler
// flag. A macro because an attribute cannot be given another name.
#if defined(__GNUC__)
#define VAXO_API __attribute__((visibility("default")))
#else
#define VAXO_API
#endif

// Lets the compiler check arguments against a printf-style format: the positions of
// the format and of its first argument, `this` counted. A macro because not every
// compiler has the attribute. (A parameter named format would replace its name.)
#if defined(__GNUC__)
#define VAXO_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define VAXO_PRINTF_FORMAT(text, first)
#endif

#endif
