#include "engine/output/Output.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include <gst/app/gstappsrc.h>

#include "engine/base/EngineLoop.h"
#include "engine/base/GstRef.h"
#include "engine/base/ServerWay.h"
#include "engine/output/SendBacklog.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

// A queue longer than this means that the network does not keep up: what comes is left out
// until it has drained, and pictures begin again with a key frame.
constexpr GstClockTime kMaxQueued = 2 * GST_SECOND;
// The sink passes over headers, and keeps the first media until the server has said yes. The
// media after it show that it has.
constexpr int kMediaThatShowIt = 2;

// How long the server may take to take its leave, and whoever waits for the name with it.
constexpr std::chrono::milliseconds kFarewellLimit{900};
constexpr std::chrono::milliseconds kLastWords{60};
// A sink that is stopped before its connection was made, or while it closes one that failed,
// loses the socket for ever. So it stays this long, when nobody waits for it any more.
constexpr std::chrono::milliseconds kConnectLimit{10000};
constexpr std::chrono::milliseconds kCloseLimit{1000};

// The multiplexer waits at most this long for the slower of sound and picture. Sound leaves
// the encoder 40 to 70 ms after it was heard, on a machine that is busy later; what comes
// later than the wait gets the time stamp of the packet before it.
constexpr const char* kPipeline =
    "flvmux name=mux streamable=true latency=1000000000 "
    "! rtmp2sink name=sink async-connect=true sync=false "
    "appsrc name=video is-live=true format=time max-bytes=0 max-buffers=0 ! mux.video "
    "appsrc name=audio is-live=true format=time max-bytes=0 max-buffers=0 ! mux.audio";

// One way into the pipeline. Any thread; streaming threads push, the engine's thread closes.
class Inlet {
public:
    void Open(GstRef<GstElement> source, GstClockTime start) {
        m_source = std::move(source);
        m_start = start;
    }

    void Push(GstSample* sample, bool needsKeyFrame) {
        const GstSampleRef owned(sample);
        GstBuffer* const buffer = gst_sample_get_buffer(sample);
        if (buffer == nullptr || !GST_BUFFER_PTS_IS_VALID(buffer) ||
            GST_BUFFER_PTS(buffer) < m_start || !MayPass(buffer, needsKeyFrame)) {
            return;
        }
        GstBuffer* const shifted = gst_buffer_copy(buffer);  // of its record, not of its bytes
        GST_BUFFER_PTS(shifted) -= m_start;
        if (GST_BUFFER_DTS_IS_VALID(shifted)) {
            GST_BUFFER_DTS(shifted) -= MIN(m_start, GST_BUFFER_DTS(shifted));
        }
        GstCaps* const caps = gst_sample_get_caps(sample);
        const std::lock_guard<std::mutex> hold(m_lock);
        if (!SameCaps(m_caps.get(), caps)) {
            m_caps.reset(gst_caps_ref(caps));
            gst_app_src_set_caps(GST_APP_SRC(m_source.get()), caps);
        }
        gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), shifted);
    }

    std::chrono::milliseconds Queued() const {
        const GstClockTime level =
            m_source ? gst_app_src_get_current_level_time(GST_APP_SRC(m_source.get())) : 0;
        return std::chrono::milliseconds(level / GST_MSECOND);
    }

    void End() {
        if (m_source) {
            gst_app_src_end_of_stream(GST_APP_SRC(m_source.get()));
        }
    }

private:
    static bool SameCaps(GstCaps* one, GstCaps* other) {
        return one == other ||
               (one != nullptr && other != nullptr && gst_caps_is_equal(one, other) != FALSE);
    }

    bool MayPass(GstBuffer* buffer, bool needsKeyFrame) {
        const std::lock_guard<std::mutex> hold(m_lock);
        if (gst_app_src_get_current_level_time(GST_APP_SRC(m_source.get())) > kMaxQueued) {
            m_waiting = true;
        }
        const bool mayBegin =
            !needsKeyFrame || !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
        if (m_waiting && mayBegin &&
            gst_app_src_get_current_level_time(GST_APP_SRC(m_source.get())) <= kMaxQueued / 4) {
            m_waiting = false;
        }
        return !m_waiting;
    }

    std::mutex m_lock;  // guards the caps and whether it waits
    GstRef<GstElement> m_source;
    GstCapsRef m_caps;
    GstClockTime m_start = 0;
    bool m_waiting = true;  // for a buffer to begin with
};

}  // namespace

struct Output::Impl : std::enable_shared_from_this<Impl> {
    std::string address;
    GstClockTime captureBase = 0;
    Callback onEvent;  // engine's thread; empty once closed or finished
    GstRef<GstElement> pipeline;
    std::unique_ptr<BusWatch> watch;
    Inlet video;
    Inlet audio;
    std::atomic<bool> open{false};
    std::atomic<int> atSink{0};
    std::atomic<unsigned long long> bytes{0};
    bool flowing = false;
    std::unique_ptr<SendBacklog> backlog;
    std::unique_ptr<ServerWay> way;

    static GstPadProbeReturn AtSink(GstPad* pad, GstPadProbeInfo* info, gpointer impl);
    bool Start();
    void CountAtSink();
    void OnMessage(GstMessage* message);
    void OnError(GstMessage* message);
    void Finish(OutputEvent event, const std::string& reason);
    void SayGoodBye(std::function<void()> whenClosed);
    void OnFarewell(GstMessage* message);
    void TellClosed();
    void DropAfter(std::chrono::milliseconds wait);
    void Drop();
    Flow GetFlow() const;
    unsigned long long Written() const;

    EngineTimer farewell;
    std::function<void()> closed;
    std::shared_ptr<Impl> kept;  // while it says good-bye
};

GstPadProbeReturn Output::Impl::AtSink(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer impl) {
    auto* const output = static_cast<Impl*>(impl);
    GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    output->bytes += gst_buffer_get_size(buffer);
    if (!GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_HEADER)) {
        output->CountAtSink();
    }
    return GST_PAD_PROBE_OK;
}

bool Output::Impl::Start() {
    pipeline = MakePipeline(kPipeline);
    if (!pipeline) {
        return false;
    }
    GstClock* const clock = gst_pipeline_get_clock(GST_PIPELINE(pipeline.get()));
    const GstClockTime base = gst_clock_get_time(clock);
    gst_object_unref(clock);
    // Time begins at 0 for the server, however long the capture has been running.
    const GstClockTime start = base > captureBase ? base - captureBase : 0;
    gst_element_set_start_time(pipeline.get(), GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline.get(), base);
    video.Open(Find(pipeline, "video"), start);
    audio.Open(Find(pipeline, "audio"), start);
    const GstRef<GstElement> sink = Find(pipeline, "sink");
    g_object_set(sink.get(), "location", address.c_str(), nullptr);
    const GstRef<GstPad> pad(gst_element_get_static_pad(sink.get(), "sink"));
    // The pipeline is stopped before this object goes, so the probe may know it plainly.
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, AtSink, this, nullptr);
    way = std::make_unique<ServerWay>(pipeline.get(), sink.get());
    guint port = 0;
    g_object_get(sink.get(), "port", &port, nullptr);
    backlog = std::make_unique<SendBacklog>(static_cast<unsigned short>(port));
    watch = std::make_unique<BusWatch>(pipeline.get(),
                                       [this](GstMessage* message) { OnMessage(message); });
    open = true;
    return gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

// A streaming thread.
void Output::Impl::CountAtSink() {
    if (++atSink != kMediaThatShowIt) {
        return;
    }
    EngineLoop::Shared().Post([weak = weak_from_this()] {
        const std::shared_ptr<Impl> self = weak.lock();
        if (self && self->onEvent) {
            self->flowing = true;
            const Callback call = self->onEvent;
            call(OutputEvent::Flowing, "");
        }
    });
}

void Output::Impl::OnMessage(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        OnError(message);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        Finish(flowing ? OutputEvent::Broken : OutputEvent::Unreachable, "end of stream");
    }
}

void Output::Impl::OnError(GstMessage* message) {
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    const bool refused = error != nullptr && error->domain == GST_RESOURCE_ERROR &&
                         error->code == GST_RESOURCE_ERROR_NOT_AUTHORIZED;
    const std::string text = ErrorText(message);
    g_clear_error(&error);
    // The server closes on a signature it does not like, and says when the name is in use.
    const bool told = text.find("'publish' cmd failed") != std::string::npos ||
                      text.find("publish denied") != std::string::npos;
    if (flowing) {
        Finish(OutputEvent::Broken, text);
    } else {
        Finish(refused || told ? OutputEvent::Refused : OutputEvent::Unreachable, text);
    }
}

void Output::Impl::Finish(OutputEvent event, const std::string& reason) {
    open = false;
    const Callback call = std::exchange(onEvent, nullptr);
    if (call) {
        call(event, reason);
    }
}

void Output::Impl::SayGoodBye(std::function<void()> whenClosed) {
    const bool broken = !onEvent;  // its end was reported: there is nobody to talk to
    open = false;
    onEvent = nullptr;
    watch.reset();
    closed = std::move(whenClosed);
    kept = shared_from_this();
    if (!pipeline) {
        Drop();
    } else if (broken) {
        TellClosed();
        DropAfter(kCloseLimit);
    } else {
        watch = std::make_unique<BusWatch>(pipeline.get(),
                                           [this](GstMessage* message) { OnFarewell(message); });
        farewell.Once(kFarewellLimit, [this] {
            TellClosed();
            DropAfter(flowing ? kCloseLimit : kConnectLimit);
        });
        video.End();
        audio.End();
    }
}

void Output::Impl::OnFarewell(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        TellClosed();
        DropAfter(kCloseLimit);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        // The last words are on their way: a connection closed in the middle of a write
        // would never be given back.
        DropAfter(kLastWords);
    }
}

void Output::Impl::TellClosed() {
    const std::function<void()> call = std::exchange(closed, nullptr);
    if (call) {
        call();
    }
}

void Output::Impl::DropAfter(std::chrono::milliseconds wait) {
    farewell.Once(wait, [this] { Drop(); });
}

void Output::Impl::Drop() {
    farewell.Stop();
    watch.reset();
    if (pipeline) {
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }
    const std::shared_ptr<Impl> last = std::exchange(kept, nullptr);
    TellClosed();
}

// Bytes that were given to the connection.
unsigned long long Output::Impl::Written() const {
    GstStructure* stats = nullptr;
    g_object_get(Find(pipeline, "sink").get(), "stats", &stats, nullptr);
    guint64 written = 0;
    if (stats != nullptr) {
        gst_structure_get_uint64(stats, "out-bytes-total", &written);
        gst_structure_free(stats);
    }
    return written;
}

Flow Output::Impl::GetFlow() const {
    Flow flow;
    if (!open || !backlog) {
        return flow;
    }
    flow.queued = video.Queued();
    flow.arrived = Written();
    if (const std::optional<SendBacklog::Reading> reading = backlog->Read(flow.arrived)) {
        flow.late = std::chrono::duration_cast<std::chrono::milliseconds>(reading->late);
        flow.unsent = reading->unsent;
        flow.arrived -= std::min<unsigned long long>(flow.arrived, reading->unacknowledged);
    }
    return flow;
}

Output::Output(const std::string& signedAddress, GstClockTime baseTime, Callback onEvent)
    : m_impl(std::make_shared<Impl>()) {
    m_impl->address = signedAddress;
    m_impl->captureBase = baseTime;
    m_impl->onEvent = std::move(onEvent);
}

Output::~Output() {
    if (m_impl) {
        m_impl->SayGoodBye({});
    }
}

void Output::Close(std::unique_ptr<Output> output, std::function<void()> closed) {
    const std::shared_ptr<Impl> impl = std::move(output->m_impl);
    output.reset();
    impl->SayGoodBye(std::move(closed));
}

bool Output::Start() {
    return m_impl->Start();
}

void Output::PushVideo(GstSample* sample) {
    if (m_impl->open) {
        m_impl->video.Push(sample, true);
    } else {
        gst_sample_unref(sample);
    }
}

void Output::PushAudio(GstSample* sample) {
    if (m_impl->open) {
        m_impl->audio.Push(sample, false);
    } else {
        gst_sample_unref(sample);
    }
}

Flow Output::GetFlow() const {
    return m_impl->GetFlow();
}

unsigned long long Output::BytesSent() const {
    return m_impl->bytes;
}

}  // namespace vaxoengine
