// The addresses of streams at the media server, and their signatures.
//
// Only addresses of the application's own media server are signed: a record of the channel
// comes from another member, and whoever writes one must not collect signatures with it.
// Pure functions, any thread.
#ifndef VAXO_ENGINE_SHOW_ADDRESSES_H
#define VAXO_ENGINE_SHOW_ADDRESSES_H

#include <string>

#include "connection/VaxoSign.h"

namespace vaxoengine {

struct MediaServer {
    std::string mediaURL;   // rtmp://host[:port]/application
    std::string uploadURL;  // its origin serves HLS as well: http://host[:port]/...
};

// Signatures are good for this long; a connection that has begun outlives them.
constexpr long long kSignatureSeconds = 300;
// The media server cannot hold longer names: of a stream, and of a stream with its signature,
// in which the user's name stands.
constexpr std::size_t kMaxMediaName = 180;
constexpr std::size_t kMaxSignedName = 255;

// Unsigned. Empty when the setting is.
std::string RtmpAddress(const MediaServer& server, unsigned appID, const std::string& streamID);
std::string HlsAddress(const MediaServer& server, unsigned appID, const std::string& streamID);

// With a signature for `action` ("publish" or "play") until `now` + kSignatureSeconds
// (seconds since 1970). An address of another server comes back as it is.
std::string SignRtmp(const MediaServer& server, const std::string& address,
                     const VaxoSigner& signer, const std::string& action, long long now);
// Where the server says why it refuses that action with that signed address (of SignRtmp);
// empty for addresses that it would not have to know.
std::string WhyAddress(const MediaServer& server, const std::string& action,
                       const std::string& signedAddress);
std::string SignHls(const MediaServer& server, const std::string& address, const VaxoSigner& signer,
                    long long now);

}  // namespace vaxoengine

#endif
