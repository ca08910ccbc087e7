// How alike two pictures of the same scene are that were taken at different moments and
// came different ways: one before, one after encoding.
//
// Both are reduced to a grid of average colours. Of its cells, the quarter that differs most
// does not count: there something moves. What is left gives a signal-to-noise ratio.
#ifndef VAXO_APPS_COMPARE_H
#define VAXO_APPS_COMPARE_H

#include "PngFile.h"

namespace vaxoapp {

struct Likeness {
    double decibels = 0;  // 99 at most
    double contrast = 0;  // of the plainer picture: how far its cells are from one colour, 0..128
    bool sameShape = false;  // width to height, within 2 percent
};

Likeness ComparePictures(const Picture& a, const Picture& b);

}  // namespace vaxoapp

#endif
