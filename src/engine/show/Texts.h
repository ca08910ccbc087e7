// Between the library's texts and those of the standard library. Zero bytes are kept.
#ifndef VAXO_ENGINE_SHOW_TEXTS_H
#define VAXO_ENGINE_SHOW_TEXTS_H

#include <string>

#include "vaxostream.h"

namespace vaxoengine {

inline std::string Bytes(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

inline std::string Bytes(const vaxo::stream& bytes) {
    std::string copy;
    for (uint32 i = 0; i < bytes.size(); ++i) {
        copy += static_cast<char>(bytes[i]);
    }
    return copy;
}

inline vaxo::strutf8 Text(const std::string& bytes) {
    return {bytes.data(), static_cast<uint32>(bytes.size())};
}

}  // namespace vaxoengine

#endif
