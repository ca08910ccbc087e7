// The live engine behind the proxy. The proxy creates one when an Init command runs,
// gives it itself as callback, and drops it when an Uninit command has run.
//
// What an engine must keep to stands in IVaxoLive.h, under "for whoever writes an
// engine".
//
// The class is a seam: the proxy knows this header alone, and a program links the
// definition it wants: the library's own, or one of its own making.
#ifndef VAXO_VAXOLIVESHOW_H
#define VAXO_VAXOLIVESHOW_H

#include <memory>

#include "IVaxoLive.h"

namespace Strova {

class VAXO_API CVaxoLiveShow : public IVaxoLive {
public:
    CVaxoLiveShow();
    virtual ~CVaxoLiveShow();

    int SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) override;
    int SetPreviewView(std::shared_ptr<int> view) override;
    int SetViewMode(int mode, unsigned int dwChannelIndex) override;
    int SetPreviewViewMode(int mode) override;
    int StartPreview() override;
    int StopPreview() override;
    int SetVideoBitrate(int bitrate) override;
    int SetVideoFPS(int fps) override;
    int SetVideoResolution(int width, int height) override;
    int SetFrontCam(int bFront) override;
    int GetVideoCaptureDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) override;
    int SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) override;
    int GetAudioDeviceList(int deviceType,
                           vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) override;
    int SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) override;
    int EnableMic(bool bEnable) override;
    int EnableCam(bool bEnable) override;
    int SetSpeakerPhoneOn(bool bOn) override;
    int EnableSpk(bool bEnable) override;
    int EnableTorch(bool bEnable) override;
    int EnableBeautifying(int nFeature) override;
    int SetFilter(int nIndex) override;
    int SetCaptureRotation(int nRotation) override;
    int TakeSnapshotPreview() override;
    int TakeSnapshotRender(int nChannelIdx) override;
    int SetAuxCallback(Mediq::IVaxoAuxCallback* pCB) override;
    int EnableAux(bool bEnable) override;

    int Init(unsigned int dwAppID, vaxo::stream sign) override;
    int Uninit() override;
    int UploadLog() override;
    int SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) override;
    int StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                        vaxo::strutf8 liveChn) override;
    vaxo::strutf8 GetLiveChannel() const override;
    vaxo::strutf8 GetCurrentPublishStreamID() const override;
    vaxo::strutf8 GetCurrentPublishStreamURL() const override;
    int StopPublishing() override;
    int GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName, vaxo::strutf8 liveChn,
                      int netType) override;
    int GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) override;
    int PlayStream(const vaxo::strutf8& streamID, unsigned int chn) override;
    int StopPlayStream(const vaxo::strutf8& streamID) override;
    int Logout() override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace Strova

#endif
