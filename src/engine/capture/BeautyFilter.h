// Smooths skin in a picture and keeps its edges.
//
// Every pixel is drawn towards the mean of its surroundings, the more the smaller the
// variance there: fine texture goes, outlines stay. Skin is known by its colour; other
// places get a third of the effect, so that a face has no visible border. Means and
// variances come from running sums: the time does not depend on the radius.
#ifndef VAXO_ENGINE_CAPTURE_BEAUTYFILTER_H
#define VAXO_ENGINE_CAPTURE_BEAUTYFILTER_H

#include <cstdint>
#include <vector>

#include "engine/capture/Picture.h"

namespace vaxoengine {

// Keeps its working memory from picture to picture. One thread at a time.
class BeautyFilter {
public:
    // In place; the colours stay. `strength`: 1..100; 0 changes nothing.
    void Apply(int strength, const Picture& picture);

private:
    void SmoothLine(const Picture& picture, int y, int radius, float tolerance, float strength);

    std::vector<unsigned char> m_original;  // the luma before the change
    std::vector<std::uint32_t> m_sums;      // of a column's window: values, and squares
    std::vector<std::uint32_t> m_squares;
    std::vector<float> m_means;  // of a pixel's window, along one line
    std::vector<float> m_meanSquares;
};

}  // namespace vaxoengine

#endif
