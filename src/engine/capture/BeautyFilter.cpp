#include "engine/capture/BeautyFilter.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vaxoengine {

namespace {

constexpr int kMaxStrength = 100;
constexpr int kMaxRadius = 24;  // 49 x 49 squares of 255 fit into 32 bits
constexpr float kElsewhere = 0.33F;

std::size_t At(int index) {
    return static_cast<std::size_t>(index);
}

// 1 inside the range of skin, 0 a little way outside.
std::array<float, 256> SkinTable(int low, int high) {
    constexpr float kSoft = 10;
    std::array<float, 256> table{};
    for (int i = 0; i < 256; ++i) {
        const int outside = std::max({low - i, i - high, 0});
        table[At(i)] = std::max(0.0F, 1.0F - static_cast<float>(outside) / kSoft);
    }
    return table;
}

float SkinWeight(unsigned char u, unsigned char v) {
    static const std::array<float, 256> tableU = SkinTable(85, 122);
    static const std::array<float, 256> tableV = SkinTable(136, 170);
    return kElsewhere + (1 - kElsewhere) * tableU[u] * tableV[v];
}

// Adds one line to the sums of the columns, and takes another away.
void MoveDown(std::vector<std::uint32_t>& sums, std::vector<std::uint32_t>& squares,
              const unsigned char* enters, const unsigned char* leaves, int width) {
    for (int x = 0; x < width; ++x) {
        const std::uint32_t in = enters[x];
        const std::uint32_t out = leaves[x];
        sums[At(x)] += in - out;
        squares[At(x)] += in * in - out * out;
    }
}

// The mean of the columns' sums over 2 * radius + 1 columns; the outermost ones count
// again beyond the edge.
void MeanAlongLine(const std::vector<std::uint32_t>& columns, int radius,
                   std::vector<float>& means) {
    const int last = static_cast<int>(columns.size()) - 1;
    const int side = 2 * radius + 1;
    const float scale = 1.0F / static_cast<float>(side * side);
    std::uint32_t sum = 0;
    for (int x = -radius; x <= radius; ++x) {
        sum += columns[At(std::clamp(x, 0, last))];
    }
    for (int x = 0; x <= last; ++x) {
        means[At(x)] = static_cast<float>(sum) * scale;
        sum += columns[At(std::min(x + radius + 1, last))];
        sum -= columns[At(std::max(x - radius, 0))];
    }
}

constexpr float kHalf = 0.5F;

}  // namespace

void BeautyFilter::SmoothLine(const Picture& picture, int y, int radius, float tolerance,
                              float strength) {
    MeanAlongLine(m_sums, radius, m_means);
    MeanAlongLine(m_squares, radius, m_meanSquares);
    unsigned char* const line = picture.luma + y * picture.lumaStride;
    const unsigned char* const u = picture.u + y / 2 * picture.uStride;
    const unsigned char* const v = picture.v + y / 2 * picture.vStride;
    for (int x = 0; x < picture.width; ++x) {
        const float mean = m_means[At(x)];
        const float variance = std::max(0.0F, m_meanSquares[At(x)] - mean * mean);
        const float pull =
            strength * SkinWeight(u[x / 2], v[x / 2]) * tolerance / (variance + tolerance);
        const auto old = static_cast<float>(line[x]);
        // Never negative, so that cutting rounds.
        line[x] = static_cast<unsigned char>(kHalf + old + (mean - old) * pull);
    }
}

void BeautyFilter::Apply(int strength, const Picture& picture) {
    if (strength <= 0 || picture.width < 1 || picture.height < 1) {
        return;
    }
    const float share = static_cast<float>(std::min(strength, kMaxStrength)) / kMaxStrength;
    const int radius = std::clamp(picture.width / 80, 2, kMaxRadius);
    // The variance at which half of the effect is left.
    const float tolerance = 30 + 270 * share;

    const int width = picture.width;
    const int height = picture.height;
    m_original.resize(At(width) * At(height));
    for (int y = 0; y < height; ++y) {
        std::memcpy(&m_original[At(y) * At(width)], picture.luma + y * picture.lumaStride,
                    At(width));
    }
    const auto original = [&](int y) {
        return &m_original[At(std::clamp(y, 0, height - 1)) * At(width)];
    };
    m_sums.assign(At(width), 0);
    m_squares.assign(At(width), 0);
    m_means.resize(At(width));
    m_meanSquares.resize(At(width));
    const std::vector<unsigned char> nothing(At(width), 0);
    for (int y = -radius; y <= radius; ++y) {
        MoveDown(m_sums, m_squares, original(y), nothing.data(), width);
    }
    for (int y = 0; y < height; ++y) {
        SmoothLine(picture, y, radius, tolerance, share);
        MoveDown(m_sums, m_squares, original(y + radius + 1), original(y - radius), width);
    }
}

}  // namespace vaxoengine
