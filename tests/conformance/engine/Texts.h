// What the kit's files share: the environment of the program, and texts.
#ifndef VAXO_TESTS_CONFORMANCE_TEXTS_H
#define VAXO_TESTS_CONFORMANCE_TEXTS_H

#include <string>

#include "conformance/engine/Environment.h"

namespace conformance {

Environment& Env();

inline vaxo::strutf8 Utf8(const std::string& text) {
    return {text.data(), static_cast<uint32>(text.size())};
}

inline std::string Bytes(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

}  // namespace conformance

#endif
