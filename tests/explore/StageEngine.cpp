// The engine, and the HTTP connection, of programs under exploration: see LiveStage.h.
#include "connection/VaxoAVConnHttp.h"
#include "explore/LiveStage.h"
#include "live/VaxoLiveShow.h"

namespace {

explore::LiveStage& Stage() {
    return explore::LiveStage::The();
}

}  // namespace

// ---- The connection: takes everything ------------------------------------------

struct CVaxoAVConnHttp::Impl {};

CVaxoAVConnHttp::CVaxoAVConnHttp() = default;
CVaxoAVConnHttp::~CVaxoAVConnHttp() = default;
int CVaxoAVConnHttp::Init(unsigned int /*dwAppID*/, vaxo::stream /*sign*/) {
    return 0;
}
bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 /*userID*/, vaxo::strutf8 /*fileName*/,
                                    bool /*bByUser*/) {
    return true;
}

// ---- The engine ----------------------------------------------------------------

namespace Strova {

struct CVaxoLiveShow::Impl {};

CVaxoLiveShow::CVaxoLiveShow() = default;
CVaxoLiveShow::~CVaxoLiveShow() = default;

int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    Stage().SetEngineCallback(callback);
    return 0;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 /*title*/, vaxo::strutf8 streamID,
                                   vaxo::strutf8 /*liveChn*/) {
    return Stage().EnterEngine("StartPublishing", [streamID](IVaxoLiveCallback& callback) {
        callback.OnPublishStateUpdate(Mediq::AVStateBegin, streamID);
    });
}
int CVaxoLiveShow::StopPublishing() {
    return Stage().EnterEngine("StopPublishing", [](IVaxoLiveCallback& callback) {
        callback.OnPublishStateUpdate(Mediq::AVStateEnd, "s");
    });
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int /*chn*/) {
    return Stage().EnterEngine("PlayStream", [streamID](IVaxoLiveCallback& callback) {
        callback.OnPlayStateUpdate(Mediq::AVStateBegin, streamID);
    });
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    return Stage().EnterEngine("StopPlayStream", [streamID](IVaxoLiveCallback& callback) {
        callback.OnPlayStateUpdate(Mediq::AVStateEnd, streamID);
    });
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8 /*userID*/, vaxo::strutf8 /*userName*/,
                                 vaxo::strutf8 /*liveChn*/, int /*netType*/) {
    return Stage().EnterEngine("GetStreamList",
                               [](IVaxoLiveCallback& callback) { callback.OnGetStreamList(0); });
}
int CVaxoLiveShow::Logout() {
    return Stage().EnterEngine("Logout", [](IVaxoLiveCallback& callback) { callback.OnLogout(0); });
}

// Asked on callers' threads too.
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    if (Stage().ListsStream()) {
        VaxoLiveStream stream;
        stream.streamID = "a";
        outStreams.Add(stream);
    }
    return 0;
}

int CVaxoLiveShow::Init(unsigned int /*dwAppID*/, vaxo::stream /*sign*/) {
    return Stage().EnterEngine("Init");
}
int CVaxoLiveShow::Uninit() {
    return Stage().EnterEngine("Uninit");
}
int CVaxoLiveShow::UploadLog() {
    return Stage().EnterEngine("UploadLog");
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    Stage().EnterEngine("GetLiveChannel");
    return "channel";
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    Stage().EnterEngine("GetCurrentPublishStreamID");
    return "s";
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    Stage().EnterEngine("GetCurrentPublishStreamURL");
    return "url";
}
int CVaxoLiveShow::SetView(std::shared_ptr<int> /*pView*/, unsigned int /*dwChannelIndex*/) {
    return Stage().EnterEngine("SetView");
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int> /*view*/) {
    return Stage().EnterEngine("SetPreviewView");
}
int CVaxoLiveShow::SetViewMode(int /*mode*/, unsigned int /*dwChannelIndex*/) {
    return Stage().EnterEngine("SetViewMode");
}
int CVaxoLiveShow::SetPreviewViewMode(int /*mode*/) {
    return Stage().EnterEngine("SetPreviewViewMode");
}
int CVaxoLiveShow::StartPreview() {
    return Stage().EnterEngine("StartPreview");
}
int CVaxoLiveShow::StopPreview() {
    return Stage().EnterEngine("StopPreview");
}
int CVaxoLiveShow::SetVideoBitrate(int /*bitrate*/) {
    return Stage().EnterEngine("SetVideoBitrate");
}
int CVaxoLiveShow::SetVideoFPS(int /*fps*/) {
    return Stage().EnterEngine("SetVideoFPS");
}
int CVaxoLiveShow::SetVideoResolution(int /*width*/, int /*height*/) {
    return Stage().EnterEngine("SetVideoResolution");
}
int CVaxoLiveShow::SetFrontCam(int /*bFront*/) {
    return Stage().EnterEngine("SetFrontCam");
}
int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& /*outDeviceList*/) {
    return Stage().EnterEngine("GetVideoCaptureDevice");
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> /*strDeviceId*/) {
    return Stage().EnterEngine("SetVideoCaptureDeviceId");
}
int CVaxoLiveShow::GetAudioDeviceList(
    int /*deviceType*/, vaxostl::map<vaxo::strutf8, vaxo::strutf8>& /*outListDevice*/) {
    return Stage().EnterEngine("GetAudioDeviceList");
}
int CVaxoLiveShow::SetAudioDevice(int /*deviceType*/, vaxo::strutf8& /*deviceID*/) {
    return Stage().EnterEngine("SetAudioDevice");
}
int CVaxoLiveShow::EnableMic(bool /*bEnable*/) {
    return Stage().EnterEngine("EnableMic");
}
int CVaxoLiveShow::EnableCam(bool /*bEnable*/) {
    return Stage().EnterEngine("EnableCam");
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool /*bOn*/) {
    return Stage().EnterEngine("SetSpeakerPhoneOn");
}
int CVaxoLiveShow::EnableSpk(bool /*bEnable*/) {
    return Stage().EnterEngine("EnableSpk");
}
int CVaxoLiveShow::EnableTorch(bool /*bEnable*/) {
    return Stage().EnterEngine("EnableTorch");
}
int CVaxoLiveShow::EnableBeautifying(int /*nFeature*/) {
    return Stage().EnterEngine("EnableBeautifying");
}
int CVaxoLiveShow::SetFilter(int /*nIndex*/) {
    return Stage().EnterEngine("SetFilter");
}
int CVaxoLiveShow::SetCaptureRotation(int /*nRotation*/) {
    return Stage().EnterEngine("SetCaptureRotation");
}
int CVaxoLiveShow::TakeSnapshotPreview() {
    return Stage().EnterEngine("TakeSnapshotPreview");
}
int CVaxoLiveShow::TakeSnapshotRender(int /*nChannelIdx*/) {
    return Stage().EnterEngine("TakeSnapshotRender");
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback* /*pCB*/) {
    return Stage().EnterEngine("SetAuxCallback");
}
int CVaxoLiveShow::EnableAux(bool /*bEnable*/) {
    return Stage().EnterEngine("EnableAux");
}

}  // namespace Strova
