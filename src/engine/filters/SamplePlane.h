// A plane of 16-bit samples, and of the numbers that filters compute for each of them.
#ifndef VAXO_ENGINE_FILTERS_SAMPLEPLANE_H
#define VAXO_ENGINE_FILTERS_SAMPLEPLANE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vaxoengine {

// Lines follow each other without gaps. What the samples mean is said where a plane is used.
class SamplePlane {
public:
    // The samples are undefined afterwards. Memory is kept when the plane becomes smaller.
    void Resize(int width, int height) {
        m_width = width;
        m_height = height;
        m_samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    std::uint16_t* Line(int y) { return m_samples.data() + Offset(y); }
    const std::uint16_t* Line(int y) const { return m_samples.data() + Offset(y); }
    // Beyond the edge the outermost line stands for all others.
    const std::uint16_t* NearestLine(int y) const { return Line(std::clamp(y, 0, m_height - 1)); }

private:
    std::ptrdiff_t Offset(int y) const { return static_cast<std::ptrdiff_t>(y) * m_width; }

    int m_width = 0;
    int m_height = 0;
    std::vector<std::uint16_t> m_samples;
};

}  // namespace vaxoengine

#endif
