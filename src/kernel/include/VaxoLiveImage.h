// The picture that OnPreviewSnapshot and OnRenderSnapshot point to.
#ifndef VAXO_VAXOLIVEIMAGE_H
#define VAXO_VAXOLIVEIMAGE_H

#include "vaxotypes.h"

namespace Strova {

// How a picture lies in memory.
enum VaxoLiveImageFormat : int32 {
    VaxoLiveImage_RGBA = 0,  // one byte each: red, green, blue, 255
};

// Valid during the call alone; copy what you keep.
struct VaxoLiveImage {
    uint32 size;                // bytes of this record: a later version may be longer
    int32 width;                // pixels
    int32 height;               // lines
    int32 stride;               // bytes from one line to the next
    int32 format;               // a VaxoLiveImageFormat
    const unsigned char* data;  // height lines of stride bytes, the top one first
    uint64 time;                // when the picture was shown, microseconds since 1970
};

}  // namespace Strova

#endif
