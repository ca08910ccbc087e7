// An engine of the program's own, behind the installed front end: every channel can be entered,
// and nothing else happens.
#include <memory>

#include "live/VaxoLiveShow.h"

namespace Strova {

struct CVaxoLiveShow::Impl {
    std::weak_ptr<IVaxoLiveCallback> callback;
};

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(std::make_unique<Impl>()) {}
CVaxoLiveShow::~CVaxoLiveShow() = default;

int CVaxoLiveShow::SetView(std::shared_ptr<int>, unsigned int) {
    return 0;
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int>) {
    return 0;
}
int CVaxoLiveShow::SetViewMode(int, unsigned int) {
    return 0;
}
int CVaxoLiveShow::SetPreviewViewMode(int) {
    return 0;
}
int CVaxoLiveShow::StartPreview() {
    return 0;
}
int CVaxoLiveShow::StopPreview() {
    return 0;
}
int CVaxoLiveShow::SetVideoBitrate(int) {
    return 0;
}
int CVaxoLiveShow::SetVideoFPS(int) {
    return 0;
}
int CVaxoLiveShow::SetVideoResolution(int, int) {
    return 0;
}
int CVaxoLiveShow::SetFrontCam(int) {
    return 0;
}
int CVaxoLiveShow::GetVideoCaptureDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>&) {
    return 0;
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8>) {
    return 0;
}
int CVaxoLiveShow::GetAudioDeviceList(int, vaxostl::map<vaxo::strutf8, vaxo::strutf8>&) {
    return 0;
}
int CVaxoLiveShow::SetAudioDevice(int, vaxo::strutf8&) {
    return 0;
}
int CVaxoLiveShow::EnableMic(bool) {
    return 0;
}
int CVaxoLiveShow::EnableCam(bool) {
    return 0;
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool) {
    return 0;
}
int CVaxoLiveShow::EnableSpk(bool) {
    return 0;
}
int CVaxoLiveShow::EnableTorch(bool) {
    return 0;
}
int CVaxoLiveShow::EnableBeautifying(int) {
    return 0;
}
int CVaxoLiveShow::SetFilter(int) {
    return 0;
}
int CVaxoLiveShow::SetCaptureRotation(int) {
    return 0;
}
int CVaxoLiveShow::TakeSnapshotPreview() {
    return 0;
}
int CVaxoLiveShow::TakeSnapshotRender(int) {
    return 0;
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback*) {
    return 0;
}
int CVaxoLiveShow::EnableAux(bool) {
    return 0;
}
int CVaxoLiveShow::Init(unsigned int, vaxo::stream) {
    return 0;
}
int CVaxoLiveShow::Uninit() {
    return 0;
}
int CVaxoLiveShow::UploadLog() {
    return 0;
}
int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    m_pImpl->callback = callback;
    return 0;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8, vaxo::strutf8, vaxo::strutf8) {
    return 0;
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return "";
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return "";
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return "";
}
int CVaxoLiveShow::StopPublishing() {
    return 0;
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8, vaxo::strutf8, vaxo::strutf8, int) {
    if (const auto callback = m_pImpl->callback.lock()) {
        callback->OnGetStreamList(0);
    }
    return 0;
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>&) {
    return 0;
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8&, unsigned int) {
    return 0;
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8&) {
    return 0;
}
int CVaxoLiveShow::Logout() {
    return 0;
}

}  // namespace Strova
