#include "engine/view/ViewBranch.h"

#include <chrono>
#include <utility>

#include <gst/app/gstappsrc.h>
#include <gst/video/videooverlay.h>

#include "engine/base/EngineLoop.h"
#include "engine/base/GstRef.h"
#include "engine/view/XWindow.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr std::chrono::milliseconds kPollPeriod{250};

// A pipeline of its own: what goes wrong in it, or waits for the X server, cannot reach the
// one that is shown. No clock: pictures come through the tee when they are due. Windows are
// measured in pixels, whatever the screen says about their shape. The sink asks for
// no events: a key pressed over the picture is the application's. The format in front
// of the crop is one that it knows; pictures of the engine have it already.
constexpr const char* kPipeline =
    "appsrc name=in format=time max-buffers=1 max-bytes=0 max-time=0 leaky-type=downstream "
    "! videoconvert ! video/x-raw,format=I420 ! aspectratiocrop name=crop ! videoconvertscale "
    "name=scale ! capsfilter "
    "name=size "
    "! ximagesink name=out sync=false async=false qos=false max-lateness=-1 "
    "handle-events=false handle-expose=false pixel-aspect-ratio=1/1 force-aspect-ratio=false";

// The tee's thread. The pad leads nowhere: what comes to it is handed over here.
GstPadProbeReturn OnPicture(GstPad* pad, GstPadProbeInfo* info, gpointer source) {
    const GstCapsRef caps(gst_pad_get_current_caps(pad));
    if (caps != nullptr) {
        const GstSampleRef sample(
            gst_sample_new(gst_pad_probe_info_get_buffer(info), caps.get(), nullptr, nullptr));
        // Refused while the window's pipeline ends: then nobody misses it.
        gst_app_src_push_sample(static_cast<GstAppSrc*>(source), sample.get());
    }
    return GST_PAD_PROBE_DROP;
}

}  // namespace

struct ViewBranch::Impl {
    explicit Impl(GstElement* from) {
        gst_object_ref(from);
        tee.reset(from);
    }

    bool Attach(unsigned long id);
    bool Play();
    bool Tap();
    void Stop();
    void Detach();
    void ChangeMode(ViewMode next);
    void Arrange() const;
    void Look();

    GstRef<GstElement> tee;
    GstRef<GstPad> tap;
    GstRef<GstElement> pipeline;
    GstRef<GstElement> sink;
    std::unique_ptr<BusWatch> bus;
    unsigned long windowId = 0;
    std::unique_ptr<XWindow> window;
    EngineTimer poll;
    ViewMode mode = ViewMode_Fit;
};

bool ViewBranch::Impl::Attach(unsigned long id) {
    window = XWindow::Open(id);
    if (window == nullptr) {
        syslog(esyslog_generic, kTag, __LINE__, "no window %lu to show pictures in", id);
        return false;
    }
    windowId = id;
    if (!Play()) {
        syslog(esyslog_error, kTag, __LINE__, "window %lu cannot show pictures", id);
        Detach();
        return false;
    }
    poll.Every(kPollPeriod, [this] { Look(); });
    return true;
}

bool ViewBranch::Impl::Play() {
    pipeline = MakePipeline(kPipeline);
    if (pipeline == nullptr) {
        return false;
    }
    sink = Find(pipeline, "out");
    gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(sink.get()), windowId);
    Arrange();
    bus = std::make_unique<BusWatch>(pipeline.get(), [this](GstMessage* message) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            syslog(esyslog_error, kTag, __LINE__, "view ends: %s", ErrorText(message).c_str());
            Detach();
        }
    });
    return gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE &&
           Tap();
}

bool ViewBranch::Impl::Tap() {
    const GstRef<GstElement> source = Find(pipeline, "in");
    tap.reset(gst_element_request_pad_simple(tee.get(), "src_%u"));
    if (tap == nullptr) {
        return false;
    }
    gst_pad_add_probe(tap.get(), GST_PAD_PROBE_TYPE_BUFFER, OnPicture, gst_object_ref(source.get()),
                      gst_object_unref);
    return true;
}

// Ends with the window's own thread: nothing is drawn after it.
void ViewBranch::Impl::Stop() {
    if (tap != nullptr) {
        gst_element_release_request_pad(tee.get(), tap.get());
        tap.reset();
    }
    bus.reset();
    sink.reset();
    if (pipeline != nullptr) {
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        pipeline.reset();
    }
}

void ViewBranch::Impl::Detach() {
    poll.Stop();
    Stop();
    window.reset();
}

// With a new pipeline: the scaler looks at its borders only when a size changes.
void ViewBranch::Impl::ChangeMode(ViewMode next) {
    if (next == mode) {
        return;
    }
    mode = next;
    if (window != nullptr) {
        Stop();
        if (!Play()) {
            syslog(esyslog_error, kTag, __LINE__, "window %lu shows no more pictures", windowId);
            Detach();
        }
    }
}

// Tells the pipeline the window's size and what to do with the difference of shapes.
void ViewBranch::Impl::Arrange() const {
    const int width = window->Width();
    const int height = window->Height();
    const bool fill = mode == ViewMode_Fill;
    g_object_set(Find(pipeline, "crop").get(), "aspect-ratio", fill ? width : 0, fill ? height : 1,
                 nullptr);
    g_object_set(Find(pipeline, "scale").get(), "add-borders", mode == ViewMode_Fit ? TRUE : FALSE,
                 nullptr);
    const GstCapsRef caps(gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, width, "height",
                                              G_TYPE_INT, height, "pixel-aspect-ratio",
                                              GST_TYPE_FRACTION, 1, 1, nullptr));
    g_object_set(Find(pipeline, "size").get(), "caps", caps.get(), nullptr);
}

void ViewBranch::Impl::Look() {
    const XWindow::Changes changes = window->Poll();
    if (changes.gone) {
        syslog(esyslog_generic, kTag, __LINE__, "the window of a view is gone");
        Detach();
        return;
    }
    if (changes.resized) {
        Arrange();
    }
    if (changes.resized || changes.exposed) {
        // Draws the last picture again; and the sink learns the size that it draws in.
        gst_video_overlay_expose(GST_VIDEO_OVERLAY(sink.get()));
    }
}

ViewBranch::ViewBranch(GstElement* tee) : m_impl(std::make_unique<Impl>(tee)) {}

ViewBranch::~ViewBranch() {
    m_impl->Detach();
}

bool ViewBranch::SetWindow(unsigned long window) {
    m_impl->Detach();
    return window == 0 || m_impl->Attach(window);
}

void ViewBranch::SetMode(ViewMode mode) {
    m_impl->ChangeMode(mode);
}

}  // namespace vaxoengine
