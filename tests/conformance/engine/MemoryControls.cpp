// The controls of the memory engine: taken when it is ready, and without any effect.
#include "VaxoLiveImage.h"
#include "conformance/engine/MemoryEngine.h"

namespace Strova {

namespace {

using conformance::memory::Fault;

// A picture of one white point.
VaxoLiveImage Point() {
    static const unsigned char s_white[4] = {255, 255, 255, 255};
    return {sizeof(VaxoLiveImage), 1, 1, 4, VaxoLiveImage_RGBA, s_white, 0};
}

}  // namespace

int CVaxoLiveShow::SetView(std::shared_ptr<int>, unsigned int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int>) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetViewMode(int, unsigned int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetPreviewViewMode(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::StartPreview() {
    return m_pImpl->Status();
}
int CVaxoLiveShow::StopPreview() {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetVideoBitrate(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetVideoFPS(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetVideoResolution(int, int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetFrontCam(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) {
    outDeviceList.clear();
    return VaxoLiveStatus_Ok;
}
int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) {
    if (Fault("reads a device that is null")) {
        return strDeviceId->size() > 0 ? VaxoLiveStatus_NoDevice : VaxoLiveStatus_Ok;
    }
    return m_pImpl->Status();
}
int CVaxoLiveShow::GetAudioDeviceList(int deviceType,
                                      vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) {
    if (deviceType != 0 && deviceType != 1) {
        return VaxoLiveStatus_BadArgument;
    }
    outListDevice.clear();
    return VaxoLiveStatus_Ok;
}
int CVaxoLiveShow::SetAudioDevice(int, vaxo::strutf8&) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableMic(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableCam(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetSpeakerPhoneOn(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableSpk(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableTorch(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableBeautifying(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetFilter(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetCaptureRotation(int) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback*) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::EnableAux(bool) {
    return m_pImpl->Status();
}
int CVaxoLiveShow::UploadLog() {
    return VaxoLiveStatus_NotSupported;
}

int CVaxoLiveShow::TakeSnapshotPreview() {
    m_pImpl->teller->Add([](IVaxoLiveCallback& app) {
        VaxoLiveImage image = Point();
        app.OnPreviewSnapshot(&image);
    });
    return m_pImpl->Status();
}

int CVaxoLiveShow::TakeSnapshotRender(int nChannelIdx) {
    const int index = Fault("gives snapshots another index") ? nChannelIdx + 1 : nChannelIdx;
    m_pImpl->teller->Add([index](IVaxoLiveCallback& app) {
        VaxoLiveImage image = Point();
        app.OnRenderSnapshot(&image, index);
    });
    return m_pImpl->Status();
}

}  // namespace Strova
