// Makes faces in a picture look better: smooth and white skin, clear outlines.
//
// Three features, each on or off, at fixed strengths.
//
// Smoothing takes the texture off skin and keeps its edges. It is a guided filter whose guide
// is the picture itself (K. He, J. Sun and X. Tang, "Guided image filtering", 2010): in every
// window the picture is taken for a * Y + b, where a, between 0 and 1, is the nearer to 1 the
// more contrast there is. The coefficients are computed at half the size and used at the full
// one (K. He and J. Sun, "Fast guided filter", 2015), because edges come from Y alone. Two
// changes: a = var^2 / (var^2 + e^2) instead of var / (var + e), which parts texture and edges
// more sharply; and where windows overlap, each counts with var^2 + e^2, so that flat windows
// beside an edge do not blur it (Z. Li and others, "Weighted guided image filtering", 2015, has
// the aim). What comes out of both is
//     Y' = (E * Y + e^2 * M) / (E + e^2)
// with E the mean of var^2 around the pixel, and M that of the windows' means.
//
// Whitening adds a parabola to the luma of skin: nothing at black and white, kWhitenLift levels
// in the middle. It rises everywhere, so the order of shades stays and nothing is cut off. The
// colour goes an eighth of the way to grey.
//
// Sharpening is an unsharp mask (R. C. Gonzalez and R. E. Woods, "Digital Image Processing",
// chapter 3): the difference between luma and a blurred luma (1 4 6 4 1, about one pixel of
// standard deviation) is added to it, without its first kSharpenThreshold levels, which are
// mostly noise, and limited.
//
// What each one leaves alone:
// - smoothing: the colours, and every pixel that is no skin (SkinMask.h), to the bit. An edge
//   on skin keeps its noise along a strip of some pixels, where it is not seen.
// - whitening: every pixel that is no skin, to the bit; black and white.
// - sharpening: the colours; whatever differs from its surroundings by no more than the
//   threshold; with smoothing on, skin by as much as it is smoothed.
// The order is: smooth, sharpen, whiten. What is to be sharpened is measured in the original
// picture, not in the smoothed one.
#ifndef VAXO_ENGINE_FILTERS_BEAUTYFILTER_H
#define VAXO_ENGINE_FILTERS_BEAUTYFILTER_H

#include <cstdint>
#include <vector>

#include "engine/capture/Picture.h"
#include "engine/filters/BoxMean.h"
#include "engine/filters/SamplePlane.h"
#include "engine/filters/SkinMask.h"

namespace vaxoengine {

// Keeps its working memory from picture to picture, about 5 bytes a pixel. One thread at a time.
class BeautyFilter {
public:
    // Bits of `features`.
    static constexpr unsigned kSmooth = 1;
    static constexpr unsigned kWhiten = 2;
    static constexpr unsigned kSharpen = 4;
    static constexpr unsigned kAll = kSmooth | kWhiten | kSharpen;

    // The height, in levels, of an edge on skin that keeps half of itself: texture is lower,
    // outlines are higher. Of one more than twice as high less than a twentieth is lost.
    static constexpr float kSmoothContrast = 12;
    // The most that skin becomes brighter, in levels.
    static constexpr int kWhitenLift = 18;
    // Its colour goes towards grey by 1 / (1 << kWhitenColourShift).
    static constexpr int kWhitenColourShift = 3;
    // In levels, quarters of the difference, and levels: no halo is larger.
    static constexpr int kSharpenThreshold = 5;
    static constexpr int kSharpenQuarters = 3;
    static constexpr int kSharpenLimit = 12;

    // In place. Other bits are ignored; 0 changes nothing. Sizes may change from picture to
    // picture; those below 1 are left alone. Bytes beyond a line's width are not touched.
    void Apply(unsigned features, const Picture& picture);

private:
    void TakeLuma(const Picture& picture);
    void Measure(unsigned features, const Picture& picture);
    void PrepareWeights(unsigned features, int y);
    void ChangeLine(unsigned features, int y);
    const unsigned char* Original(int y) const;

    int m_height = 0;
    std::ptrdiff_t m_stride = 0;
    std::vector<unsigned char> m_original;  // luma, with a border on either side of a line
    BoxMean m_box;
    SkinMask m_skin;
    // Of the colours' size.
    SamplePlane m_half;  // luma, in quarters of a level
    SamplePlane m_mask;
    SamplePlane m_mean;       // of luma, in 64ths of a level
    SamplePlane m_contrast;   // see BoxMean
    SamplePlane m_widerMean;  // the mean's mean
    SamplePlane m_widerContrast;
    // One line each; those named "half" are of the colours' width.
    std::vector<std::int16_t> m_halfWeights;
    std::vector<std::uint16_t> m_halfMean;
    std::vector<std::uint16_t> m_lineMean;
    std::vector<std::int16_t> m_pull;
    std::vector<std::int16_t> m_whiten;
    std::vector<std::uint16_t> m_blurWork;
    std::vector<std::uint16_t> m_blurred;
    std::vector<std::int16_t> m_luma;
};

}  // namespace vaxoengine

#endif
