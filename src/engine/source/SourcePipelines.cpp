#include "engine/source/SourcePipelines.h"

#include <utility>

#include <gst/app/gstappsink.h>

#include "engine/source/Devices.h"
#include "engine/source/PictureRate.h"
#include "engine/source/TestPicture.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr const char* kAudioCaps =
    "audio/x-raw,format=S16LE,rate=48000,channels=2,layout=interleaved";

struct SinkLink {
    SourceKind kind;
    std::shared_ptr<SampleGate> gate;
};

GstFlowReturn OnSample(GstAppSink* sink, gpointer data) {
    const auto& link = *static_cast<SinkLink*>(data);
    GstSample* const sample = gst_app_sink_pull_sample(sink);
    if (sample == nullptr) {
        return GST_FLOW_EOS;
    }
    const GstClockTime base = gst_element_get_base_time(GST_ELEMENT(sink));
    return link.gate->Pass(link.kind, sample, base) ? GST_FLOW_OK : GST_FLOW_FLUSHING;
}

void DeleteLink(gpointer link) {
    delete static_cast<SinkLink*>(link);
}

// The same sound, or picture of no more than `fps`, with another stamp; takes the sample.
GstSample* Restamped(GstSample* sample, GstClockTime stamp, int fps) {
    GstCaps* const given = gst_caps_ref(gst_sample_get_caps(sample));
    const GstCapsRef caps(fps > 0 ? WithHighestRate(given, fps) : given);
    GstBuffer* buffer = gst_buffer_ref(gst_sample_get_buffer(sample));
    gst_sample_unref(sample);  // first, so that the buffer need not be copied
    buffer = gst_buffer_make_writable(buffer);
    GST_BUFFER_PTS(buffer) = stamp;
    GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    GstSample* const made = gst_sample_new(buffer, caps.get(), &segment, nullptr);
    gst_buffer_unref(buffer);
    return made;
}

std::string SizeCaps(const SourceFormat& format) {
    return "width=" + std::to_string(format.width) + ",height=" + std::to_string(format.height);
}

std::string VideoCaps(const SourceFormat& format) {
    return "video/x-raw,format=I420," + SizeCaps(format) + ",pixel-aspect-ratio=1/1";
}

std::string SinkText(const char* name, bool sync) {
    return std::string("appsink name=") + name + (sync ? " sync=true" : " sync=false") +
           " qos=false enable-last-sample=false emit-signals=false";
}

std::string LiveVideoText(const std::string& device, const SourceFormat& format) {
    const std::string exact = VideoCaps(format) + ",framerate=" + std::to_string(format.fps) + "/1";
    if (device == kTestPicture) {
        return TestPictureText() + " ! " + exact + TestPictureOverlay() + " ! " +
               SinkText("sink", false);
    }
    if (device == kBlack) {
        return "videotestsrc is-live=true pattern=black ! " + exact + " ! " +
               SinkText("sink", false);
    }
    const std::string camera = DeviceElement(device);
    if (camera.empty()) {
        return {};
    }
    // A camera tries to come near the first of these.
    const std::string wish =
        "video/x-raw," + SizeCaps(format) + ",framerate=" + std::to_string(format.fps) + "/1";
    return camera + " ! capsfilter caps=\"" + wish + "; video/x-raw; image/jpeg\" ! decodebin ! " +
           BranchText(SourceKind::Video, format, "sink", false);
}

std::string LiveAudioText(const std::string& device, const SourceFormat& format) {
    // Pieces of 10 ms: what waits for a piece to be full is delay.
    const std::string exact =
        std::string(" samplesperbuffer=480 ! ") + kAudioCaps + " ! " + SinkText("sink", false);
    if (device == kTestTone) {
        return "audiotestsrc is-live=true wave=sine freq=440 volume=0.2" + exact;
    }
    if (device == kSilence) {
        return "audiotestsrc is-live=true wave=silence" + exact;
    }
    const std::string microphone = DeviceElement(device);
    return microphone.empty()
               ? std::string()
               : microphone + " ! " + BranchText(SourceKind::Audio, format, "sink", false);
}

class LivePart : public SourcePart {
public:
    LivePart(SourceKind kind, const std::string& device, const SourceFormat& format,
             std::shared_ptr<SampleGate> gate, TroubleHandler onTrouble)
        : m_gate(std::move(gate)), m_onTrouble(std::move(onTrouble)) {
        const std::string text = LivePipelineText(kind, device, format);
        if (text.empty()) {
            syslog(esyslog_error, kTag, __LINE__, "no such device: %s", device.c_str());
            return;
        }
        m_pipeline = MakePipeline(text);
        if (m_pipeline == nullptr) {
            return;
        }
        if (device == kTestPicture) {
            StampTestPicture(m_pipeline, "sink");
        }
        if (Find(m_pipeline, kRateLimit) != nullptr) {
            LimitPictureRate(m_pipeline, kRateLimit, format.fps);
        }
        ConnectSink(m_pipeline, "sink", kind, m_gate);
        m_watch = std::make_unique<BusWatch>(m_pipeline.get(),
                                             [this](GstMessage* message) { OnMessage(message); });
    }

    ~LivePart() override {
        m_watch.reset();
        if (m_pipeline != nullptr) {
            gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
        }
    }

    LivePart(const LivePart&) = delete;
    LivePart& operator=(const LivePart&) = delete;

    bool Start() override {
        if (m_pipeline == nullptr) {
            return false;
        }
        gst_element_set_start_time(m_pipeline.get(), GST_CLOCK_TIME_NONE);
        gst_element_set_base_time(m_pipeline.get(), m_gate->OwnerBase());
        return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) !=
               GST_STATE_CHANGE_FAILURE;
    }

private:
    void OnMessage(GstMessage* message) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            m_onTrouble(ErrorText(message));
        } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
            m_onTrouble("the device ended");
        }
    }

    std::shared_ptr<SampleGate> m_gate;
    TroubleHandler m_onTrouble;
    GstRef<GstElement> m_pipeline;
    std::unique_ptr<BusWatch> m_watch;
};

}  // namespace

const char* const kRateLimit = "rate-limit";

SampleGate::SampleGate(SourceSinks sinks, GstClockTime ownerBase, int fps)
    : m_ownerBase(ownerBase), m_fps(fps) {
    m_video.sink = std::move(sinks.video);
    m_audio.sink = std::move(sinks.audio);
}

bool SampleGate::Pass(SourceKind kind, GstSample* sample, GstClockTime pipelineBase) {
    Way& way = kind == SourceKind::Video ? m_video : m_audio;
    const GstClockTime running =
        gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                    GST_BUFFER_PTS(gst_sample_get_buffer(sample)));
    const GstClockTime stamp = running + pipelineBase - m_ownerBase;
    if (!GST_CLOCK_TIME_IS_VALID(running) || running + pipelineBase < m_ownerBase ||
        (GST_CLOCK_TIME_IS_VALID(way.last) && stamp <= way.last)) {
        gst_sample_unref(sample);
        return m_open;
    }
    way.last = stamp;
    way.count++;
    if (!m_open || !way.sink) {
        gst_sample_unref(sample);
        return m_open;
    }
    way.sink(Restamped(sample, stamp, kind == SourceKind::Video ? m_fps : 0));
    return true;
}

void ConnectSink(const GstRef<GstElement>& bin, const char* name, SourceKind kind,
                 std::shared_ptr<SampleGate> gate) {
    const GstRef<GstElement> sink = Find(bin, name);
    GstAppSinkCallbacks callbacks = {};
    callbacks.new_sample = OnSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks,
                               new SinkLink{kind, std::move(gate)}, DeleteLink);
}

std::string BranchText(SourceKind kind, const SourceFormat& format, const char* sinkName,
                       bool sync) {
    if (kind == SourceKind::Audio) {
        return std::string("queue ! audioconvert ! audioresample ! ") + kAudioCaps + " ! " +
               SinkText(sinkName, sync);
    }
    // Few pictures wait: a raw one may have many megabytes.
    return std::string(
               "queue max-size-buffers=3 max-size-bytes=0 max-size-time=0 ! "
               "videoconvert n-threads=1 name=") +
           kRateLimit + " ! videoscale add-borders=true n-threads=1 ! " + VideoCaps(format) +
           " ! " + SinkText(sinkName, sync);
}

std::string LivePipelineText(SourceKind kind, const std::string& device,
                             const SourceFormat& format) {
    return kind == SourceKind::Video ? LiveVideoText(device, format)
                                     : LiveAudioText(device, format);
}

std::unique_ptr<SourcePart> MakeLivePart(SourceKind kind, const std::string& device,
                                         const SourceFormat& format,
                                         std::shared_ptr<SampleGate> gate,
                                         TroubleHandler onTrouble) {
    return std::make_unique<LivePart>(kind, device, format, std::move(gate), std::move(onTrouble));
}

}  // namespace vaxoengine
