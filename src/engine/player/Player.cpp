#include "engine/player/Player.h"

#include <utility>

#include "engine/player/PlayError.h"
#include "engine/player/PlayerImpl.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr const char* kTag = "Engine";
constexpr const char* kTook = "took";  // milliseconds, of kConnectedNews

// The sink that paces and counts does not wait for a first picture (async): sound may come
// alone. The decoder's threads would each hold a picture back. The window hangs behind the
// pacing sink at the tee, and so shows a picture when it is due.
constexpr const char* kPipeline =
    "rtmp2src name=source idle-timeout=4 "
    "! queue2 max-size-buffers=0 max-size-bytes=2097152 max-size-time=0 ! flvdemux name=demux "
    "h264parse name=video ! avdec_h264 max-threads=1 "
    "! queue max-size-buffers=6 max-size-bytes=0 max-size-time=0 ! tee name=tee "
    "! fakesink name=shown sync=true async=false enable-last-sample=false signal-handoffs=true";

// The servers send at once what they have; a key frame is at most some seconds away.
constexpr milliseconds kStartLimit{15000};
// Sound has come and no picture: how long to wait for one, with a video track and without.
constexpr milliseconds kPictureWait{5000};
constexpr milliseconds kTrackWait{1000};
// How long the source may go on connecting when nobody waits for it any more.
constexpr milliseconds kLeaveLimit{10000};
// How long it may take to close a connection that failed, or that the server has ended.
constexpr milliseconds kCloseLimit{1000};
constexpr milliseconds kStatsPeriod{250};
constexpr seconds kStatsSpan{1};
constexpr std::int64_t kTooLate = 1000 * LivePacer::kMilli;
constexpr int kLateMeasurements = 8;  // two seconds

}  // namespace

Player::Impl::Impl(const std::string& signedAddress, const std::string& audioOutput,
                   PlayerCallbacks toCall)
    : callbacks(std::move(toCall)), address(signedAddress), pipeline(MakePipeline(kPipeline)) {
    if (pipeline == nullptr) {
        return;
    }
    Connect();
    view = std::make_unique<ViewBranch>(Find(pipeline, "tee").get());
    sound = std::make_unique<Sound>(audioOutput, [element = pipeline.get()] {
        TellEngine(element, gst_structure_new_empty(kSoundNews));
    });
}

void Player::Impl::Connect() {
    g_signal_connect(Find(pipeline, "demux").get(), "pad-added", G_CALLBACK(OnPad), this);
    g_signal_connect(Find(pipeline, "shown").get(), "handoff", G_CALLBACK(OnShown), this);
    const GstRef<GstElement> source = Find(pipeline, "source");
    const GstRef<GstPad> pad(gst_element_get_static_pad(source.get(), "src"));
    const auto kind = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER |
                                                   GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
    gst_pad_add_probe(pad.get(), kind, OnReceived, this, nullptr);
}

bool Player::Impl::Start() {
    if (pipeline == nullptr || finished) {
        return false;
    }
    const GstRef<GstElement> source = Find(pipeline, "source");
    GError* error = nullptr;
    if (gst_uri_handler_set_uri(GST_URI_HANDLER(source.get()), address.c_str(), &error) == FALSE) {
        syslog(esyslog_generic, kTag, __LINE__, "not an address of a stream: %s",
               WithoutSignatures(address).c_str());
        g_clear_error(&error);
        return false;
    }
    way = std::make_unique<ServerWay>(
        pipeline.get(), source.get(), [element = pipeline.get()](milliseconds took) {
            TellEngine(element, gst_structure_new(kConnectedNews, kTook, G_TYPE_INT,
                                                  static_cast<int>(took.count()), nullptr));
        });
    baseTime = gst_clock_get_time(clock.get());
    gst_element_set_start_time(pipeline.get(), GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline.get(), baseTime);
    bus =
        std::make_unique<BusWatch>(pipeline.get(), [weak = weak_from_this()](GstMessage* message) {
            if (const std::shared_ptr<Impl> self = weak.lock()) {
                self->OnMessage(message);
            }
        });
    limit.Once(kStartLimit, [weak = weak_from_this()] {
        if (const std::shared_ptr<Impl> self = weak.lock()) {
            self->Finish(&PlayerCallbacks::failed, std::string("nothing to play has come in time"));
        }
    });
    measuring.Every(kStatsPeriod, [weak = weak_from_this()] {
        if (const std::shared_ptr<Impl> self = weak.lock()) {
            self->Measure();
        }
    });
    sound->Start(baseTime);
    connecting =
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
    return connecting;
}

// A source that is stopped before the server has answered loses its socket for ever: its
// connection and the connection's event loop hold each other. So it may hear the answer first,
// and close its connection when there is nothing more to hear.
void Player::Impl::Leave() {
    left = true;
    finished = true;
    view.reset();
    measuring.Stop();
    if (connecting || closing) {
        const milliseconds wait = connecting ? kLeaveLimit : kCloseLimit;
        limit.Once(wait, [self = shared_from_this()] { self->Stop(); });
    } else {
        Stop();
    }
}

// Ends the streaming threads; nothing of this is called afterwards.
void Player::Impl::Stop() {
    finished = true;
    way.reset();
    bus.reset();
    limit.Stop();
    measuring.Stop();
    view.reset();
    if (pipeline != nullptr) {
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }
    sound.reset();
    pipeline.reset();
}

void Player::Impl::OnMessage(GstMessage* message) {
    const bool isNews = GST_MESSAGE_TYPE(message) == GST_MESSAGE_APPLICATION;
    const bool isError = GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR;
    const auto isNamed = [message](const char* name) {
        return gst_structure_has_name(gst_message_get_structure(message), name) != FALSE;
    };
    if (isError || (isNews && !isNamed(kConnectedNews))) {
        connecting = false;
    }
    closing = closing || isError || (isNews && isNamed(kEndNews));
    if (left && !connecting) {
        Leave();
    } else if (!finished && isError) {
        OnError(message);
    } else if (!finished && isNews) {
        OnNews(gst_message_get_structure(message));
    }
}

void Player::Impl::OnError(GstMessage* message) {
    const std::string text = ErrorText(message);
    switch (KindOfPlayError(text)) {
        case PlayError::notFound:
            Finish(&PlayerCallbacks::notFound, text);
            break;
        case PlayError::refused:
            Finish(&PlayerCallbacks::refused, text);
            break;
        case PlayError::other:
            Finish(&PlayerCallbacks::failed, text);
            break;
    }
}

void Player::Impl::OnNews(const GstStructure* news) {
    const auto isNamed = [news](const char* name) {
        return gst_structure_has_name(news, name) != FALSE;
    };
    if (isNamed(kConnectedNews)) {
        OnConnected(news);
    } else if (isNamed(kSizeNews)) {
        OnSize(news);
    } else if (isNamed(kPictureNews)) {
        OnPlaying();
    } else if (isNamed(kSoundNews)) {
        OnFirstSound();
    } else if (isNamed(kUnknownNews)) {
        Finish(&PlayerCallbacks::failed, std::string("the stream's video is not H.264"));
    } else if (isNamed(kEndNews)) {
        OnEnd();
    }
}

// The source also ends when the server takes the connection and then says nothing.
void Player::Impl::OnEnd() {
    if (bytes == 0) {
        Finish(&PlayerCallbacks::failed, std::string("the server does not answer"));
    } else {
        Finish(&PlayerCallbacks::ended);
    }
}

void Player::Impl::OnConnected(const GstStructure* news) const {
    int took = 0;
    gst_structure_get_int(news, kTook, &took);
    if (callbacks.connected) {
        callbacks.connected(milliseconds(took));
    }
}

void Player::Impl::OnSize(const GstStructure* news) const {
    int width = 0;
    int height = 0;
    gst_structure_get_int(news, "width", &width);
    gst_structure_get_int(news, "height", &height);
    if (callbacks.size) {
        callbacks.size(width, height);
    }
}

void Player::Impl::OnFirstSound() {
    if (playing || std::exchange(heard, true)) {
        return;
    }
    limit.Once(hasVideo ? kPictureWait : kTrackWait, [weak = weak_from_this()] {
        if (const std::shared_ptr<Impl> self = weak.lock()) {
            self->OnPlaying();
        }
    });
}

void Player::Impl::OnPlaying() {
    limit.Stop();
    if (!std::exchange(playing, true) && callbacks.playing) {
        callbacks.playing();
    }
}

// The last one of all callbacks.
template <class Callback, class... Args>
void Player::Impl::Finish(Callback PlayerCallbacks::*callback, const Args&... args) {
    finished = true;
    limit.Stop();
    if (callbacks.*callback) {
        (callbacks.*callback)(args...);
    }
}

void Player::Impl::Measure() {
    const steady_clock::time_point now = steady_clock::now();
    while (measured.size() > 1 && now - measured[1].when >= kStatsSpan) {
        measured.pop_front();
    }
    measured.push_back({now, shown.Count(), bytes});
    MeasureLateness();
}

// The last: the callback may destroy the player.
void Player::Impl::MeasureLateness() {
    late = playing && pacer.Behind() > kTooLate ? late + 1 : 0;
    if (late >= kLateMeasurements) {
        late = 0;
        if (callbacks.behind) {
            callbacks.behind();
        }
    }
}

Player::Stats Player::Impl::GetStats() const {
    Stats stats;
    stats.latencyMillis = shown.LatencyMillis();
    if (!measured.empty()) {
        const Measured& from = measured.front();
        const double span = std::chrono::duration<double>(steady_clock::now() - from.when).count();
        if (span > 0.1) {
            stats.fps = static_cast<double>(shown.Count() - from.pictures) / span;
            stats.bitrate =
                static_cast<unsigned>(static_cast<double>(bytes - from.bytes) * 8 / span);
        }
    }
    return stats;
}

Player::Player(const std::string& signedAddress, const std::string& audioOutput,
               PlayerCallbacks callbacks)
    : m_impl(std::make_shared<Impl>(signedAddress, audioOutput, std::move(callbacks))) {}

Player::~Player() {
    m_impl->Leave();
}

void Player::Prepare() {
    const GstRef<GstElement> unused = MakePipeline(kPipeline);
    Sound::Prepare();
}

bool Player::Start() {
    return m_impl->Start();
}

bool Player::SetWindow(unsigned long window) {
    return m_impl->view != nullptr && m_impl->view->SetWindow(window);
}

void Player::SetMode(ViewMode mode) {
    if (m_impl->view != nullptr) {
        m_impl->view->SetMode(mode);
    }
}

void Player::EnableSound(bool enable) {
    if (m_impl->sound != nullptr) {
        m_impl->sound->Enable(enable);
    }
}

bool Player::TakeRenderSnapshot(Snapshot& out) {
    return m_impl->shown.Last(out);
}

Player::Stats Player::GetStats() const {
    return m_impl->GetStats();
}

}  // namespace vaxoengine
