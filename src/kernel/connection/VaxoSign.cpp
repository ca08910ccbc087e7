#include "connection/VaxoSign.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "connection/VaxoSha256.h"
#include "connection/VaxoWipe.h"

namespace {

typedef std::array<std::uint8_t, VaxoSha256::kBlock> Block;

VaxoSha256::Digest Digest(const Block& pad, std::uint8_t mask, std::string_view rest) {
    Block masked = pad;
    for (std::uint8_t& byte : masked) {
        byte = static_cast<std::uint8_t>(byte ^ mask);
    }
    VaxoSha256 hash;
    hash.Update(masked.data(), masked.size());
    hash.Update(rest);
    VaxoWipe(masked.data(), masked.size());
    return hash.Finish();
}

// The key in the length that HMAC wants: hashed if longer than a block, then zeros.
Block BlockOf(const std::string& key) {
    Block block = {};
    if (key.size() > block.size()) {
        VaxoSha256 hash;
        hash.Update(key);
        VaxoSha256::Digest digest = hash.Finish();
        for (std::size_t i = 0; i < digest.size(); ++i) {
            block[i] = digest[i];
        }
        VaxoWipe(digest.data(), digest.size());
        return block;
    }
    for (std::size_t i = 0; i < key.size(); ++i) {
        block[i] = static_cast<std::uint8_t>(key[i]);
    }
    return block;
}

std::string Base64Url(const VaxoSha256::Digest& bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text;
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const std::uint8_t byte : bytes) {
        bits = (bits << 8U) | byte;
        for (count += 8; count >= 6; count -= 6) {
            text += kDigits[(bits >> (count - 6)) & 63U];
        }
    }
    if (count > 0) {
        text += kDigits[(bits << (6 - count)) & 63U];
    }
    return text;
}

std::string Signature(const VaxoSigner& signer, const std::string& action, const std::string& name,
                      long long expiry) {
    return VaxoHmac(signer.key, action + "\n" + name + "\n" + VaxoSafeName(signer.user) + "\n" +
                                    std::to_string(expiry));
}

}  // namespace

std::string VaxoHmac(const std::string& key, const std::string& message) {
    Block block = BlockOf(key);
    const VaxoSha256::Digest inner = Digest(block, 0x36, message);
    std::string innerText;
    for (const std::uint8_t byte : inner) {
        innerText += static_cast<char>(byte);
    }
    const VaxoSha256::Digest outer = Digest(block, 0x5c, innerText);
    VaxoWipe(block.data(), block.size());
    return Base64Url(outer);
}

std::string VaxoSafeName(const std::string& bytes) {
    constexpr std::string_view kSafe =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    constexpr std::string_view kHex = "0123456789abcdef";
    if (bytes.empty()) {
        return "~";
    }
    std::string name;
    for (const char byte : bytes) {
        if (kSafe.find(byte) != std::string_view::npos) {
            name += byte;
            continue;
        }
        const auto value = static_cast<std::uint8_t>(byte);
        name += '~';
        name += kHex[value / 16];
        name += kHex[value % 16];
    }
    return name;
}

std::string VaxoMediaName(unsigned int appID, const std::string& streamID) {
    return std::to_string(appID) + "_" + VaxoSafeName(streamID);
}

std::string VaxoSignQuery(const VaxoSigner& signer, const std::string& action,
                          const std::string& name, long long expiry) {
    return "id=" + std::to_string(signer.appID) + "&user=" + VaxoSafeName(signer.user) +
           "&exp=" + std::to_string(expiry) + "&sig=" + Signature(signer, action, name, expiry);
}

std::string VaxoSignToken(const VaxoSigner& signer, const std::string& action,
                          const std::string& name, long long expiry) {
    return std::to_string(signer.appID) + "." + VaxoSafeName(signer.user) + "." +
           std::to_string(expiry) + "." + Signature(signer, action, name, expiry);
}
