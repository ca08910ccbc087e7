// Raw and encoded samples on their way through the capture.
#ifndef VAXO_ENGINE_CAPTURE_SAMPLES_H
#define VAXO_ENGINE_CAPTURE_SAMPLES_H

#include <functional>

#include <gst/gst.h>

#include "engine/base/GstRef.h"

namespace vaxoengine {

// A copy (of the description, not of the data) whose time stamps are the running times of
// the sample's segment, less `earlier`. Empty for a sample without a buffer, or without a place
// in time, or one before its beginning.
GstSampleRef InRunningTime(GstSample* sample, GstClockTime earlier = 0);

// Calls `sink` with every sample that reaches an appsink, transfer full, on its streaming
// thread, until the element's pipeline stands still. The appsink owns a copy of `sink`.
void ConnectAppSink(GstElement* appSink, std::function<void(GstSample*)> sink);

}  // namespace vaxoengine

#endif
