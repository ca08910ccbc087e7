// What vaxoformat.h says of a format, worked out apart from it: which conversions there
// are, which arguments they take, and what the C library makes of each alone.
#ifndef VAXO_FUZZ_FORMATRULE_H
#define VAXO_FUZZ_FORMATRULE_H

#include <cstddef>
#include <string>
#include <vector>

#include "fuzz/FormatCall.h"

namespace fuzz {

struct Conversion {
    std::string flags;
    std::string width, precision;  // digits, "*" or nothing
    bool hasPrecision = false;
    std::string length;
    char type = '\0';
    std::size_t begin = 0, end = 0;  // where it stands
    bool defined = false;            // C defines it; "%%" is not one of these

    std::size_t Stars() const { return (width == "*" ? 1U : 0U) + (precision == "*" ? 1U : 0U); }
};

// The conversion whose "%" is at `begin`. One that is not defined takes its stars'
// arguments all the same.
Conversion ConversionAt(const std::string& format, std::size_t begin);

// The conversions up to the first that is not defined, that one included.
std::vector<Conversion> ConversionsOf(const std::string& format);

// Width and precision once the stars' arguments are there.
struct Sizes {
    bool left = false;  // a negative width
    int width = 0;
    int precision = -1;
};
Sizes SizesOf(const Conversion& conversion, const std::vector<int>& stars);

// The text of one defined conversion.
std::string Expected(const Conversion& conversion, const Sizes& sizes, const Value& value);

}  // namespace fuzz

#endif
