#include "engine/filters/BeautyFilter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "engine/filters/BeautyLines.h"

namespace vaxoengine {

namespace {

constexpr int kBorder = 2;  // what blurring reads beyond a line's ends

int HalfOf(int size) {
    return (size + 1) / 2;
}

// Radii at half the size, by the picture's shorter side: 360 lines have 2, 720 have 4.
struct Radii {
    explicit Radii(const Picture& picture)
        : window(std::clamp(std::min(picture.width, picture.height) / 180, 2, 8)),
          wider(window / 2) {}
    int window;  // also of the mask
    int wider;
};

}  // namespace

void BeautyFilter::Apply(unsigned features, const Picture& picture) {
    features &= kAll;
    if (features == 0 || picture.width < 1 || picture.height < 1) {
        return;
    }
    TakeLuma(picture);
    Measure(features, picture);
    for (int y = 0; y < picture.height; ++y) {
        if (y % 2 == 0) {
            PrepareWeights(features, y / 2);
        }
        ChangeLine(features, y);
        StoreLine(picture.luma + y * picture.lumaStride, picture.width, m_luma.data());
    }
    if ((features & kWhiten) != 0) {
        for (int y = 0; y < m_mask.Height(); ++y) {
            const std::uint16_t* const mask = m_mask.Line(y);
            WhitenColourLine(picture.u + y * picture.uStride, m_mask.Width(), mask);
            WhitenColourLine(picture.v + y * picture.vStride, m_mask.Width(), mask);
        }
    }
}

// Copies the luma, of an even width and with the outermost pixels repeated, and sets the sizes.
void BeautyFilter::TakeLuma(const Picture& picture) {
    const int halfWidth = HalfOf(picture.width);
    const std::size_t width = 2 * static_cast<std::size_t>(halfWidth);
    const auto used = static_cast<std::size_t>(picture.width);
    const std::size_t stride = width + std::size_t{2} * kBorder;
    m_height = picture.height;
    m_stride = static_cast<std::ptrdiff_t>(stride);
    m_original.resize(stride * static_cast<std::size_t>(m_height));
    for (int y = 0; y < m_height; ++y) {
        const unsigned char* const from = picture.luma + y * picture.lumaStride;
        unsigned char* const to = m_original.data() + y * m_stride;
        std::memset(to, from[0], kBorder);
        std::memcpy(to + kBorder, from, used);
        std::memset(to + kBorder + used, from[used - 1], stride - kBorder - used);
    }
    m_half.Resize(halfWidth, HalfOf(m_height));
    for (int y = 0; y < m_half.Height(); ++y) {
        HalveLine(m_half.Line(y), halfWidth, Original(2 * y), Original(2 * y + 1));
    }
    m_halfWeights.resize(width / 2);
    m_halfMean.resize(width / 2 + 2);
    m_lineMean.resize(width);
    m_pull.assign(width, 0);
    m_whiten.resize(width);
    m_blurWork.resize(stride);
    m_blurred.resize(width);
    m_luma.resize(width);
}

const unsigned char* BeautyFilter::Original(int y) const {
    return m_original.data() + std::clamp(y, 0, m_height - 1) * m_stride + kBorder;
}

void BeautyFilter::Measure(unsigned features, const Picture& picture) {
    const Radii radii(picture);
    if ((features & (kSmooth | kWhiten)) != 0) {
        m_skin.Make(picture, m_half, radii.window, m_box, m_mask);
    }
    if ((features & kSmooth) != 0) {
        m_box.MeanAndContrast(m_half, radii.window, m_mean, m_contrast);
        m_box.Mean(m_mean, radii.wider, m_widerMean);
        m_box.Mean(m_contrast, radii.wider, m_widerContrast);
    }
}

// Of the two lines that share a line `y` of the colours.
void BeautyFilter::PrepareWeights(unsigned features, int y) {
    const int halfWidth = m_half.Width();
    std::int16_t* const half = m_halfWeights.data();
    if ((features & kSmooth) != 0) {
        PullWeights(half, halfWidth, m_widerContrast.Line(y), m_mask.Line(y));
        SpreadWeights(m_pull.data(), halfWidth, half);
    }
    if ((features & kWhiten) != 0) {
        WhitenWeights(half, halfWidth, m_mask.Line(y));
        SpreadWeights(m_whiten.data(), halfWidth, half);
    }
}

// From the original into m_luma.
void BeautyFilter::ChangeLine(unsigned features, int y) {
    const int halfWidth = m_half.Width();
    const int width = 2 * halfWidth;
    const unsigned char* const original = Original(y);
    LoadLine(m_luma.data(), width, original);
    if ((features & kSmooth) != 0) {
        const int neighbour = y / 2 + (y % 2 == 0 ? -1 : 1);
        std::uint16_t* const mean = m_halfMean.data() + 1;
        MixLines(mean, halfWidth, m_widerMean.Line(y / 2), m_widerMean.NearestLine(neighbour));
        mean[-1] = mean[0];
        mean[halfWidth] = mean[halfWidth - 1];
        DoubleLine(m_lineMean.data(), halfWidth, mean);
        SmoothLine(m_luma.data(), width, m_lineMean.data(), m_pull.data());
    }
    if ((features & kSharpen) != 0) {
        BlurLine(m_blurred.data(), width,
                 {Original(y - 2), Original(y - 1), original, Original(y + 1), Original(y + 2)},
                 m_blurWork.data() + kBorder);
        SharpenLine(m_luma.data(), width, original, m_blurred.data(), m_pull.data());
    }
    if ((features & kWhiten) != 0) {
        WhitenLine(m_luma.data(), width, m_whiten.data());
    }
}

}  // namespace vaxoengine
