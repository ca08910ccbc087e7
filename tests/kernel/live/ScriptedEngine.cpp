#include "kernel/live/ScriptedEngine.h"

#include <atomic>
#include <mutex>

#include "connection/VaxoAVConnHttp.h"
#include "kernel/live/Journal.h"
#include "live/VaxoLiveShow.h"

namespace livetest {

namespace {

std::atomic<int> s_created{0};
std::atomic<int> s_alive{0};

struct Callback {
    std::mutex mutex;
    std::weak_ptr<Strova::IVaxoLiveCallback> given;
};

Callback& TheCallback() {
    static auto& s_callback = *new Callback();
    return s_callback;
}

vaxo::strutf8 Bytes(const vaxo::stream& sign) {
    vaxo::strutf8 all;
    for (uint32 i = 0; i < sign.size(); ++i) {
        const char byte = static_cast<char>(sign.at(i));
        all.append(&byte, 1);
    }
    return all;
}

std::string Say(int value) {
    return std::to_string(value);
}
std::string Say(unsigned int value) {
    return std::to_string(value);
}
std::string Say(bool value) {
    return value ? "true" : "false";
}
std::string Say(const vaxo::strutf8& value) {
    return Text(value);
}
std::string Say(const std::shared_ptr<int>& view) {
    return view ? "view" + std::to_string(*view) : "null";
}

// Notes an engine call, then plays it.
template <class... Values>
int Call(const std::string& operation, const Values&... values) {
    std::string list;
    [[maybe_unused]] const char* between = "";  // an operation without arguments
    ((list += between + Say(values), between = ", "), ...);
    Note("engine: " + operation + "(" + list + ")");
    return Play(operation);
}

vaxo::strutf8 CallForText(const std::string& operation) {
    Call(operation);
    const auto it = TheScript().text.find(operation);
    return it == TheScript().text.end()
               ? vaxo::strutf8()
               : vaxo::strutf8(it->second.data(), static_cast<uint32>(it->second.size()));
}

void AddDevices(vaxostl::map<vaxo::strutf8, vaxo::strutf8>& list) {
    for (const auto& device : TheScript().devices) {
        list.set(device.first.c_str(), device.second.c_str());
    }
}

}  // namespace

EngineScript& TheScript() {
    static auto& s_script = *new EngineScript();
    return s_script;
}

EngineObjects& TheObjects() {
    static auto& s_objects = *new EngineObjects();
    return s_objects;
}

void ResetScript() {
    TheScript() = EngineScript();
    TheObjects() = EngineObjects();
}

std::shared_ptr<Strova::IVaxoLiveCallback> EngineCallback() {
    const std::lock_guard<std::mutex> lock(TheCallback().mutex);
    return TheCallback().given.lock();
}

int EnginesCreated() {
    return s_created;
}
int EnginesAlive() {
    return s_alive;
}

int Play(const std::string& operation, int otherwise) {
    EngineScript& script = TheScript();
    const auto hook = script.inside.find(operation);
    if (hook != script.inside.end()) {
        const std::function<void()> run = hook->second;  // the hook may change the script
        run();
    }
    const auto it = script.status.find(operation);
    return it == script.status.end() ? otherwise : it->second;
}

}  // namespace livetest

using livetest::Call;

namespace Strova {

struct CVaxoLiveShow::Impl {};

CVaxoLiveShow::CVaxoLiveShow() {
    ++livetest::s_created;
    ++livetest::s_alive;
    livetest::Note("engine: created");
}

CVaxoLiveShow::~CVaxoLiveShow() {
    --livetest::s_alive;
    livetest::Note("engine: destroyed");
}

int CVaxoLiveShow::SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) {
    livetest::TheObjects().view = pView;
    return Call("SetView", pView, dwChannelIndex);
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int> view) {
    livetest::TheObjects().previewView = view;
    return Call("SetPreviewView", view);
}
int CVaxoLiveShow::SetViewMode(int mode, unsigned int dwChannelIndex) {
    return Call("SetViewMode", mode, dwChannelIndex);
}
int CVaxoLiveShow::SetPreviewViewMode(int mode) {
    return Call("SetPreviewViewMode", mode);
}
int CVaxoLiveShow::StartPreview() {
    return Call("StartPreview");
}
int CVaxoLiveShow::StopPreview() {
    return Call("StopPreview");
}
int CVaxoLiveShow::SetVideoBitrate(int bitrate) {
    return Call("SetVideoBitrate", bitrate);
}
int CVaxoLiveShow::SetVideoFPS(int fps) {
    return Call("SetVideoFPS", fps);
}
int CVaxoLiveShow::SetVideoResolution(int width, int height) {
    return Call("SetVideoResolution", width, height);
}
int CVaxoLiveShow::SetFrontCam(int bFront) {
    return Call("SetFrontCam", bFront);
}
int CVaxoLiveShow::GetVideoCaptureDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>& list) {
    livetest::AddDevices(list);
    return Call("GetVideoCaptureDevice");
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) {
    livetest::TheObjects().deviceID = strDeviceId;
    return strDeviceId ? Call("SetVideoCaptureDeviceId", *strDeviceId)
                       : Call("SetVideoCaptureDeviceId", vaxo::strutf8("null"));
}
int CVaxoLiveShow::GetAudioDeviceList(int deviceType,
                                      vaxostl::map<vaxo::strutf8, vaxo::strutf8>& list) {
    livetest::AddDevices(list);
    return Call("GetAudioDeviceList", deviceType);
}
int CVaxoLiveShow::SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) {
    const int status = Call("SetAudioDevice", deviceType, deviceID);
    deviceID = "changed by the engine";  // it may: nobody must notice
    return status;
}
int CVaxoLiveShow::EnableMic(bool bEnable) {
    return Call("EnableMic", bEnable);
}
int CVaxoLiveShow::EnableCam(bool bEnable) {
    return Call("EnableCam", bEnable);
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool bOn) {
    return Call("SetSpeakerPhoneOn", bOn);
}
int CVaxoLiveShow::EnableSpk(bool bEnable) {
    return Call("EnableSpk", bEnable);
}
int CVaxoLiveShow::EnableTorch(bool bEnable) {
    return Call("EnableTorch", bEnable);
}
int CVaxoLiveShow::EnableBeautifying(int nFeature) {
    return Call("EnableBeautifying", nFeature);
}
int CVaxoLiveShow::SetFilter(int nIndex) {
    return Call("SetFilter", nIndex);
}
int CVaxoLiveShow::SetCaptureRotation(int nRotation) {
    return Call("SetCaptureRotation", nRotation);
}
int CVaxoLiveShow::TakeSnapshotPreview() {
    return Call("TakeSnapshotPreview");
}
int CVaxoLiveShow::TakeSnapshotRender(int nChannelIdx) {
    return Call("TakeSnapshotRender", nChannelIdx);
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback* pCB) {
    livetest::TheObjects().aux = pCB;
    return Call("SetAuxCallback", vaxo::strutf8(pCB == nullptr ? "null" : "aux"));
}
int CVaxoLiveShow::EnableAux(bool bEnable) {
    return Call("EnableAux", bEnable);
}

int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream sign) {
    return Call("Init", dwAppID, livetest::Bytes(sign));
}
int CVaxoLiveShow::Uninit() {
    return Call("Uninit");
}
int CVaxoLiveShow::UploadLog() {
    return Call("UploadLog");
}
int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    {
        const std::lock_guard<std::mutex> lock(livetest::TheCallback().mutex);
        livetest::TheCallback().given = callback;
    }
    return Call("SetCallback");
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                   vaxo::strutf8 liveChn) {
    return Call("StartPublishing", title, streamID, liveChn);
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return livetest::CallForText("GetLiveChannel");
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return livetest::CallForText("GetCurrentPublishStreamID");
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return livetest::CallForText("GetCurrentPublishStreamURL");
}
int CVaxoLiveShow::StopPublishing() {
    return Call("StopPublishing");
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName,
                                 vaxo::strutf8 liveChn, int netType) {
    return Call("GetStreamList", userID, userName, liveChn, netType);
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    for (const VaxoLiveStream& stream : livetest::TheScript().streams) {
        outStreams.Add(stream);
    }
    return Call("GetStreams");
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int chn) {
    return Call("PlayStream", streamID, chn);
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    return Call("StopPlayStream", streamID);
}
int CVaxoLiveShow::Logout() {
    return Call("Logout");
}

}  // namespace Strova

struct CVaxoAVConnHttp::Impl {};

CVaxoAVConnHttp::CVaxoAVConnHttp() {
    livetest::Note("http: created");
}
CVaxoAVConnHttp::~CVaxoAVConnHttp() {
    livetest::Note("http: destroyed");
}

int CVaxoAVConnHttp::Init(unsigned int dwAppID, vaxo::stream sign) {
    livetest::Note("http: Init(" + std::to_string(dwAppID) + ", " +
                   livetest::Text(livetest::Bytes(sign)) + ")");
    return livetest::Play("http Init");
}

bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 fileName, bool bByUser) {
    livetest::Note("http: UploadLogFile(" + livetest::Text(userID) + ", " +
                   livetest::Text(fileName) + ", " + (bByUser ? "true" : "false") + ")");
    return livetest::Play("http UploadLogFile", 1) != 0;
}
