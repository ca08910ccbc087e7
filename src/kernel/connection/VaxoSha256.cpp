// As FIPS 180-4 writes it; the names of the functions and variables are its own.
#include "connection/VaxoSha256.h"

#include "connection/VaxoWipe.h"

namespace {

constexpr std::size_t kRounds = 64;

constexpr std::array<std::uint32_t, kRounds> kConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t RotR(std::uint32_t x, unsigned n) {
    return (x >> n) | (x << (32U - n));
}

typedef std::array<std::uint32_t, kRounds> Schedule;

Schedule Expand(const std::array<std::uint8_t, VaxoSha256::kBlock>& block) {
    Schedule w = {};
    for (std::size_t t = 0; t < 16; ++t) {
        w[t] = (std::uint32_t{block[4 * t]} << 24U) | (std::uint32_t{block[4 * t + 1]} << 16U) |
               (std::uint32_t{block[4 * t + 2]} << 8U) | std::uint32_t{block[4 * t + 3]};
    }
    for (std::size_t t = 16; t < kRounds; ++t) {
        const std::uint32_t s0 = RotR(w[t - 15], 7) ^ RotR(w[t - 15], 18) ^ (w[t - 15] >> 3U);
        const std::uint32_t s1 = RotR(w[t - 2], 17) ^ RotR(w[t - 2], 19) ^ (w[t - 2] >> 10U);
        w[t] = s1 + w[t - 7] + s0 + w[t - 16];
    }
    return w;
}

}  // namespace

VaxoSha256::~VaxoSha256() {
    VaxoWipe(m_block.data(), m_block.size());
    VaxoWipe(m_state.data(), sizeof(m_state));
}

void VaxoSha256::Compress() {
    Schedule w = Expand(m_block);
    auto [a, b, c, d, e, f, g, h] = m_state;
    for (std::size_t t = 0; t < kRounds; ++t) {
        const std::uint32_t sum1 = RotR(e, 6) ^ RotR(e, 11) ^ RotR(e, 25);
        const std::uint32_t choice = (e & f) ^ (~e & g);
        const std::uint32_t t1 = h + sum1 + choice + kConstants[t] + w[t];
        const std::uint32_t sum0 = RotR(a, 2) ^ RotR(a, 13) ^ RotR(a, 22);
        const std::uint32_t majority = (a & b) ^ (a & c) ^ (b & c);
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + sum0 + majority;
    }
    const std::array<std::uint32_t, 8> result = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < m_state.size(); ++i) {
        m_state[i] += result[i];
    }
    VaxoWipe(w.data(), sizeof(w));
}

void VaxoSha256::Append(std::uint8_t byte) {
    m_block[m_length % kBlock] = byte;
    ++m_length;
    if (m_length % kBlock == 0) {
        Compress();
    }
}

void VaxoSha256::Update(std::string_view bytes) {
    for (const char byte : bytes) {
        Append(static_cast<std::uint8_t>(byte));
    }
}

void VaxoSha256::Update(const std::uint8_t* bytes, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        Append(bytes[i]);
    }
}

VaxoSha256::Digest VaxoSha256::Finish() {
    const std::uint64_t bits = m_length * 8;
    Append(0x80);
    while (m_length % kBlock != kBlock - sizeof(bits)) {
        Append(0);
    }
    for (unsigned shift = 64; shift > 0; shift -= 8) {
        Append(static_cast<std::uint8_t>(bits >> (shift - 8)));
    }
    Digest digest = {};
    for (std::size_t i = 0; i < kDigest; ++i) {
        digest[i] = static_cast<std::uint8_t>(m_state[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}
