#include "engine/capture/Encoder.h"

#include <algorithm>
#include <utility>

#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include "engine/capture/Capture.h"
#include "engine/capture/Samples.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

// Up to this size one core encodes in time, and one thread costs least.
constexpr int kPixelsOfOneThread = 1280 * 720;

// A group of pictures: a second, less what a rounded stamp may lack.
constexpr GstClockTime kGroup = 990 * GST_MSECOND;

std::string SourceText(int buffers) {
    return "appsrc name=source is-live=true format=time max-bytes=0 max-time=0 "
           "leaky-type=downstream max-buffers=" +
           std::to_string(buffers) + " ! ";
}

constexpr const char* kSinkText = " ! appsink name=sink sync=false async=false max-buffers=4";

// An encoder begins with as many samples of silence, which its time stamps do not tell.
struct AudioCodec {
    const char* encoder;
    guint64 delay;
};
constexpr AudioCodec kAudioCodecs[] = {{"avenc_aac", 1024}, {"voaacenc", 1600}};
constexpr guint64 kSoundRate = 48000;  // of the capture

int KiloBits(int bitrate) {
    return std::max(1, bitrate / 1000);
}

bool Exists(const char* factory) {
    GstElementFactory* const found = gst_element_factory_find(factory);
    if (found != nullptr) {
        gst_object_unref(found);
    }
    return found != nullptr;
}

}  // namespace

std::unique_ptr<Encoder> Encoder::OfVideo(const VideoSettings& settings, Sink sink,
                                          Trouble onTrouble) {
    const int threads = settings.width * settings.height > kPixelsOfOneThread ? 2 : 1;
    std::unique_ptr<Encoder> made(new Encoder(
        MakePipeline(SourceText(3) + "x264enc name=encoder tune=zerolatency speed-preset=veryfast" +
                     " key-int-max=" + std::to_string(2 * settings.fps) +
                     " bitrate=" + std::to_string(KiloBits(settings.bitrate)) +
                     " threads=" + std::to_string(threads) +
                     " ! video/x-h264,profile=main ! h264parse config-interval=-1" +
                     " ! video/x-h264,stream-format=avc,alignment=au" + kSinkText),
        settings.fps, 0, std::move(sink), std::move(onTrouble)));
    return made->Start() ? std::move(made) : nullptr;
}

std::unique_ptr<Encoder> Encoder::OfAudio(Sink sink, Trouble onTrouble) {
    const AudioCodec& codec = Exists(kAudioCodecs[0].encoder) ? kAudioCodecs[0] : kAudioCodecs[1];
    std::unique_ptr<Encoder> made(new Encoder(
        MakePipeline(SourceText(20) + "audioconvert ! " + codec.encoder + " bitrate=96000" +
                     " ! aacparse ! audio/mpeg,mpegversion=4,stream-format=raw" + kSinkText),
        0, gst_util_uint64_scale(codec.delay, GST_SECOND, kSoundRate), std::move(sink),
        std::move(onTrouble)));
    return made->Start() ? std::move(made) : nullptr;
}

Encoder::Encoder(GstRef<GstElement> pipeline, int fps, GstClockTime delay, Sink sink,
                 Trouble onTrouble)
    : m_pipeline(std::move(pipeline)),
      m_fps(fps),
      m_delay(delay),
      m_sink(std::move(sink)),
      m_onTrouble(std::move(onTrouble)) {}

Encoder::~Encoder() {
    m_bus.reset();
    if (m_pipeline) {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
}

bool Encoder::Start() {
    if (!m_pipeline) {
        return false;
    }
    m_source = Find(m_pipeline, "source");
    m_end = Find(m_pipeline, "sink");
    ConnectAppSink(m_end.get(), [this](GstSample* sample) {
        const GstSampleRef owned(sample);
        if (GstSampleRef stamped = InRunningTime(sample, m_delay)) {
            m_sink(stamped.release());
        }
    });
    m_bus = std::make_unique<BusWatch>(m_pipeline.get(),
                                       [this](GstMessage* message) { OnMessage(message); });
    return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

void Encoder::OnMessage(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR && m_onTrouble) {
        const Trouble tell = std::exchange(m_onTrouble, nullptr);
        tell(ErrorText(message));
    }
}

void Encoder::Push(GstSample* sample) {
    // By time, because a source may give fewer pictures than the rate says.
    if (m_fps > 0) {
        const GstClockTime stamp = GST_BUFFER_PTS(gst_sample_get_buffer(sample));
        if (!IsDue(stamp)) {
            return;
        }
        if (!GST_CLOCK_TIME_IS_VALID(m_nextKey)) {
            m_nextKey = stamp + kGroup;
        } else if (stamp >= m_nextKey) {
            m_nextKey = stamp + kGroup;
            ForceKeyFrame();
        }
    }
    gst_app_src_push_sample(GST_APP_SRC(m_source.get()), sample);
}

bool Encoder::IsDue(GstClockTime stamp) {
    const GstClockTime period = m_period;
    // A little early is due: stamps are rounded, and sources are not exact.
    if (period == 0) {
        return true;
    }
    if (stamp + period / 8 < m_nextPicture) {
        return false;
    }
    m_nextPicture = std::max(m_nextPicture + period, stamp + period / 2);
    return true;
}

void Encoder::ForceKeyFrame() {
    gst_element_send_event(
        m_end.get(), gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

void Encoder::SetRate(int bitrate, int fps) {
    m_period = fps < m_fps ? GST_SECOND / static_cast<GstClockTime>(std::max(1, fps)) : 0;
    if (bitrate == std::exchange(m_bitrate, bitrate)) {
        return;
    }
    const GstRef<GstElement> encoder = Find(m_pipeline, "encoder");
    g_object_set(encoder.get(), "bitrate", static_cast<guint>(KiloBits(bitrate)), nullptr);
}

}  // namespace vaxoengine
