// Looks at what flows in the pipelines of this process, without touching them.
#ifndef VAXO_TESTS_ENGINE_LIVE_PUSHHOOK_H
#define VAXO_TESTS_ENGINE_LIVE_PUSHHOOK_H

#include <gst/gst.h>
#include <gst/video/video.h>

namespace livetest {

// What hooks on pads belong to; `name` is that of its type, one for each owner. Initialises
// GStreamer. Hooks run on streaming threads, for the life of the process.
inline GstTracer* HookOwner(const char* name) {
    struct Owner {
        GstTracer parent;
    };
    struct OwnerClass {
        GstTracerClass parent;
    };
    gst_init(nullptr, nullptr);
    const GType type =
        g_type_register_static_simple(GST_TYPE_TRACER, name, sizeof(OwnerClass), nullptr,
                                      sizeof(Owner), nullptr, static_cast<GTypeFlags>(0));
    return GST_TRACER(g_object_new(type, nullptr));
}

// In the middle, which no border and no turning moves.
inline bool IsBright(GstBuffer* picture, GstCaps* caps) {
    constexpr int kBright = 128;
    GstVideoInfo info;
    GstVideoFrame frame;
    if (gst_video_info_from_caps(&info, caps) == FALSE ||
        gst_video_frame_map(&frame, &info, picture, GST_MAP_READ) == FALSE) {
        return false;
    }
    const auto* const luma =
        static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const int middle =
        GST_VIDEO_FRAME_HEIGHT(&frame) / 2 * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0) +
        GST_VIDEO_FRAME_WIDTH(&frame) / 2;
    const bool bright = luma[middle] > kBright;
    gst_video_frame_unmap(&frame);
    return bright;
}

}  // namespace livetest

#endif
