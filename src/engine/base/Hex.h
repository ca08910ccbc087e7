// Bytes as text.
#ifndef VAXO_ENGINE_BASE_HEX_H
#define VAXO_ENGINE_BASE_HEX_H

#include <string>

namespace vaxoengine {

// Two small digits a byte. Any thread. The text is made in one piece: of a secret there is
// no second copy left in memory that was given back.
std::string ToHex(const std::string& bytes);

}  // namespace vaxoengine

#endif
