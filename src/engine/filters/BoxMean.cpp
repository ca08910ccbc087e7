#include "engine/filters/BoxMean.h"

#include <algorithm>
#include <cstddef>

namespace vaxoengine {

namespace {

// What a sample adds to a sum. Squares are those of 16-bit numbers with a sign: these have a
// vector instruction on every processor.
struct Itself {
    static std::int32_t Of(std::uint16_t sample) { return sample; }
};
struct Squared {
    static std::int32_t Of(std::uint16_t sample) {
        const auto number = static_cast<std::int16_t>(sample);
        return number * number;
    }
};

template <class Term>
void AddLine(const std::uint16_t* line, int width, std::int32_t* columns) {
    for (int x = 0; x < width; ++x) {
        columns[x] += Term::Of(line[x]);
    }
}

template <class Term>
void MoveDown(const SamplePlane& in, int y, int radius, std::int32_t* columns) {
    const std::uint16_t* const enters = in.NearestLine(y + radius + 1);
    const std::uint16_t* const leaves = in.NearestLine(y - radius);
    const int width = in.Width();
    for (int x = 0; x < width; ++x) {
        columns[x] += Term::Of(enters[x]) - Term::Of(leaves[x]);
    }
}

void SumAlong(std::vector<std::int32_t>& padded, int radius, std::vector<std::int32_t>& sums) {
    const auto width = static_cast<std::ptrdiff_t>(sums.size());
    std::int32_t* const columns = padded.data();
    std::fill_n(columns, radius, columns[radius]);
    std::fill_n(columns + radius + width, radius + 1, columns[radius + width - 1]);
    const int side = 2 * radius + 1;
    std::int32_t sum = 0;
    for (int x = 0; x < side; ++x) {
        sum += columns[x];
    }
    std::int32_t* const out = sums.data();
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        out[x] = sum;
        sum += columns[x + side] - columns[x];
    }
}

float ShareOfOne(int radius) {
    const int side = 2 * radius + 1;
    return 1.0F / static_cast<float>(side * side);
}

// Of a number that is not negative; in a form that compilers make vectors of.
std::int32_t Rounded(float value) {
    constexpr float kHalf = 0.5F;
    const float raised = value + kHalf;
    return static_cast<std::int32_t>(raised);
}

std::uint16_t RoundedSample(float value) {
    return static_cast<std::uint16_t>(Rounded(value));
}

void MeanLine(const std::int32_t* sums, int width, float share, std::uint16_t* mean) {
    for (int x = 0; x < width; ++x) {
        mean[x] = RoundedSample(static_cast<float>(sums[x]) * share);
    }
}

void MeanAndContrastLine(const std::int32_t* sums, const std::int32_t* squares, int width,
                         float share, std::uint16_t* mean, std::uint16_t* contrast) {
    constexpr float kPerQuarter = 16;       // 64ths of a level
    constexpr int kMaxVariance = 255 * 16;  // whose square has 16 bits in levels
    constexpr float kLevels = 1.0F / (16 * 16);
    for (int x = 0; x < width; ++x) {
        const float quarters = static_cast<float>(sums[x]) * share;
        const float square = static_cast<float>(squares[x]) * share;
        // Cut as a whole number: GCC makes no vectors of comparisons of others.
        const std::int32_t variance = Rounded(square - quarters * quarters);
        const auto cut = static_cast<float>(std::min(std::max(variance, 0), kMaxVariance));
        mean[x] = RoundedSample(quarters * kPerQuarter);
        contrast[x] = RoundedSample(cut * cut * kLevels);
    }
}

}  // namespace

void BoxMean::Start(const SamplePlane& in, int radius) {
    const auto width = static_cast<std::size_t>(in.Width());
    const std::size_t padded = width + 2 * static_cast<std::size_t>(radius) + 1;
    m_columns.assign(padded, 0);
    m_squareColumns.assign(padded, 0);
    m_sums.resize(width);
    m_squareSums.resize(width);
}

void BoxMean::Mean(const SamplePlane& in, int radius, SamplePlane& mean) {
    const int width = in.Width();
    const float share = ShareOfOne(radius);
    Start(in, radius);
    mean.Resize(width, in.Height());
    std::int32_t* const columns = m_columns.data() + radius;
    for (int y = -radius; y <= radius; ++y) {
        AddLine<Itself>(in.NearestLine(y), width, columns);
    }
    for (int y = 0; y < in.Height(); ++y) {
        SumAlong(m_columns, radius, m_sums);
        MeanLine(m_sums.data(), width, share, mean.Line(y));
        MoveDown<Itself>(in, y, radius, columns);
    }
}

void BoxMean::MeanAndContrast(const SamplePlane& in, int radius, SamplePlane& mean,
                              SamplePlane& contrast) {
    const int width = in.Width();
    const float share = ShareOfOne(radius);
    Start(in, radius);
    mean.Resize(width, in.Height());
    contrast.Resize(width, in.Height());
    std::int32_t* const columns = m_columns.data() + radius;
    std::int32_t* const squareColumns = m_squareColumns.data() + radius;
    for (int y = -radius; y <= radius; ++y) {
        AddLine<Itself>(in.NearestLine(y), width, columns);
        AddLine<Squared>(in.NearestLine(y), width, squareColumns);
    }
    for (int y = 0; y < in.Height(); ++y) {
        SumAlong(m_columns, radius, m_sums);
        SumAlong(m_squareColumns, radius, m_squareSums);
        MeanAndContrastLine(m_sums.data(), m_squareSums.data(), width, share, mean.Line(y),
                            contrast.Line(y));
        MoveDown<Itself>(in, y, radius, columns);
        MoveDown<Squared>(in, y, radius, squareColumns);
    }
}

}  // namespace vaxoengine
