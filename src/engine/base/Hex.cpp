#include "engine/base/Hex.h"

#include <cstddef>

namespace vaxoengine {

std::string ToHex(const std::string& bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string hex(2 * bytes.size(), '0');
    std::size_t at = 0;
    for (const char c : bytes) {
        const unsigned byte = static_cast<unsigned char>(c);
        hex[at++] = kDigits[byte >> 4U];
        hex[at++] = kDigits[byte & 15U];
    }
    return hex;
}

}  // namespace vaxoengine
