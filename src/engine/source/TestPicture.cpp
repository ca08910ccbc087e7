#include "engine/source/TestPicture.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <gst/video/video.h>

#include "engine/source/ClockStamp.h"

namespace vaxoengine {

namespace {

// The system's clock and not a monotonic one: it is read on other machines.
std::uint32_t MillisOfDayClock() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

// Under the stamp: black and white are so for each of red, green and blue.
void TakeColour(GstVideoFrame& frame) {
    const int height = GST_VIDEO_FRAME_WIDTH(&frame) / 80 + 1;  // of a square, in this plane
    for (int plane = 1; plane <= 2; ++plane) {
        auto* line = static_cast<unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
        for (int y = 0; y < MIN(height, GST_VIDEO_FRAME_HEIGHT(&frame) / 2); ++y) {
            std::memset(line, 128, static_cast<std::size_t>(GST_VIDEO_FRAME_WIDTH(&frame) / 2));
            line += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
        }
    }
}

GstPadProbeReturn StampBuffer(GstPad* pad, GstPadProbeInfo* info, gpointer /*unused*/) {
    const GstCapsRef caps(gst_pad_get_current_caps(pad));
    GstVideoInfo shape;
    if (caps == nullptr || gst_video_info_from_caps(&shape, caps.get()) == FALSE) {
        return GST_PAD_PROBE_OK;
    }
    info->data = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &shape, GST_PAD_PROBE_INFO_BUFFER(info), GST_MAP_READWRITE) !=
        FALSE) {
        DrawClockStamp(static_cast<unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                       GST_VIDEO_FRAME_WIDTH(&frame), GST_VIDEO_FRAME_HEIGHT(&frame),
                       GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0), MillisOfDayClock());
        TakeColour(frame);
        gst_video_frame_unmap(&frame);
    }
    return GST_PAD_PROBE_OK;
}

}  // namespace

std::string TestPictureText() {
    // Bars with a field of noise: work for the encoder, as a camera's picture is.
    return "videotestsrc is-live=true pattern=smpte horizontal-speed=2";
}

std::string TestPictureOverlay() {
    gst_init(nullptr, nullptr);  // may be the first thing that this process asks GStreamer
    GstElementFactory* const writer = gst_element_factory_find("clockoverlay");
    if (writer == nullptr) {
        return {};
    }
    gst_object_unref(writer);
    return " ! clockoverlay halignment=center valignment=center shaded-background=true "
           "font-desc=\"Sans 24\"";
}

void StampTestPicture(const GstRef<GstElement>& pipeline, const char* name) {
    const GstRef<GstElement> element = Find(pipeline, name);
    GstPad* const pad = gst_element_get_static_pad(element.get(), "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, StampBuffer, nullptr, nullptr);
    gst_object_unref(pad);
}

}  // namespace vaxoengine
