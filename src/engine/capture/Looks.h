// The looks that SetFilter chooses from.
//
// They work on I420 pictures as they are: the packaged colour effects speak RGB alone, and
// two conversions a picture cost more than everything else between camera and encoder.
#ifndef VAXO_ENGINE_CAPTURE_LOOKS_H
#define VAXO_ENGINE_CAPTURE_LOOKS_H

#include "engine/capture/Picture.h"

namespace vaxoengine {

// Applied in this order: contrast about the middle grey, brightness, inversion; the colours
// are turned, scaled and then pulled towards the tint, dark places less than bright ones.
struct Look {
    const char* name;
    double contrast = 1;    // 0 .. 2
    double brightness = 0;  // -1 .. 1 of the whole range
    double saturation = 1;  // 0: grey
    double hue = 0;         // degrees
    int tintU = 0;          // blue above 0
    int tintV = 0;          // red above 0
    bool invert = false;
};

constexpr int kLooks = 10;

// 0 <= index < kLooks; 0 changes nothing.
const Look& LookAt(int index);

// Any thread; the table of an index is computed once, on first use.
void ApplyLook(int index, const Picture& picture);

}  // namespace vaxoengine

#endif
