#include "engine/capture/SourceSwitch.h"

#include <chrono>
#include <utility>

#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr std::chrono::milliseconds kWatchPeriod{1000};
constexpr int kPatience = 6;  // watches: longer than a camera takes to open

bool IsFile(const std::string& device) {
    return device.rfind("file:", 0) == 0;
}

bool Same(const SourceFormat& a, const SourceFormat& b) {
    return a.width == b.width && a.height == b.height && a.fps == b.fps;
}

}  // namespace

SourceSwitch::SourceSwitch(SourceSinks sinks, SourceFallbacks fallbacks,
                           std::function<void(const std::string&)> onTrouble)
    : m_sinks(std::move(sinks)),
      m_fallbacks(std::move(fallbacks)),
      m_onTrouble(std::move(onTrouble)),
      m_self(std::make_shared<SourceSwitch*>(this)) {}

// One source may feed both, and both must be there until it has ended.
SourceSwitch::~SourceSwitch() {
    Stop();
}

void SourceSwitch::Run(GstClockTime baseTime, const SourceWish& wish) {
    if (m_baseTime != baseTime) {
        Stop();
    }
    m_baseTime = baseTime;
    m_wished = wish.format;
    Wish(m_video, wish.video);
    Wish(m_audio, wish.audio);
    Apply();
    if (!m_watch.Running()) {
        m_watch.Every(kWatchPeriod, [this] { Watch(); });
    }
}

void SourceSwitch::Stop() {
    m_watch.Stop();
    for (Feed* const feed : {&m_video, &m_audio}) {
        feed->source.reset();
        feed->device.clear();
        feed->number = 0;
    }
}

void SourceSwitch::TryAgain() {
    Forget(m_video);
    Forget(m_audio);
}

void SourceSwitch::Wish(Feed& feed, const std::string& device) {
    if (feed.wish != device) {
        feed.wish = device;
        Forget(feed);
    }
}

void SourceSwitch::Forget(Feed& feed) {
    feed.failed.clear();
    feed.standIn.clear();
}

// `nothing`: what always runs.
void SourceSwitch::Replace(Feed& feed, const SourceFallbacks::Next& next, const char* nothing) {
    feed.failed.insert(feed.device);
    feed.standIn = next ? next(feed.device, feed.failed) : std::string();
    if (feed.standIn.empty() || feed.failed.count(feed.standIn) != 0) {
        feed.standIn = nothing;
    }
}

void SourceSwitch::Apply() {
    const std::string video = m_video.standIn.empty() ? m_video.wish : m_video.standIn;
    const std::string audio = m_audio.standIn.empty() ? m_audio.wish : m_audio.standIn;
    const bool joint = video == audio && IsFile(video);
    const bool videoStays = m_video.device == video && m_joint == joint && Same(m_format, m_wished);
    const bool audioStays = m_audio.device == audio && m_joint == joint && (!joint || videoStays);
    if (!videoStays) {
        m_video.source.reset();
    }
    if (!audioStays) {
        m_audio.source.reset();
    }
    m_joint = joint;
    m_format = m_wished;
    m_video.device = video;
    m_audio.device = audio;
    if (!videoStays) {
        Start(m_video, true, joint);
    }
    if (!audioStays && !joint) {
        Start(m_audio, false, true);
    }
    if (joint) {
        m_audio.number = m_video.number;
    }
}

void SourceSwitch::Start(Feed& feed, bool video, bool audio) {
    const unsigned number = ++m_lastNumber;
    feed.number = number;
    SourceSinks sinks;
    if (video) {
        sinks.video = Counted(m_video, m_sinks.video);
    }
    if (audio) {
        sinks.audio = Counted(m_audio, m_sinks.audio);
    }
    syslog(esyslog_generic, "Engine", __LINE__, "%s comes from %s", video ? "picture" : "sound",
           feed.device.c_str());
    feed.source = std::make_unique<MediaSource>(
        video ? feed.device : std::string(), audio ? feed.device : std::string(), m_format,
        std::move(sinks), [this, number](const std::string& text) { ReportLater(number, text); });
    if (!feed.source->Start(m_baseTime)) {
        ReportLater(number, "a source cannot be started: " + feed.device);
    }
}

std::function<void(GstSample*)> SourceSwitch::Counted(Feed& feed,
                                                      const std::function<void(GstSample*)>& sink) {
    feed.quiet = 0;
    return [&quiet = feed.quiet, sink, first = true](GstSample* sample) mutable {
        quiet = 0;
        if (std::exchange(first, false) && gst_sample_get_buffer(sample) != nullptr) {
            GstBuffer* const copy = gst_buffer_copy(gst_sample_get_buffer(sample));
            GST_BUFFER_FLAG_SET(copy, GST_BUFFER_FLAG_DISCONT);
            sample = gst_sample_make_writable(sample);
            gst_sample_set_buffer(sample, copy);
            gst_buffer_unref(copy);
        }
        sink(sample);
    };
}

// Later, because the source that reports is going to be destroyed.
void SourceSwitch::ReportLater(unsigned number, const std::string& text) {
    EngineLoop::Shared().Post([weak = std::weak_ptr<SourceSwitch*>(m_self), number, text] {
        if (const auto self = weak.lock()) {
            (*self)->OnTrouble(number, text);
        }
    });
}

void SourceSwitch::OnTrouble(unsigned number, const std::string& text) {
    const bool video = m_video.number == number;
    const bool audio = m_audio.number == number;
    if (!video && !audio) {
        return;  // a source that is gone already
    }
    if (video) {
        Replace(m_video, m_fallbacks.video, kBlack);
    }
    if (audio) {
        Replace(m_audio, m_fallbacks.audio, kSilence);
    }
    Apply();
    m_onTrouble(text);
}

// A camera that hangs, a file without a picture. A file without sound is no trouble.
void SourceSwitch::Watch() {
    const bool noVideo = ++m_video.quiet == kPatience && m_video.device != kBlack;
    const bool noAudio =
        ++m_audio.quiet == kPatience && m_audio.device != kSilence && !IsFile(m_audio.device);
    if (noVideo) {
        Replace(m_video, m_fallbacks.video, kBlack);
    }
    if (noAudio) {
        Replace(m_audio, m_fallbacks.audio, kSilence);
    }
    if (noVideo || noAudio) {
        Apply();
        m_onTrouble(noVideo ? "no picture comes" : "no sound comes");
    }
}

}  // namespace vaxoengine
