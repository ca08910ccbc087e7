#include "engine/capture/CapturePipeline.h"

#include <utility>

#include <gst/app/gstappsrc.h>
#include <gst/audio/audio.h>

#include "engine/capture/Capture.h"
#include "engine/capture/Samples.h"
#include "engine/filters/BeautyElement.h"

namespace vaxoengine {

namespace {

constexpr const char* kLive =
    " is-live=true format=time min-latency=0 max-bytes=0 max-time=0 leaky-type=downstream ";
constexpr const char* kRawSound =
    "audio/x-raw,format=S16LE,rate=48000,channels=2,layout=interleaved";
// Sound that leaves the rhythm by less than this is joined to what came before it. Behind, it
// must stay well below what the mixer waits for: sound that is later is not mixed at all.
constexpr GstClockTime kAuxBehind = 25 * GST_MSECOND;
constexpr GstClockTime kAuxAhead = 60 * GST_MSECOND;

// The mixer's arithmetic of delays needs sources that can wait: hence min-latency (without it
// an appsrc says that it cannot) and the queue.
//
// The mixer waits for a microphone's block (up to 40 ms of its own time, 10 of the silence's
// and 20 of the mixer's) before it goes on without.
std::string Text() {
    const std::string live = kLive;
    const std::string sound = kRawSound;
    return "appsrc name=video" + live + "max-buffers=3" + " ! " + kBeautyElement +
           " name=beauty ! videoflip name=flip ! videoscale add-borders=true"
           " ! capsfilter name=size ! tee name=tee allow-not-linked=true"
           " tee. ! appsink name=pictures sync=false async=false max-buffers=1 drop=true"
           " appsrc name=audio" +
           live + "max-buffers=50 ! " + sound +
           " ! mixer."
           " appsrc name=aux" +
           live +
           "max-buffers=20"
           " ! audioconvert ! audioresample ! " +
           sound +
           " ! mixer."
           " audiotestsrc wave=silence is-live=true samplesperbuffer=480 ! queue ! " +
           sound +
           " ! mixer."
           " audiomixer name=mixer latency=40000000 output-buffer-duration=20000000"
           " discont-wait=200000000 ignore-inactive-pads=true start-time-selection=first ! " +
           sound + " ! appsink name=sound sync=false async=false max-buffers=20";
}

void SetCaps(const GstRef<GstElement>& pipeline, const char* name, GstCaps* caps) {
    g_object_set(Find(pipeline, name).get(), "caps", caps, nullptr);
    gst_caps_unref(caps);
}

}  // namespace

CapturePipeline::CapturePipeline(RawSinks sinks, std::function<void(const std::string&)> onTrouble)
    : m_sinks(std::move(sinks)),
      m_onTrouble(std::move(onTrouble)),
      m_pipeline(RegisterBeautyElement() ? MakePipeline(Text()) : nullptr) {
    if (!m_pipeline) {
        return;
    }
    m_tee = Find(m_pipeline, "tee");
    m_video = Find(m_pipeline, "video");
    m_audio = Find(m_pipeline, "audio");
    m_aux = Find(m_pipeline, "aux");
    ConnectAppSink(Find(m_pipeline, "pictures").get(), m_sinks.video);
    ConnectAppSink(Find(m_pipeline, "sound").get(), m_sinks.audio);
    GstPad* const pad = gst_element_get_static_pad(Find(m_pipeline, "flip").get(), "sink");
    m_filter = std::make_unique<PictureFilter>(pad);
    gst_object_unref(pad);
    m_bus = std::make_unique<BusWatch>(m_pipeline.get(),
                                       [this](GstMessage* message) { OnMessage(message); });
}

CapturePipeline::~CapturePipeline() {
    m_bus.reset();
    if (m_pipeline) {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
}

bool CapturePipeline::Start(GstClockTime baseTime) {
    if (!m_pipeline) {
        return false;
    }
    m_baseTime = baseTime;
    gst_element_set_start_time(m_pipeline.get(), GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(m_pipeline.get(), baseTime);
    return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

void CapturePipeline::OnMessage(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_LATENCY) {
        gst_bin_recalculate_latency(GST_BIN(m_pipeline.get()));
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR && m_onTrouble) {
        const auto tell = std::exchange(m_onTrouble, nullptr);
        tell(ErrorText(message));
    }
}

void CapturePipeline::SetVideo(const VideoSettings& settings) {
    if (!m_pipeline) {
        return;
    }
    m_fps = settings.fps;
    SetCaps(m_pipeline, "size",
            gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, settings.width, "height",
                                G_TYPE_INT, settings.height, "pixel-aspect-ratio",
                                GST_TYPE_FRACTION, 1, 1, nullptr));
}

void CapturePipeline::SetRotation(int degrees) {
    if (m_pipeline) {
        // The element's directions are numbered in quarter turns.
        g_object_set(Find(m_pipeline, "flip").get(), "video-direction", degrees / 90, nullptr);
    }
}

void CapturePipeline::SetLook(int index) {
    if (m_filter) {
        m_filter->SetLook(index);
    }
}

void CapturePipeline::SetBeauty(unsigned features) {
    if (m_pipeline) {
        g_object_set(Find(m_pipeline, "beauty").get(), "features", features, nullptr);
    }
}

// Sources keep below the rate, and may be slower. What is told to the encoder is the rate
// asked for; making pictures up to reach it would cost a picture's time of delay.
void CapturePipeline::SayRate(GstSample* sample) {
    GstCaps* const caps = gst_sample_get_caps(sample);
    const int fps = m_fps;
    if (caps != m_capsSeen.get() || fps != m_fpsSaid) {
        GstCaps* const said = gst_caps_copy(caps);
        gst_caps_set_simple(said, "framerate", GST_TYPE_FRACTION, fps, 1, nullptr);
        m_capsSaid.reset(said);
        m_capsSeen.reset(gst_caps_ref(caps));
        m_fpsSaid = fps;
    }
    gst_sample_set_caps(sample, m_capsSaid.get());
}

void CapturePipeline::PushVideo(GstSample* sample) {
    const GstSampleRef owned(gst_sample_make_writable(sample));
    SayRate(owned.get());
    gst_app_src_push_sample(GST_APP_SRC(m_video.get()), owned.get());
}

void CapturePipeline::PushAudio(GstSample* sample) {
    const GstSampleRef owned(sample);
    gst_app_src_push_sample(GST_APP_SRC(m_audio.get()), sample);
}

void CapturePipeline::PushAux(const AuxSound& sound) {
    GstClock* const clock = gst_pipeline_get_clock(GST_PIPELINE(m_pipeline.get()));
    const GstClockTime now = gst_clock_get_time(clock) - m_baseTime;
    gst_object_unref(clock);
    const bool anew = m_nextAux == GST_CLOCK_TIME_NONE || m_nextAux + kAuxBehind < now ||
                      m_nextAux > now + kAuxAhead;
    if (anew) {
        m_nextAux = now;
    }
    const auto frames = static_cast<guint64>(sound.bytes / (2 * sound.channels));
    const auto size = static_cast<gsize>(sound.bytes);
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, size, nullptr);
    gst_buffer_fill(buffer, 0, sound.data, size);
    GST_BUFFER_PTS(buffer) = m_nextAux;
    if (anew) {
        GST_BUFFER_FLAG_SET(buffer,
                            GST_BUFFER_FLAG_DISCONT);  // else the mixer joins it all the same
    }
    GST_BUFFER_DURATION(buffer) =
        gst_util_uint64_scale(frames, GST_SECOND, static_cast<guint64>(sound.sampleRate));
    m_nextAux += GST_BUFFER_DURATION(buffer);
    const GstCapsRef caps(gst_caps_new_simple("audio/x-raw", "format", G_TYPE_STRING,
                                              GST_AUDIO_NE(S16), "layout", G_TYPE_STRING,
                                              "interleaved", "rate", G_TYPE_INT, sound.sampleRate,
                                              "channels", G_TYPE_INT, sound.channels, nullptr));
    const GstSampleRef sample(gst_sample_new(buffer, caps.get(), nullptr, nullptr));
    gst_buffer_unref(buffer);
    gst_app_src_push_sample(GST_APP_SRC(m_aux.get()), sample.get());
}

}  // namespace vaxoengine
