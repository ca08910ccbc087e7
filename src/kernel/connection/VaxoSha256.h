// SHA-256, one message an object.
//
// Not for secrets against an attacker who measures this process' caches; constant in time
// for messages of one length. Not thread-safe. The standard library alone.
#ifndef VAXO_VAXOSHA256_H
#define VAXO_VAXOSHA256_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

class VaxoSha256 {
public:
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kDigest = 32;
    typedef std::array<std::uint8_t, kDigest> Digest;

    VaxoSha256() = default;
    ~VaxoSha256();  // leaves nothing of the message in memory
    VaxoSha256(const VaxoSha256&) = delete;
    VaxoSha256& operator=(const VaxoSha256&) = delete;

    // Appends to the message.
    void Update(std::string_view bytes);
    void Update(const std::uint8_t* bytes, std::size_t size);

    // Ends the message. Once, as the last call.
    Digest Finish();

private:
    void Append(std::uint8_t byte);
    void Compress();

    std::array<std::uint32_t, 8> m_state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<std::uint8_t, kBlock> m_block = {};
    std::uint64_t m_length = 0;  // bytes so far
};

#endif
