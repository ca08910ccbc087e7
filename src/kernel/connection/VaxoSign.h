// Signatures of the addresses that the media and upload servers check.
//
// A signature is HMAC-SHA256, keyed with the application's sign key (its bytes), over the
// four lines
//     action \n name \n user \n expiry
// without a line feed behind the last, written in base64url without padding. In an address:
//     ?id=<application identifier>&user=<safe user>&exp=<expiry>&sig=<signature>
// expiry: seconds since 1970, decimal. user: as VaxoSafeName writes it, in address and
// message alike. Actions and names:
//     "publish", "play"  name: the stream's name at the media server, VaxoMediaName
//     "upload"           name: the path of the upload address, from its first "/" on
// An HLS address carries the same "play" signature in its path, so that the files a
// playlist names inherit it:
//     /hls/<id>.<safe user>.<expiry>.<signature>/<name>/index.m3u8
//
// Pure functions, any thread. The standard library alone.
#ifndef VAXO_VAXOSIGN_H
#define VAXO_VAXOSIGN_H

#include <string>

// HMAC-SHA256 in base64url without padding.
std::string VaxoHmac(const std::string& key, const std::string& message);

// Bytes as a name that addresses, paths and topics can hold: letters, digits, "-" and "_"
// stay, every other byte becomes "~" and two lower-case hexadecimal digits; the empty text
// becomes "~". Two texts never have the same safe name.
std::string VaxoSafeName(const std::string& bytes);

// The media server's name of a stream: "<application identifier>_<safe stream>".
std::string VaxoMediaName(unsigned int appID, const std::string& streamID);

struct VaxoSigner {
    unsigned int appID = 0;
    std::string key;   // the sign key's bytes
    std::string user;  // as it is, not yet safe
};

// "id=...&user=...&exp=...&sig=..."; `expiry`: seconds since 1970.
std::string VaxoSignQuery(const VaxoSigner& signer, const std::string& action,
                          const std::string& name, long long expiry);
// "<id>.<safe user>.<expiry>.<signature>"
std::string VaxoSignToken(const VaxoSigner& signer, const std::string& action,
                          const std::string& name, long long expiry);

#endif
