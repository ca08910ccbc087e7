// The live engine behind the proxy. The proxy creates one when an Init command runs,
// gives it itself as callback, and drops it when an Uninit command has run.
//
// What an engine must keep to stands in IVaxoLive.h, under "for whoever writes an
// engine".
//
// The library's own engine, in short (a program may link another one, which then has its
// own ways):
//
// Statuses: 0, or a VaxoLiveStatus below. A call that answers something else than 0 did
// nothing and will cause no event.
//
// Every accepted request is answered by exactly one event, at most 10 s later, also when
// there is nothing to do. (The proxy makes the next one when that has come. A caller who does
// not wait hears one answer for both where the newer request overtakes the older.)
//
//   Request          Answer                 Value and meaning
//   GetStreamList    OnGetStreamList        0 entered; then each stream as OnStreamUpdate
//     (entering)                              (CompleteStreamList) and OnCountsUpdate
//                                             (not when already there)
//                                           1 the channel service cannot be reached
//                                           2 identifier or key not accepted
//                                           3 accepted, but not for this channel
//                                           4 no answer in time
//                                           5 no usable service address is set
//   StartPublishing  OnPublishStateUpdate   AVStateBegin       media reach the server
//                                           CreateStreamError  not in that channel, no media
//                                             address is set, or the server would not take the
//                                             stream and does not say why
//                                           NameInUse, SignatureRefused, SignatureExpired  as
//                                             VaxoLiveState says
//                                           FatalError         server not reached, no answer
//                                             in time, or the capture cannot start
//   StopPublishing   OnPublishStateUpdate   AVStateEnd, with the stream, or the empty text when
//                                             nothing was published
//   PlayStream       OnPlayStateUpdate      AVStateBegin       the first picture is shown; without
//                                             pictures, the sound is there
//                                           NoStreamError      not in the channel's list, or not
//                                             at the server
//                                           FetchStreamError   in no channel, no media address
//                                             is set, or the server refused and does not say why
//                                           SignatureRefused, SignatureExpired  as VaxoLiveState
//                                             says
//                                           FatalError         server not reached, no picture in
//                                             time, media broken, too many plays
//   StopPlayStream   OnPlayStateUpdate      AVStateEnd
//   Logout           OnLogout               0, also when in no channel
//
// Without being asked: OnPublishStateUpdate and OnPlayStateUpdate with TempBroken when a
// connection is lost, AVStateBegin when it is back, FatalError when it is given up (a publish
// after 60 s, a play after 30 s); AVStateEnd for a play whose stream ended: at once, or 15 s after
// the channel forgot a stream whose play is interrupted, because its publisher may come back.
// OnDisconnected (a number as above) and OnReconnected for the channel, which is never given
// up. A change that a newer request overtakes is not told: the request's answer says it.
//
// - Entering the channel one is in lists its streams again. Entering another one, or as
//   somebody else, ends plays and publish and leaves the former one. netType is not used.
// - Publishing another stream replaces the one that is published. An empty channel means the
//   one that was entered. A play channel holds one stream: a newer one replaces it.
// - A view is an X11 window id in the int. Without a view nothing is shown, and everything
//   else works. View modes: 0 fit, 1 fill, 2 stretch.
// - Device kinds: 0 sound input, 1 sound output. Besides the system's devices there are
//   "test:picture", "test:tone", and any file as "file:///...", which is played in a loop.
// - SetFilter 0 is no filter. EnableBeautifying is a sum: 1 smooths skin, 2 whitens it, 4 sharpens
//   outlines; 0 is off.
// - Snapshots point to a VaxoLiveImage (VaxoLiveImage.h) and come on the events' thread. Where
//   there is no picture yet, none comes.
// - Auxiliary audio: signed 16-bit PCM, interleaved. On entry *pDataLen is the room in bytes,
//   *pSampleRate 48000 and *pNumChannels 2; the application sets all three to what it gave,
//   0 bytes for nothing. Rates of 8000 to 48000 and one or two channels are taken.
// - GetStreamList(vector) and the three text getters may be called from any thread. Addresses
//   of streams are signed when they are asked for, and good for some minutes.
//
// The class is a seam: the proxy knows this header alone, and a program links the
// definition it wants: the library's own, or one of its own making.
#ifndef VAXO_VAXOLIVESHOW_H
#define VAXO_VAXOLIVESHOW_H

#include <memory>

#include "IVaxoLive.h"
#include "VaxoLiveState.h"

namespace Strova {

// What an operation of the library's own engine answers.
enum VaxoLiveStatus : int32 {
    VaxoLiveStatus_Ok = 0,            // taken; an event tells the rest
    VaxoLiveStatus_NotReady = 1,      // Init has not been called, or failed
    VaxoLiveStatus_BadArgument = 2,   // a value out of range, a text too long or empty
    VaxoLiveStatus_NotSupported = 3,  // the machine has no such hardware
    VaxoLiveStatus_NoDevice = 4,      // there is no device of that identifier
};

class VAXO_API CVaxoLiveShow : public IVaxoLive {
public:
    CVaxoLiveShow();  // for the proxy; not ready before Init
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
