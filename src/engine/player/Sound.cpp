#include "engine/player/Sound.h"

#include <utility>

#include <gst/app/gstappsrc.h>

#include "engine/source/Devices.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
// Plays to nobody at the speed at which a device would.
constexpr const char* kSilentSink = "fakesink sync=true";
// A device takes pieces of 10 ms and keeps 60 ms of them.
constexpr gint64 kDeviceBufferMicros = 60000;
constexpr gint64 kDevicePieceMicros = 10000;

// Drops the oldest pieces when the device has not taken any for two seconds.
constexpr const char* kDecoder =
    "appsrc name=in format=time max-buffers=0 max-bytes=1048576 max-time=2000000000 "
    "leaky-type=downstream ! aacparse ! avdec_aac ! audioconvert ! audioresample "
    "! volume name=volume ! ";

void SetIfKnown(GObject* object, const char* name, gint64 value) {
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(object), name) != nullptr) {
        g_object_set(object, name, value, nullptr);
    }
}

void ShortenBuffers(const GstRef<GstElement>& pipeline) {
    GstIterator* const sinks = gst_bin_iterate_sinks(GST_BIN(pipeline.get()));
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(sinks, &item) == GST_ITERATOR_OK) {
        auto* const sink = static_cast<GObject*>(g_value_get_object(&item));
        SetIfKnown(sink, "buffer-time", kDeviceBufferMicros);
        SetIfKnown(sink, "latency-time", kDevicePieceMicros);
        g_value_unset(&item);
    }
    gst_iterator_free(sinks);
}

// The streaming thread, once: the first piece is decoded.
GstPadProbeReturn OnFirst(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer onSound) {
    (*static_cast<std::function<void()>*>(onSound))();
    return GST_PAD_PROBE_REMOVE;
}

std::string SinkOf(const std::string& device) {
    const std::string element =
        DeviceElement(device.empty() ? DefaultAudioDevice(AudioDevice_Output) : device);
    return element.empty() ? kSilentSink : element;
}

}  // namespace

Sound::Sound(const std::string& device, std::function<void()> onSound)
    : m_device(device), m_onSound(std::move(onSound)) {}

Sound::~Sound() {
    Stop();
}

void Sound::Prepare() {
    const GstRef<GstElement> unused = MakePipeline(std::string(kDecoder) + kSilentSink);
}

void Sound::Start(GstClockTime baseTime) {
    m_baseTime = baseTime;
    if (!Play(SinkOf(m_device))) {
        Replace();
    }
}

bool Sound::Play(const std::string& sink) {
    m_pipeline = MakePipeline(kDecoder + sink);
    if (m_pipeline == nullptr) {
        return false;
    }
    ShortenBuffers(m_pipeline);
    const GstRef<GstElement> volume = Find(m_pipeline, "volume");
    g_object_set(volume.get(), "mute", m_enabled ? FALSE : TRUE, nullptr);
    const GstRef<GstPad> pad(gst_element_get_static_pad(volume.get(), "src"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, OnFirst, &m_onSound, nullptr);
    m_bus = std::make_unique<BusWatch>(m_pipeline.get(), [this](GstMessage* message) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            syslog(esyslog_generic, kTag, __LINE__, "sound: %s", ErrorText(message).c_str());
            Replace();
        }
    });
    // The times given are those of another pipeline: this one must not choose its own.
    gst_element_set_start_time(m_pipeline.get(), GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(m_pipeline.get(), m_baseTime);
    TakeSource(Find(m_pipeline, "in"));
    return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

// Without sound at all when silence cannot be played either: what comes is no AAC.
void Sound::Replace() {
    Stop();
    if (std::exchange(m_replaced, true) || !Play(kSilentSink)) {
        syslog(esyslog_generic, kTag, __LINE__, "a stream's sound cannot be played");
        Stop();
    }
}

void Sound::Stop() {
    TakeSource(nullptr);
    m_bus.reset();
    if (m_pipeline != nullptr) {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
        m_pipeline.reset();
    }
}

void Sound::TakeSource(GstRef<GstElement> source) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_source.swap(source);
}

void Sound::Enable(bool enable) {
    m_enabled = enable;
    if (m_pipeline != nullptr) {
        g_object_set(Find(m_pipeline, "volume").get(), "mute", enable ? FALSE : TRUE, nullptr);
    }
}

void Sound::Push(GstBuffer* piece, GstCaps* caps) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_source != nullptr) {
        const GstSampleRef sample(gst_sample_new(piece, caps, nullptr, nullptr));
        gst_app_src_push_sample(GST_APP_SRC(m_source.get()), sample.get());
    }
}

}  // namespace vaxoengine
