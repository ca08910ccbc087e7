// Means over square windows, in a time that does not depend on the windows' size.
//
// The sum of every column's window slides down a line at a time, and the window of a pixel
// slides along these sums: two additions and two subtractions a pixel, however large it is.
// (F. C. Crow, "Summed-area tables for texture mapping", 1984, has the idea with a table of
// the whole picture; sliding needs one line of memory.) The sums are whole numbers, so
// nothing drifts.
#ifndef VAXO_ENGINE_FILTERS_BOXMEAN_H
#define VAXO_ENGINE_FILTERS_BOXMEAN_H

#include <cstdint>
#include <vector>

#include "engine/filters/SamplePlane.h"

namespace vaxoengine {

// A window has 2 * radius + 1 samples a side. Beyond the edge of the plane its outermost
// samples count again; a plane may be smaller than the window. Keeps its working memory. One
// thread at a time.
class BoxMean {
public:
    static constexpr int kMaxRadius = 16;
    // What MeanAndContrast takes: a sum of four luma levels, 0..1020.
    static constexpr int kMaxQuarters = 4 * 255;

    // Rounded to the nearest. `mean` is another plane than `in`. 1 <= radius <= kMaxRadius.
    void Mean(const SamplePlane& in, int radius, SamplePlane& mean);

    // Of samples in quarters of a level. `mean`: in 64ths of a level. `contrast`: the square of
    // the variance, the variance in levels squared and cut at 255.
    void MeanAndContrast(const SamplePlane& in, int radius, SamplePlane& mean,
                         SamplePlane& contrast);

private:
    void Start(const SamplePlane& in, int radius);

    // Of each column's window, with `radius` columns more on either side.
    std::vector<std::int32_t> m_columns;
    std::vector<std::int32_t> m_squareColumns;
    // Of each pixel's window, along one line.
    std::vector<std::int32_t> m_sums;
    std::vector<std::int32_t> m_squareSums;
};

}  // namespace vaxoengine

#endif
