#include "engine/player/PlayError.h"

namespace vaxoengine {

PlayError KindOfPlayError(const std::string& text) {
    const auto says = [&text](const char* words) { return text.find(words) != std::string::npos; };
    if (says("stream not found")) {
        return PlayError::notFound;
    }
    if (says("play denied") || says("'play' cmd failed")) {
        return PlayError::refused;
    }
    return PlayError::other;
}

}  // namespace vaxoengine
