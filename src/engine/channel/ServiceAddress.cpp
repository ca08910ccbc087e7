#include "engine/channel/ServiceAddress.h"

#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>

namespace vaxoengine {

namespace {

constexpr std::size_t kAddresses = 4;
constexpr std::size_t kHostBytes = 253;

bool TakePrefix(std::string* text, const std::string& prefix) {
    if (text->compare(0, prefix.size(), prefix) != 0) {
        return false;
    }
    text->erase(0, prefix.size());
    return true;
}

bool IsHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
}

// 0: not a port.
int ParsePort(const std::string& text) {
    const bool digits =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (text.empty() || text.size() > 5 || !digits) {
        return 0;
    }
    int port = 0;
    for (const char c : text) {
        port = port * 10 + (c - '0');
    }
    return port <= 65535 ? port : 0;
}

// Splits "host:port" and "[host]:port". False: neither.
bool Split(const std::string& text, std::string* host, std::string* behind) {
    if (!text.empty() && text[0] == '[') {
        const std::size_t end = text.find(']');
        if (end == std::string::npos) {
            return false;
        }
        *host = text.substr(1, end - 1);
        *behind = text.substr(end + 1);
        return std::all_of(host->begin(), host->end(),
                           [](char c) { return IsHostCharacter(c) || c == ':' || c == '%'; });
    }
    const std::size_t colon = std::min(text.find(':'), text.size());
    *host = text.substr(0, colon);
    *behind = text.substr(colon);
    return std::all_of(host->begin(), host->end(), IsHostCharacter);
}

}  // namespace

std::optional<ServiceAddress> ParseServiceAddress(const std::string& url) {
    std::string rest = url;
    ServiceAddress address;
    if (TakePrefix(&rest, "mqtts://")) {
        address.tls = true;
        address.port = 8883;
    } else if (TakePrefix(&rest, "mqtt://")) {
        address.port = 1883;
    } else {
        return std::nullopt;
    }
    if (!rest.empty() && rest.back() == '/') {
        rest.pop_back();
    }
    std::string port;
    if (!Split(rest, &address.host, &port) || address.host.empty() ||
        address.host.size() > kHostBytes) {
        return std::nullopt;
    }
    if (!port.empty()) {
        address.port = port[0] == ':' ? ParsePort(port.substr(1)) : 0;
    }
    return address.port != 0 ? std::optional<ServiceAddress>(address) : std::nullopt;
}

std::vector<std::string> ResolveHost(const std::string& host) {
    std::vector<std::string> addresses;
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) {
        return addresses;
    }
    for (const addrinfo* entry = list; entry != nullptr && addresses.size() < kAddresses;
         entry = entry->ai_next) {
        char text[NI_MAXHOST] = "";
        if (getnameinfo(entry->ai_addr, entry->ai_addrlen, text, sizeof text, nullptr, 0,
                        NI_NUMERICHOST) == 0) {
            addresses.emplace_back(text);
        }
    }
    freeaddrinfo(list);
    return addresses;
}

}  // namespace vaxoengine
