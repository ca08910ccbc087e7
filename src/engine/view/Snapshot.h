// Pictures for the snapshot events.
#ifndef VAXO_ENGINE_VIEW_SNAPSHOT_H
#define VAXO_ENGINE_VIEW_SNAPSHOT_H

#include <vector>

#include <gst/gst.h>

#include "VaxoLiveImage.h"

namespace vaxoengine {

// A picture and its memory. image.data points into `pixels`.
struct Snapshot {
    std::vector<unsigned char> pixels;
    Strova::VaxoLiveImage image{};
};

// Converts a raw video sample of any format. `time`: microseconds since 1970 at which the
// picture was shown. False when it cannot be converted. Any thread; takes about 10 ms.
bool TakeSnapshot(GstSample* sample, uint64 time, Snapshot& out);

}  // namespace vaxoengine

#endif
