#include "engine/source/MediaSource.h"

#include <utility>
#include <vector>

#include "engine/base/EngineLoop.h"
#include "engine/source/FileAddress.h"
#include "engine/source/FileSource.h"
#include "engine/source/SourcePipelines.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr int kMinSide = 16;
constexpr int kMaxSide = 4096;
constexpr int kMaxFps = 120;

bool IsFileAddress(const std::string& device) {
    return device.compare(0, 5, "file:") == 0;
}

bool IsUsable(const SourceFormat& format) {
    const auto side = [](int value) { return value >= kMinSide && value <= kMaxSide; };
    return side(format.width) && side(format.height) && format.fps >= 1 && format.fps <= kMaxFps;
}

}  // namespace

const char* const kTestPicture = "test:picture";
const char* const kTestTone = "test:tone";
const char* const kBlack = "none:black";
const char* const kSilence = "none:silence";

struct MediaSource::Impl : std::enable_shared_from_this<MediaSource::Impl> {
    bool Start(GstClockTime baseTime);
    void Stop();
    bool StartFiles();
    bool StartFile(const FileWish& wish);
    bool StartLive(SourceKind kind, const std::string& device);
    bool Add(std::unique_ptr<SourcePart> part);
    void OnMissing(SourceKind kind);
    TroubleHandler Trouble();
    void Tell(const std::string& text);

    std::string videoDevice;
    std::string audioDevice;
    SourceFormat format;
    SourceSinks sinks;
    std::function<void(const std::string&)> onTrouble;
    std::shared_ptr<SampleGate> gate;
    std::vector<std::unique_ptr<SourcePart>> parts;
};

bool MediaSource::Impl::Start(GstClockTime baseTime) {
    if (gate != nullptr || !IsUsable(format)) {
        syslog(esyslog_error, kTag, __LINE__, "a source of %dx%d at %d cannot be started",
               format.width, format.height, format.fps);
        return false;
    }
    gate = std::make_shared<SampleGate>(sinks, baseTime, format.fps);
    const bool video = !videoDevice.empty() && !IsFileAddress(videoDevice);
    const bool audio = !audioDevice.empty() && !IsFileAddress(audioDevice);
    if (StartFiles() && (!video || StartLive(SourceKind::Video, videoDevice)) &&
        (!audio || StartLive(SourceKind::Audio, audioDevice))) {
        return true;
    }
    onTrouble = nullptr;
    Stop();
    return false;
}

bool MediaSource::Impl::StartFiles() {
    FileWish video;
    FileWish audio;
    if (IsFileAddress(videoDevice)) {
        video = {ReadableFile(videoDevice), true, false};
    }
    if (IsFileAddress(audioDevice)) {
        audio = {ReadableFile(audioDevice), false, true};
    }
    if (video.video && audio.audio && video.path == audio.path) {
        video.audio = true;
        audio.audio = false;
    }
    return (!video.video || StartFile(video)) && (!audio.audio || StartFile(audio));
}

bool MediaSource::Impl::StartFile(const FileWish& wish) {
    if (wish.path.empty()) {
        syslog(esyslog_error, kTag, __LINE__, "%s", "not a file that can be read");
        return false;
    }
    return Add(MakeFilePart(
        wish, format, gate, [this](SourceKind kind) { OnMissing(kind); }, Trouble()));
}

bool MediaSource::Impl::StartLive(SourceKind kind, const std::string& device) {
    return Add(MakeLivePart(kind, device, format, gate, Trouble()));
}

bool MediaSource::Impl::Add(std::unique_ptr<SourcePart> part) {
    if (!part->Start()) {
        syslog(esyslog_error, kTag, __LINE__, "%s", "a source does not start");
        return false;
    }
    parts.push_back(std::move(part));
    return true;
}

void MediaSource::Impl::OnMissing(SourceKind kind) {
    const bool video = kind == SourceKind::Video;
    syslog(esyslog_generic, kTag, __LINE__, "the file has no %s", video ? "pictures" : "sound");
    if (!StartLive(kind, video ? kBlack : kSilence)) {
        Trouble()("no replacement for a missing track");
    }
}

// By way of the loop: the owner may destroy everything, and whoever reports has returned
// by then.
TroubleHandler MediaSource::Impl::Trouble() {
    return [weak = weak_from_this()](const std::string& text) {
        EngineLoop::Shared().Post([weak, text] {
            if (const auto impl = weak.lock()) {
                impl->Tell(text);
            }
        });
    };
}

void MediaSource::Impl::Tell(const std::string& text) {
    const auto tell = std::exchange(onTrouble, nullptr);
    if (tell) {
        syslog(esyslog_warning, kTag, __LINE__, "a source fails: %s", text.c_str());
        tell(text);
    }
}

void MediaSource::Impl::Stop() {
    if (gate != nullptr) {
        gate->Close();
    }
    parts.clear();
}

MediaSource::MediaSource(std::string videoDevice, std::string audioDevice, SourceFormat format,
                         SourceSinks sinks, std::function<void(const std::string&)> onTrouble)
    : m_impl(std::make_shared<Impl>()) {
    m_impl->videoDevice = std::move(videoDevice);
    m_impl->audioDevice = std::move(audioDevice);
    m_impl->format = format;
    m_impl->sinks = std::move(sinks);
    m_impl->onTrouble = std::move(onTrouble);
}

MediaSource::~MediaSource() {
    // Whoever is reporting trouble right now holds the rest for a moment longer.
    m_impl->onTrouble = nullptr;
    m_impl->Stop();
}

bool MediaSource::Start(GstClockTime baseTime) {
    return m_impl->Start(baseTime);
}

}  // namespace vaxoengine
