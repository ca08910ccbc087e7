// What an error of the playing pipeline means.
#ifndef VAXO_ENGINE_PLAYER_PLAYERROR_H
#define VAXO_ENGINE_PLAYER_PLAYERROR_H

#include <string>

namespace vaxoengine {

enum class PlayError {
    notFound,  // the media server has no such stream
    refused,   // it closed the connection when asked to play: signature, expiry or name
    other,
};

// From the text, because the server's answer is in nothing else. A server that ends at
// the very moment when it is asked looks like one that refuses.
PlayError KindOfPlayError(const std::string& text);

}  // namespace vaxoengine

#endif
