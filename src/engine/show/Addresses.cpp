#include "engine/show/Addresses.h"

namespace vaxoengine {

namespace {

constexpr const char* kPlaylist = "/index.m3u8";

std::string WithoutSlashAtEnd(std::string text) {
    while (!text.empty() && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

// "http://host:port" of an address; empty when it has none.
std::string OriginOf(const std::string& address) {
    const std::size_t scheme = address.find("://");
    if (scheme == std::string::npos) {
        return {};
    }
    return address.substr(0, address.find_first_of("/?#", scheme + 3));
}

// What stands between a beginning and an end; empty when the text is not made like that.
std::string Between(const std::string& text, const std::string& front, const std::string& back) {
    const std::size_t fixed = front.size() + back.size();
    if (front.empty() || text.size() <= fixed || text.compare(0, front.size(), front) != 0 ||
        text.compare(text.size() - back.size(), back.size(), back) != 0) {
        return {};
    }
    return text.substr(front.size(), text.size() - fixed);
}

std::string RtmpFront(const MediaServer& server) {
    const std::string url = WithoutSlashAtEnd(server.mediaURL);
    return url.empty() ? url : url + "/";
}

std::string HlsFront(const MediaServer& server) {
    const std::string origin = OriginOf(server.uploadURL);
    return origin.empty() ? origin : origin + "/hls/";
}

bool IsName(const std::string& text) {
    return !text.empty() && text.find_first_of("/?#") == std::string::npos;
}

}  // namespace

std::string RtmpAddress(const MediaServer& server, unsigned appID, const std::string& streamID) {
    const std::string front = RtmpFront(server);
    return front.empty() ? front : front + VaxoMediaName(appID, streamID);
}

std::string HlsAddress(const MediaServer& server, unsigned appID, const std::string& streamID) {
    const std::string front = HlsFront(server);
    return front.empty() ? front : front + VaxoMediaName(appID, streamID) + kPlaylist;
}

std::string SignRtmp(const MediaServer& server, const std::string& address,
                     const VaxoSigner& signer, const std::string& action, long long now) {
    const std::string name = Between(address, RtmpFront(server), "");
    if (!IsName(name)) {
        return address;
    }
    return address + "?" + VaxoSignQuery(signer, action, name, now + kSignatureSeconds);
}

std::string WhyAddress(const MediaServer& server, const std::string& action,
                       const std::string& signedAddress) {
    const std::size_t mark = signedAddress.find('?');
    const std::string name = Between(signedAddress.substr(0, mark), RtmpFront(server), "");
    const std::string origin = OriginOf(server.uploadURL);
    if (mark == std::string::npos || !IsName(name) || origin.empty()) {
        return {};
    }
    return origin + "/why?action=" + action + "&name=" + name + "&" +
           signedAddress.substr(mark + 1);
}

std::string SignHls(const MediaServer& server, const std::string& address, const VaxoSigner& signer,
                    long long now) {
    const std::string front = HlsFront(server);
    const std::string name = Between(address, front, kPlaylist);
    if (!IsName(name)) {
        return address;
    }
    return front + VaxoSignToken(signer, "play", name, now + kSignatureSeconds) + "/" + name +
           kPlaylist;
}

}  // namespace vaxoengine
