#include "engine/capture/PictureFilter.h"

#include <atomic>

#include <gst/video/video.h>

#include "engine/base/GstRef.h"
#include "engine/capture/Looks.h"

namespace vaxoengine {

struct PictureFilter::Impl {
    std::atomic<int> look{0};
};

namespace {

Picture PictureOf(GstVideoFrame& frame) {
    const auto plane = [&](guint i) { return static_cast<unsigned char*>(frame.data[i]); };
    return {plane(0),
            plane(1),
            plane(2),
            GST_VIDEO_FRAME_WIDTH(&frame),
            GST_VIDEO_FRAME_HEIGHT(&frame),
            GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0),
            GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 1),
            GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 2)};
}

template <class Change>
void ChangeBuffer(GstPad* pad, GstBuffer* buffer, Change change) {
    const GstCapsRef caps(gst_pad_get_current_caps(pad));
    GstVideoInfo info;
    if (!caps || gst_video_info_from_caps(&info, caps.get()) == FALSE ||
        GST_VIDEO_INFO_FORMAT(&info) != GST_VIDEO_FORMAT_I420) {
        return;
    }
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &info, buffer, GST_MAP_READWRITE) != FALSE) {
        change(PictureOf(frame));
        gst_video_frame_unmap(&frame);
    }
}

}  // namespace

PictureFilter::PictureFilter(GstPad* pad)
    : m_pad(GST_PAD(gst_object_ref(pad))), m_impl(std::make_shared<Impl>()) {
    using Held = std::shared_ptr<Impl>;
    const auto onBuffer = [](GstPad* at, GstPadProbeInfo* info, gpointer held) {
        Impl& impl = **static_cast<Held*>(held);
        const int look = impl.look;
        if (look != 0) {
            GstBuffer* const buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
            info->data = buffer;
            ChangeBuffer(at, buffer, [&](const Picture& picture) { ApplyLook(look, picture); });
        }
        return GST_PAD_PROBE_OK;
    };
    const auto release = [](gpointer held) { delete static_cast<Held*>(held); };
    m_probe =
        gst_pad_add_probe(m_pad, GST_PAD_PROBE_TYPE_BUFFER, onBuffer, new Held(m_impl), release);
}

PictureFilter::~PictureFilter() {
    gst_pad_remove_probe(m_pad, m_probe);
    gst_object_unref(m_pad);
}

void PictureFilter::SetLook(int index) {
    m_impl->look = index;
}

}  // namespace vaxoengine
