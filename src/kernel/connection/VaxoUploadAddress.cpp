#include "connection/VaxoUploadAddress.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "connection/VaxoSign.h"

namespace {

constexpr std::size_t kMaxAddress = 2048;

// Behind the scheme: the host and the path; npos when the scheme is another.
std::size_t BehindScheme(const std::string& base) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (base.compare(0, scheme.size(), scheme) == 0) {
            return scheme.size();
        }
    }
    return std::string::npos;
}

bool IsPlain(const std::string& address) {
    constexpr std::string_view kRefused = "?#@\"<>\\^`{|}";
    return std::all_of(address.begin(), address.end(), [kRefused](char c) {
        return c > ' ' && c <= '~' && kRefused.find(c) == std::string_view::npos;
    });
}

std::string PercentEncoded(std::string_view name) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string encoded;
    for (const char byte : name) {
        if (kPlain.find(byte) != std::string_view::npos) {
            encoded += byte;
            continue;
        }
        const auto value = static_cast<std::uint8_t>(byte);
        encoded += '%';
        encoded += kHex[value / 16];
        encoded += kHex[value % 16];
    }
    return encoded;
}

}  // namespace

VaxoUploadAddress VaxoAddressOfUpload(const std::string& base, unsigned int appID,
                                      const std::string& user, const std::string& file) {
    const std::size_t host = BehindScheme(base);
    if (host == std::string::npos || base.size() > kMaxAddress || !IsPlain(base)) {
        return {};
    }
    const std::size_t behindSlashes = base.find_last_not_of('/');
    const std::string name = file.substr(file.find_last_of('/') + 1);  // npos + 1 is 0
    if (behindSlashes < host || base[host] == '/' || name.empty() || name == "." || name == "..") {
        return {};
    }
    VaxoUploadAddress whole;
    whole.address = base.substr(0, behindSlashes + 1) + "/" + std::to_string(appID) + "/" +
                    VaxoSafeName(user) + "/" + PercentEncoded(name);
    if (whole.address.size() > kMaxAddress) {
        return {};
    }
    whole.path = whole.address.substr(whole.address.find('/', host));
    return whole;
}
