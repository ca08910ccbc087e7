// An engine, an HTTP connection and statistics for tests of the command line: they do what
// the environment variable VAXO_FAKE says, "name=value;name=value", and write every call
// into the file VAXO_FAKE_JOURNAL, one a line. All events come from inside the calls.
//
//   streams=a,b     listed on entry          added=c, gone=a   change right after
//   entry=5         the error of the entry; never: no answer; refuse: the call fails;
//                   late: an answer when there is a file like the journal's with ".go"
//   publish=3       the state of the answer; never; ends: begins, and is over at once; late
//   play=6          the state of the answer; never; ends; late
//   picture=none    no snapshot ever comes   logout=never      no answer
//   upload=failed   what the log says about it; never, refuse; again: done at the second
//                   attempt; whole: done, with the file's own length; full: no room, ever
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "VaxoLiveImage.h"
#include "VaxoLiveStats.h"
#include "base/VaxoAppSetting.h"
#include "connection/VaxoAVConnHttp.h"
#include "live/VaxoLiveShow.h"
#include "vaxolog.h"

namespace {

std::string Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::vector<std::string> Split(const std::string& text, char between) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, between);) {
        parts.push_back(part);
    }
    return parts;
}

std::string Script(const std::string& name) {
    for (const std::string& entry : Split(Environment("VAXO_FAKE"), ';')) {
        if (entry.compare(0, name.size() + 1, name + "=") == 0) {
            return entry.substr(name.size() + 1);
        }
    }
    return "";
}

std::string Say(const vaxo::strutf8& text) {
    return text.size() == 0 ? "" : std::string(text.c_str(), text.size());
}
std::string Say(const std::shared_ptr<int>& view) {
    return view ? std::to_string(*view) : "none";
}
std::string Say(const std::shared_ptr<vaxo::strutf8>& text) {
    return text ? Say(*text) : "none";
}
std::string Say(bool value) {
    return value ? "on" : "off";
}
std::string Say(int value) {
    return std::to_string(value);
}
std::string Say(unsigned int value) {
    return std::to_string(value);
}

template <class... Values>
int Note(const char* call, const Values&... values) {
    const std::string path = Environment("VAXO_FAKE_JOURNAL");
    if (!path.empty()) {
        std::string line = call;
        ((line += " " + Say(values)), ...);
        std::ofstream(path, std::ios::app) << line << '\n';
    }
    return 0;
}

void AwaitGate(const std::string& answer) {
    const std::string gate = Environment("VAXO_FAKE_JOURNAL") + ".go";
    for (int i = 0; i < 3000 && answer == "late" && !std::filesystem::exists(gate); ++i) {
        ::usleep(10000);
    }
}

Strova::VaxoLiveStream Stream(const std::string& id) {
    Strova::VaxoLiveStream stream;
    stream.streamID = vaxo::strutf8(id.data(), static_cast<uint32>(id.size()));
    stream.userID = "ann";
    stream.userName = "Ann \x1b[31m";  // a name that would colour a terminal
    stream.title = "say \"hi\"";
    stream.rtmpURLs.push_back("rtmp://host/live/42_a?id=42&sig=SECRETSIGNATURE");
    stream.hlsURLs.push_back("http://host/hls/42.ann.9.SECRETTOKEN/42_a/index.m3u8");
    stream.status = 1;
    return stream;
}

}  // namespace

namespace Strova {

struct CVaxoLiveShow::Impl {
    std::weak_ptr<IVaxoLiveCallback> callback;
    vaxo::strutf8 publishing;

    std::shared_ptr<IVaxoLiveCallback> App() const { return callback.lock(); }
    void Streams(const char* name, VaxoAVStreamUpdateFlag flag) const {
        for (const std::string& id : Split(Script(name), ',')) {
            App()->OnStreamUpdate(Stream(id), flag);
        }
    }
    // Hands a picture of colour bars to `deliver`.
    template <class Deliver>
    void Snapshot(Deliver deliver) const {
        constexpr int kWidth = 64;
        constexpr int kHeight = 36;
        constexpr int kStride = kWidth * 4 + 12;
        if (Script("picture") == "none") {
            return;
        }
        std::vector<unsigned char> pixels(kStride * kHeight, 255);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            if (i % kStride % 4 != 3) {
                pixels[i] = static_cast<unsigned char>(i % kStride / 32 * 30);
            }
        }
        VaxoLiveImage image{sizeof(VaxoLiveImage), kWidth,        kHeight, kStride,
                            VaxoLiveImage_RGBA,    pixels.data(), 0};
        deliver(*App(), &image);
    }
};

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(new Impl) {}
CVaxoLiveShow::~CVaxoLiveShow() = default;

int CVaxoLiveShow::SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) {
    return Note("SetView", pView, dwChannelIndex);
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int> view) {
    return Note("SetPreviewView", view);
}
int CVaxoLiveShow::SetViewMode(int mode, unsigned int) {
    return Note("SetViewMode", mode);
}
int CVaxoLiveShow::SetPreviewViewMode(int mode) {
    return Note("SetPreviewViewMode", mode);
}
int CVaxoLiveShow::StartPreview() {
    return Note("StartPreview");
}
int CVaxoLiveShow::StopPreview() {
    return Note("StopPreview");
}
int CVaxoLiveShow::SetVideoBitrate(int bitrate) {
    return Note("SetVideoBitrate", bitrate);
}
int CVaxoLiveShow::SetVideoFPS(int fps) {
    return Note("SetVideoFPS", fps);
}
int CVaxoLiveShow::SetVideoResolution(int width, int height) {
    return Note("SetVideoResolution", width, height);
}
int CVaxoLiveShow::SetFrontCam(int bFront) {
    return Note("SetFrontCam", bFront);
}
int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) {
    outDeviceList.set("test:picture", "Test picture");
    return 0;
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) {
    return Note("SetVideoCaptureDeviceId", strDeviceId);
}
int CVaxoLiveShow::GetAudioDeviceList(int deviceType,
                                      vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) {
    outListDevice.set(deviceType == 0 ? "test:tone" : "none:sink", "Built in");
    return 0;
}
int CVaxoLiveShow::SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) {
    return Note("SetAudioDevice", deviceType, deviceID);
}
int CVaxoLiveShow::EnableMic(bool bEnable) {
    return Note("EnableMic", bEnable);
}
int CVaxoLiveShow::EnableCam(bool bEnable) {
    return Note("EnableCam", bEnable);
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool bOn) {
    return Note("SetSpeakerPhoneOn", bOn);
}
int CVaxoLiveShow::EnableSpk(bool bEnable) {
    return Note("EnableSpk", bEnable);
}
int CVaxoLiveShow::EnableTorch(bool bEnable) {
    return Note("EnableTorch", bEnable);
}
int CVaxoLiveShow::EnableBeautifying(int nFeature) {
    return Note("EnableBeautifying", nFeature);
}
int CVaxoLiveShow::SetFilter(int nIndex) {
    return Note("SetFilter", nIndex);
}
int CVaxoLiveShow::SetCaptureRotation(int nRotation) {
    return Note("SetCaptureRotation", nRotation);
}
int CVaxoLiveShow::TakeSnapshotPreview() {
    m_pImpl->Snapshot([](IVaxoLiveCallback& app, void* image) { app.OnPreviewSnapshot(image); });
    return Note("TakeSnapshotPreview");
}
int CVaxoLiveShow::TakeSnapshotRender(int nChannelIdx) {
    m_pImpl->Snapshot([nChannelIdx](IVaxoLiveCallback& app, void* image) {
        app.OnRenderSnapshot(image, nChannelIdx);
    });
    return Note("TakeSnapshotRender", nChannelIdx);
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback*) {
    return 0;
}
int CVaxoLiveShow::EnableAux(bool) {
    return 0;
}

int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream sign) {
    CVaxoAppSetting::SharedInstance()->SetAppID(dwAppID);
    CVaxoAppSetting::SharedInstance()->SetAppSign(sign);
    return Note("Init", dwAppID, sign.size());
}
int CVaxoLiveShow::Uninit() {
    return Note("Uninit");
}
int CVaxoLiveShow::UploadLog() {
    return -1;
}
int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    m_pImpl->callback = callback;
    return 0;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                   vaxo::strutf8 liveChn) {
    Note("StartPublishing", title, streamID, liveChn);
    m_pImpl->publishing = streamID;
    const std::string answer = Script("publish");
    AwaitGate(answer);
    if (answer != "never") {
        m_pImpl->App()->OnPublishStateUpdate(
            static_cast<Mediq::VaxoAVState>(std::atoi(answer.c_str())), streamID);
    }
    if (answer == "ends") {
        m_pImpl->App()->OnPublishStateUpdate(Mediq::FatalError, streamID);
    }
    return 0;
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return "room";
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return m_pImpl->publishing;
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return "rtmp://host/live/42_a?id=42&sig=SECRETSIGNATURE";
}
int CVaxoLiveShow::StopPublishing() {
    m_pImpl->App()->OnPublishStateUpdate(Mediq::AVStateEnd, m_pImpl->publishing);
    return Note("StopPublishing");
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName,
                                 vaxo::strutf8 liveChn, int) {
    Note("Enter", userID, userName, liveChn);
    CVaxoAppSetting::SharedInstance()->SetUserID(userID);
    const std::string answer = Script("entry");
    if (answer == "refuse") {
        return -1;
    }
    AwaitGate(answer);
    if (answer != "never") {
        m_pImpl->App()->OnGetStreamList(static_cast<unsigned int>(std::atoi(answer.c_str())));
        m_pImpl->App()->OnCountsUpdate(2, 3);
        m_pImpl->Streams("streams", CompleteStreamList);
        m_pImpl->Streams("added", AddedStream);
        m_pImpl->Streams("gone", DeletedStream);
    }
    return 0;
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    for (const std::string& id : Split(Script("streams"), ',')) {
        outStreams.push_back(Stream(id));
    }
    return 0;
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int chn) {
    Note("PlayStream", streamID, chn);
    const std::string answer = Script("play");
    AwaitGate(answer);
    if (answer != "never") {
        m_pImpl->App()->OnVideoSizeChanged(streamID, 64, 36);
        m_pImpl->App()->OnPlayStateUpdate(
            static_cast<Mediq::VaxoAVState>(std::atoi(answer.c_str())), streamID);
    }
    if (answer == "ends") {
        m_pImpl->App()->OnPlayStateUpdate(Mediq::AVStateEnd, streamID);
    }
    return 0;
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    m_pImpl->App()->OnPlayStateUpdate(Mediq::AVStateEnd, streamID);
    return Note("StopPlayStream", streamID);
}
int CVaxoLiveShow::Logout() {
    Note("Logout");
    if (Script("logout") != "never") {
        m_pImpl->App()->OnLogout(0);
    }
    return 0;
}

VaxoLiveStats VaxoLiveGetStats() {
    VaxoLiveStats stats;
    stats.publishing = true;
    stats.fps = 15;
    stats.bitrate = 812000;
    stats.plays.push_back({"a", 14.5, 700000, 42});
    return stats;
}

}  // namespace Strova

struct CVaxoAVConnHttp::Impl {};
CVaxoAVConnHttp::CVaxoAVConnHttp() = default;
CVaxoAVConnHttp::~CVaxoAVConnHttp() = default;
int CVaxoAVConnHttp::Init(unsigned int, vaxo::stream) {
    return 0;
}
bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 fileName, bool bByUser) {
    const std::string outcome = Script("upload");
    const std::string name = Say(fileName);
    if (!bByUser) {  // the offer on entry: an earlier, shorter log
        syslog(esyslog_generic, "ConnHttp", __LINE__,
               "upload of %s to http://h: done, 1 bytes, 201", name.c_str());
        return true;
    }
    Note("UploadLogFile", userID, fileName);
    if (outcome == "refuse") {
        syslog(esyslog_generic, "ConnHttp", __LINE__, "upload of %s not taken: too many wait",
               name.c_str());
        return false;
    }
    const std::string front = "upload of " + name + " to http://h: ";
    std::string end = "done, 100000 bytes, 201";
    if (outcome == "failed") {
        end = "failed, status 403";
    } else if (outcome == "full") {
        end = "failed, answer 507: the server has no room";
    } else if (outcome == "whole") {
        vaxolog_flush();
        end = "done, " + std::to_string(std::filesystem::file_size(name)) + " bytes, 201";
    } else if (outcome == "again") {
        syslog(esyslog_warning, "ConnHttp", __LINE__, "%sto be tried again, answer 500",
               front.c_str());
    }
    if (outcome != "never") {
        syslog(esyslog_generic, "ConnHttp", __LINE__, "%s%s", front.c_str(), end.c_str());
    }
    return true;
}
