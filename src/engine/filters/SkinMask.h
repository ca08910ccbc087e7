// Where in a picture there is skin, by its colour.
//
// Skin of all shades lies in a small range of Cb and Cr, because what differs between people
// is mostly brightness: Cb 77..127, Cr 133..173 (D. Chai and K. N. Ngan, "Face segmentation
// using skin-color map in videophone applications", 1999). The colour alone decides, so wood,
// sand and cardboard can be taken for skin, and a face in strongly coloured light for
// something else.
#ifndef VAXO_ENGINE_FILTERS_SKINMASK_H
#define VAXO_ENGINE_FILTERS_SKINMASK_H

#include "engine/capture/Picture.h"
#include "engine/filters/BoxMean.h"
#include "engine/filters/SamplePlane.h"

namespace vaxoengine {

// Weights 0 (no skin) .. 255 (skin), one for each sample of the colour planes.
//
// A sample's own weight is 0 outside the range above, 255 from six levels inside it on, and
// falls to 0 between luma 56 and 32: dark hair has the colour of skin. The mask is the lesser of
// that and of how much skin is around: 0 below a quarter of the window, 255 above three
// quarters. So its border is soft inwards, a lone pixel of the right colour counts little, and
// a sample that is no skin has exactly 0, whatever is beside it.
//
// Keeps its working memory. One thread at a time.
class SkinMask {
public:
    // `halfLuma`: the picture's luma at the colours' size, in quarters of a level. `radius`: of
    // the window, in samples of that size.
    void Make(const Picture& picture, const SamplePlane& halfLuma, int radius, BoxMean& box,
              SamplePlane& mask);

private:
    SamplePlane m_around;
};

}  // namespace vaxoengine

#endif
