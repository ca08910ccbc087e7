#include "memory/IdleEngine.h"

#include "connection/VaxoAVConnHttp.h"
#include "live/VaxoLiveShow.h"

namespace vaxoengine {

namespace {

// Never destroyed: worker 0 may run while the program ends.
std::weak_ptr<Strova::IVaxoLiveCallback>& TheCallback() {
    static auto& s_callback = *new std::weak_ptr<Strova::IVaxoLiveCallback>();
    return s_callback;
}

}  // namespace

std::shared_ptr<Strova::IVaxoLiveCallback> IdleEngineCallback() {
    return TheCallback().lock();
}

}  // namespace vaxoengine

namespace Strova {

struct CVaxoLiveShow::Impl {};

CVaxoLiveShow::CVaxoLiveShow() = default;
CVaxoLiveShow::~CVaxoLiveShow() = default;

int CVaxoLiveShow::SetView(std::shared_ptr<int> /*pView*/, unsigned int /*dwChannelIndex*/) {
    return 0;
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int> /*view*/) {
    return 0;
}
int CVaxoLiveShow::SetViewMode(int /*mode*/, unsigned int /*dwChannelIndex*/) {
    return 0;
}
int CVaxoLiveShow::SetPreviewViewMode(int /*mode*/) {
    return 0;
}
int CVaxoLiveShow::StartPreview() {
    return 0;
}
int CVaxoLiveShow::StopPreview() {
    return 0;
}
int CVaxoLiveShow::SetVideoBitrate(int /*bitrate*/) {
    return 0;
}
int CVaxoLiveShow::SetVideoFPS(int /*fps*/) {
    return 0;
}
int CVaxoLiveShow::SetVideoResolution(int /*width*/, int /*height*/) {
    return 0;
}
int CVaxoLiveShow::SetFrontCam(int /*bFront*/) {
    return 0;
}
int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& /*outDeviceList*/) {
    return 0;
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> /*strDeviceId*/) {
    return 0;
}
int CVaxoLiveShow::GetAudioDeviceList(
    int /*deviceType*/, vaxostl::map<vaxo::strutf8, vaxo::strutf8>& /*outListDevice*/) {
    return 0;
}
int CVaxoLiveShow::SetAudioDevice(int /*deviceType*/, vaxo::strutf8& /*deviceID*/) {
    return 0;
}
int CVaxoLiveShow::EnableMic(bool /*bEnable*/) {
    return 0;
}
int CVaxoLiveShow::EnableCam(bool /*bEnable*/) {
    return 0;
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool /*bOn*/) {
    return 0;
}
int CVaxoLiveShow::EnableSpk(bool /*bEnable*/) {
    return 0;
}
int CVaxoLiveShow::EnableTorch(bool /*bEnable*/) {
    return 0;
}
int CVaxoLiveShow::EnableBeautifying(int /*nFeature*/) {
    return 0;
}
int CVaxoLiveShow::SetFilter(int /*nIndex*/) {
    return 0;
}
int CVaxoLiveShow::SetCaptureRotation(int /*nRotation*/) {
    return 0;
}
int CVaxoLiveShow::TakeSnapshotPreview() {
    return 0;
}
int CVaxoLiveShow::TakeSnapshotRender(int /*nChannelIdx*/) {
    return 0;
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback* /*pCB*/) {
    return 0;
}
int CVaxoLiveShow::EnableAux(bool /*bEnable*/) {
    return 0;
}
int CVaxoLiveShow::Init(unsigned int /*dwAppID*/, vaxo::stream /*sign*/) {
    return 0;
}
int CVaxoLiveShow::Uninit() {
    return 0;
}
int CVaxoLiveShow::UploadLog() {
    return 0;
}
int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    vaxoengine::TheCallback() = callback;
    return 0;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 /*title*/, vaxo::strutf8 /*streamID*/,
                                   vaxo::strutf8 /*liveChn*/) {
    return 0;
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return {};
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return {};
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return {};
}
int CVaxoLiveShow::StopPublishing() {
    return 0;
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8 /*userID*/, vaxo::strutf8 /*userName*/,
                                 vaxo::strutf8 /*liveChn*/, int /*netType*/) {
    return 0;
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& /*outStreams*/) {
    return 0;
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& /*streamID*/, unsigned int /*chn*/) {
    return 0;
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& /*streamID*/) {
    return 0;
}
int CVaxoLiveShow::Logout() {
    return 0;
}

}  // namespace Strova

struct CVaxoAVConnHttp::Impl {};

CVaxoAVConnHttp::CVaxoAVConnHttp() = default;
CVaxoAVConnHttp::~CVaxoAVConnHttp() = default;

int CVaxoAVConnHttp::Init(unsigned int /*dwAppID*/, vaxo::stream /*sign*/) {
    return 0;
}
bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 /*userID*/, vaxo::strutf8 /*fileName*/,
                                    bool /*bByUser*/) {
    return false;
}
