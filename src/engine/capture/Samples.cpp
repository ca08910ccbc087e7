#include "engine/capture/Samples.h"

#include <algorithm>
#include <utility>

#include <gst/app/gstappsink.h>

namespace vaxoengine {

namespace {

using Sink = std::function<void(GstSample*)>;

GstClockTime RunningTime(const GstSegment* segment, GstClockTime stamp) {
    if (segment == nullptr || segment->format != GST_FORMAT_TIME) {
        return stamp;
    }
    return gst_segment_to_running_time(segment, GST_FORMAT_TIME, stamp);
}

GstFlowReturn OnNewSample(GstAppSink* appSink, gpointer sink) {
    if (GstSample* const sample = gst_app_sink_try_pull_sample(appSink, 0)) {
        (*static_cast<Sink*>(sink))(sample);
    }
    return GST_FLOW_OK;
}

}  // namespace

GstSampleRef InRunningTime(GstSample* sample, GstClockTime earlier) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    if (buffer == nullptr) {
        return nullptr;
    }
    const GstSegment* const segment = gst_sample_get_segment(sample);
    const GstClockTime pts = RunningTime(segment, GST_BUFFER_PTS(buffer));
    if (!GST_CLOCK_TIME_IS_VALID(pts) || pts < earlier) {
        return nullptr;
    }
    const GstClockTime dts = RunningTime(segment, GST_BUFFER_DTS(buffer));
    GstBuffer* const copy = gst_buffer_copy(buffer);
    GST_BUFFER_PTS(copy) = pts - earlier;
    GST_BUFFER_DTS(copy) = GST_CLOCK_TIME_IS_VALID(dts) ? dts - std::min(earlier, dts) : dts;
    GstSegment plain;
    gst_segment_init(&plain, GST_FORMAT_TIME);
    GstSampleRef result(gst_sample_new(copy, gst_sample_get_caps(sample), &plain, nullptr));
    gst_buffer_unref(copy);
    return result;
}

void ConnectAppSink(GstElement* appSink, Sink sink) {
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = OnNewSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(appSink), &callbacks, new Sink(std::move(sink)),
                               [](gpointer owned) { delete static_cast<Sink*>(owned); });
}

}  // namespace vaxoengine
