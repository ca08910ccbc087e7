#include "engine/source/ClockStamp.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace vaxoengine {

namespace {

constexpr int kSquares = 40;
constexpr int kMinWidth = 160;
constexpr unsigned char kBlackLuma = 16;
constexpr unsigned char kWhiteLuma = 235;
// Brightness between the darkest and the lightest square below which there is no stamp.
constexpr int kMinContrast = 48;

bool HasRoom(int width, int height) {
    return width >= kMinWidth && height >= width / kSquares;
}

// Where square n begins; in 64 bits, so that no width overflows.
int Edge(int n, int width) {
    return static_cast<int>(static_cast<std::int64_t>(n) * width / kSquares);
}

std::uint64_t Bits(std::uint32_t millis) {
    const std::uint32_t sum =
        (millis >> 24) + ((millis >> 16) & 0xFF) + ((millis >> 8) & 0xFF) + (millis & 0xFF);
    return (static_cast<std::uint64_t>(millis) << 8) | (sum & 0xFF);
}

// Mean brightness of the middle of a square: its edges are mixed with its neighbours.
int SquareBrightness(const unsigned char* pixels, int n, int width, int stride, int step) {
    const int side = width / kSquares;
    const int margin = side / 4;
    const int left = Edge(n, width) + margin;
    const int right = Edge(n + 1, width) - margin;
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (int y = margin; y < side - margin; y++) {
        const unsigned char* const row = pixels + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = left; x < right; x++) {
            sum += row[static_cast<std::ptrdiff_t>(x) * step];
            count++;
        }
    }
    // A picture that has room always has a middle; a caller with none gets black.
    return count == 0 ? 0 : static_cast<int>(sum / count);
}

}  // namespace

void DrawClockStamp(unsigned char* luma, int width, int height, int stride, std::uint32_t millis) {
    if (!HasRoom(width, height)) {
        return;
    }
    const std::uint64_t bits = Bits(std::max<std::uint32_t>(millis, 1));
    const int side = width / kSquares;
    for (int n = 0; n < kSquares; n++) {
        const bool one = ((bits >> (kSquares - 1 - n)) & 1) != 0;
        const int left = Edge(n, width);
        const int right = Edge(n + 1, width);
        for (int y = 0; y < side; y++) {
            std::memset(luma + static_cast<std::ptrdiff_t>(y) * stride + left,
                        one ? kWhiteLuma : kBlackLuma, static_cast<std::size_t>(right - left));
        }
    }
}

bool ReadClockStamp(const unsigned char* pixels, int width, int height, int stride, int step,
                    std::uint32_t& millis) {
    if (!HasRoom(width, height)) {
        return false;
    }
    std::array<int, kSquares> squares{};
    for (int n = 0; n < kSquares; n++) {
        squares[static_cast<std::size_t>(n)] = SquareBrightness(pixels, n, width, stride, step);
    }
    const auto [darkest, lightest] = std::minmax_element(squares.begin(), squares.end());
    const int contrast = *lightest - *darkest;
    const int middle = *darkest + contrast / 2;
    if (contrast < kMinContrast) {
        return false;
    }
    std::uint64_t bits = 0;
    for (const int square : squares) {
        // A grey square is neither: something lies over the stamp.
        if (std::abs(square - middle) < contrast / 8) {
            return false;
        }
        bits = (bits << 1) | (square > middle ? 1U : 0U);
    }
    const auto read = static_cast<std::uint32_t>(bits >> 8);
    if (Bits(read) != bits) {
        return false;
    }
    millis = read;
    return true;
}

}  // namespace vaxoengine
