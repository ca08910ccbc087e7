#include "engine/source/FileSource.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <utility>

#include "engine/base/EngineLoop.h"
#include "engine/source/FileAddress.h"
#include "engine/source/PictureRate.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr std::chrono::milliseconds kShortestRound{200};
constexpr const char* kTracksKnown = "vaxo-tracks-known";
constexpr const char* kDecodeThreads = "2";

// The answers of "autoplug-select"; their type is private to the plug-in.
enum AutoplugAnswer { AutoplugTry = 0, AutoplugExpose = 1, AutoplugSkip = 2 };

// A branch of the pipeline. Made and removed on the engine's thread, linked on a streaming
// thread.
struct Track {
    SourceKind kind = SourceKind::Video;
    bool wished = false;
    GstElement* branch = nullptr;  // owned by the pipeline
    std::atomic<bool> linked{false};
    bool reportedMissing = false;
};

bool IsRaw(GstPad* pad, const char* prefix) {
    GstCaps* caps = gst_pad_get_current_caps(pad);
    if (caps == nullptr) {
        caps = gst_pad_query_caps(pad, nullptr);
    }
    const bool is =
        gst_caps_get_size(caps) > 0 &&
        g_str_has_prefix(gst_structure_get_name(gst_caps_get_structure(caps, 0)), prefix) != FALSE;
    gst_caps_unref(caps);
    return is;
}

// Decoders have as many threads as the machine has cores, unless told otherwise.
void LimitThreads(GstBin* /*bin*/, GstBin* /*parent*/, GstElement* element, gpointer /*unused*/) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    if (factory == nullptr ||
        gst_element_factory_list_is_type(factory, GST_ELEMENT_FACTORY_TYPE_DECODER) == FALSE) {
        return;
    }
    for (const char* const name : {"max-threads", "threads", "n-threads"}) {
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr) {
            gst_util_set_object_arg(G_OBJECT(element), name, kDecodeThreads);
        }
    }
}

class FilePart : public SourcePart {
public:
    FilePart(const FileWish& wish, const SourceFormat& format, std::shared_ptr<SampleGate> gate,
             std::function<void(SourceKind)> onMissing, TroubleHandler onTrouble)
        : m_path(wish.path),
          m_format(format),
          m_gate(std::move(gate)),
          m_onMissing(std::move(onMissing)),
          m_onTrouble(std::move(onTrouble)) {
        m_video.kind = SourceKind::Video;
        m_video.wished = wish.video;
        m_audio.kind = SourceKind::Audio;
        m_audio.wished = wish.audio;
    }

    ~FilePart() override { TakeDown(); }
    FilePart(const FilePart&) = delete;
    FilePart& operator=(const FilePart&) = delete;

    bool Start() override { return Build() && Play(); }

private:
    bool Build();
    bool AddBranch(Track& track, const char* name);
    bool Play();
    void TakeDown();
    void OnMessage(GstMessage* message);
    void OnTracksKnown();
    void DropTrack(Track& track);
    void OnEnd();
    void NextRound();
    void Rebuild();
    unsigned Count() const;

    static void OnPad(GstElement* decoder, GstPad* pad, gpointer self);
    static void OnNoMorePads(GstElement* decoder, gpointer self);
    static gint OnSelect(GstElement* decoder, GstPad* pad, GstCaps* caps,
                         GstElementFactory* factory, gpointer self);
    static void Link(Track& track, GstPad* pad);

    const std::string m_path;
    const SourceFormat m_format;
    const std::shared_ptr<SampleGate> m_gate;
    const std::function<void(SourceKind)> m_onMissing;
    const TroubleHandler m_onTrouble;
    Track m_video;
    Track m_audio;
    std::atomic<bool> m_anyTrack{false};  // of any kind, wished or not
    GstRef<GstElement> m_pipeline;
    std::unique_ptr<BusWatch> m_watch;
    EngineTimer m_timer;
    std::chrono::steady_clock::time_point m_roundBegan;
    unsigned m_countBefore = 0;  // samples when the round began
    bool m_bySeek = false;       // how the round began
    bool m_seekWorks = true;
};

bool FilePart::Build() {
    // As a bin, because one element alone would not become a pipeline.
    m_pipeline = MakePipeline("pipeline.( uridecodebin name=decoder )");
    if (m_pipeline == nullptr || (m_video.wished && !AddBranch(m_video, "video")) ||
        (m_audio.wished && !AddBranch(m_audio, "audio"))) {
        return false;
    }
    const GstRef<GstElement> decoder = Find(m_pipeline, "decoder");
    g_object_set(decoder.get(), "uri", AddressOfFile(m_path).c_str(), nullptr);
    g_signal_connect(decoder.get(), "pad-added", G_CALLBACK(OnPad), this);
    g_signal_connect(decoder.get(), "no-more-pads", G_CALLBACK(OnNoMorePads), this);
    g_signal_connect(decoder.get(), "autoplug-select", G_CALLBACK(OnSelect), this);
    g_signal_connect(m_pipeline.get(), "deep-element-added", G_CALLBACK(LimitThreads), nullptr);
    m_watch = std::make_unique<BusWatch>(m_pipeline.get(),
                                         [this](GstMessage* message) { OnMessage(message); });
    return true;
}

bool FilePart::AddBranch(Track& track, const char* name) {
    GError* error = nullptr;
    GstElement* const branch = gst_parse_bin_from_description(
        BranchText(track.kind, m_format, name, true).c_str(), TRUE, &error);
    if (error != nullptr) {
        syslog(esyslog_error, kTag, __LINE__, "cannot build a branch: %s", error->message);
        g_error_free(error);
    }
    if (branch == nullptr) {
        return false;
    }
    gst_bin_add(GST_BIN(m_pipeline.get()), branch);
    track.branch = branch;
    track.linked = false;
    if (track.kind == SourceKind::Video) {
        LimitPictureRate(m_pipeline, kRateLimit, m_format.fps);
    }
    ConnectSink(m_pipeline, name, track.kind, m_gate);
    return true;
}

bool FilePart::Play() {
    m_roundBegan = std::chrono::steady_clock::now();
    m_countBefore = Count();
    m_bySeek = false;
    return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

void FilePart::TakeDown() {
    m_timer.Stop();
    m_watch.reset();
    if (m_pipeline != nullptr) {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
        m_pipeline.reset();
    }
    m_video.branch = nullptr;
    m_audio.branch = nullptr;
}

void FilePart::OnPad(GstElement* /*decoder*/, GstPad* pad, gpointer self) {
    auto* const part = static_cast<FilePart*>(self);
    part->m_anyTrack = true;
    if (IsRaw(pad, "video/x-raw")) {
        Link(part->m_video, pad);
    } else if (IsRaw(pad, "audio/x-raw")) {
        Link(part->m_audio, pad);
    }
}

void FilePart::Link(Track& track, GstPad* pad) {
    if (!track.wished || track.linked) {
        return;
    }
    GstPad* const sink = gst_element_get_static_pad(track.branch, "sink");
    track.linked = gst_pad_link(pad, sink) == GST_PAD_LINK_OK;
    gst_object_unref(sink);
}

void FilePart::OnNoMorePads(GstElement* decoder, gpointer /*self*/) {
    gst_element_post_message(
        decoder,
        gst_message_new_application(GST_OBJECT(decoder), gst_structure_new_empty(kTracksKnown)));
}

gint FilePart::OnSelect(GstElement* /*decoder*/, GstPad* /*pad*/, GstCaps* /*caps*/,
                        GstElementFactory* factory, gpointer self) {
    const auto* const part = static_cast<FilePart*>(self);
    const char* const kind = gst_element_factory_get_metadata(factory, GST_ELEMENT_METADATA_KLASS);
    // Those follow addresses that stand in the file.
    if (kind == nullptr || std::strstr(kind, "Adaptive") != nullptr ||
        std::strstr(kind, "Network") != nullptr) {
        return AutoplugSkip;
    }
    const auto is = [factory](GstElementFactoryListType type) {
        return gst_element_factory_list_is_type(factory, type) != FALSE;
    };
    if (!is(GST_ELEMENT_FACTORY_TYPE_DECODER)) {
        return AutoplugTry;
    }
    // Nobody decodes what nobody wants.
    if ((is(GST_ELEMENT_FACTORY_TYPE_MEDIA_VIDEO) && !part->m_video.wished) ||
        (is(GST_ELEMENT_FACTORY_TYPE_MEDIA_AUDIO) && !part->m_audio.wished)) {
        return AutoplugExpose;
    }
    // Pictures in a graphics card's memory could not be converted here.
    return is(GST_ELEMENT_FACTORY_TYPE_HARDWARE) ? AutoplugSkip : AutoplugTry;
}

void FilePart::OnMessage(GstMessage* message) {
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR:
            m_onTrouble(ErrorText(message));
            break;
        case GST_MESSAGE_EOS:
            OnEnd();
            break;
        case GST_MESSAGE_APPLICATION:
            if (gst_message_has_name(message, kTracksKnown) != FALSE) {
                OnTracksKnown();
            }
            break;
        default:
            break;
    }
}

void FilePart::OnTracksKnown() {
    if (!m_anyTrack) {
        m_onTrouble("nothing in the file can be decoded");
        return;
    }
    DropTrack(m_video);
    DropTrack(m_audio);
    if (m_video.branch == nullptr && m_audio.branch == nullptr) {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
}

// A branch that gets no data would keep the pipeline from starting.
void FilePart::DropTrack(Track& track) {
    if (track.branch == nullptr || track.linked) {
        return;
    }
    gst_object_ref(track.branch);
    gst_bin_remove(GST_BIN(m_pipeline.get()), track.branch);
    gst_element_set_state(track.branch, GST_STATE_NULL);
    gst_object_unref(track.branch);
    track.branch = nullptr;
    if (!std::exchange(track.reportedMissing, true)) {
        m_onMissing(track.kind);
    }
}

void FilePart::OnEnd() {
    const bool gaveNothing = Count() == m_countBefore;
    if (gaveNothing && !m_bySeek) {
        m_onTrouble("nothing in the file can be played");
        return;
    }
    m_seekWorks = m_seekWorks && !gaveNothing;
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - m_roundBegan);
    // Never inside the message's own delivery: a rebuild destroys what delivers it.
    m_timer.Once(took < kShortestRound ? kShortestRound - took : std::chrono::milliseconds(0),
                 [this] { NextRound(); });
}

// A flushing seek makes the pipeline choose a new base time, so that stamps go on from now.
void FilePart::NextRound() {
    if (m_seekWorks && gst_element_seek_simple(m_pipeline.get(), GST_FORMAT_TIME,
                                               GST_SEEK_FLAG_FLUSH, 0) != FALSE) {
        m_roundBegan = std::chrono::steady_clock::now();
        m_countBefore = Count();
        m_bySeek = true;
        return;
    }
    m_seekWorks = false;
    Rebuild();
}

void FilePart::Rebuild() {
    TakeDown();
    if (!Build() || !Play()) {
        m_onTrouble("the file could not be started again");
    }
}

// Samples of its own tracks: other parts use the gate too.
unsigned FilePart::Count() const {
    return (m_video.branch != nullptr ? m_gate->Count(SourceKind::Video) : 0) +
           (m_audio.branch != nullptr ? m_gate->Count(SourceKind::Audio) : 0);
}

}  // namespace

std::unique_ptr<SourcePart> MakeFilePart(const FileWish& wish, const SourceFormat& format,
                                         std::shared_ptr<SampleGate> gate,
                                         std::function<void(SourceKind)> onMissing,
                                         TroubleHandler onTrouble) {
    return std::make_unique<FilePart>(wish, format, std::move(gate), std::move(onMissing),
                                      std::move(onTrouble));
}

}  // namespace vaxoengine
