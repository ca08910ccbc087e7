// Media and device controls, and the events that concern media alone.
//
// These are the lower halves of Strova::IVaxoLive and Strova::IVaxoLiveCallback,
// which see IVaxoLive.h for threads, results and lifetime. The order of the virtual
// operations is part of the interface: an engine and the code that calls it may be
// built apart.
#ifndef VAXO_IVAXOVE_H
#define VAXO_IVAXOVE_H

#include <memory>

#include "IVaxoAuxCallback.h"
#include "VaxoAVDefines.h"
#include "vaxomap.h"
#include "vaxostream.h"

namespace Mediq {

// Argument values are the engine's business: they reach it unchanged and unchecked.
class VAXO_API IVaxoVE {
public:
    // Where to draw. A view is a platform object behind an opaque shared pointer; it
    // is kept until the command has run or was dropped. A null view takes the former
    // one away. The channel index is the one given to PlayStream.
    virtual int SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) = 0;
    // The same for the preview.
    virtual int SetPreviewView(std::shared_ptr<int> view) = 0;
    // How pictures fill the view of that play channel.
    virtual int SetViewMode(int mode, unsigned int dwChannelIndex) = 0;
    virtual int SetPreviewViewMode(int mode) = 0;  // how they fill the preview's

    // The preview shows what the camera takes, whether it is published or not.
    virtual int StartPreview() = 0;
    virtual int StopPreview() = 0;  // the camera stays on while it is published

    // What is published.
    virtual int SetVideoBitrate(int bitrate) = 0;               // bits a second
    virtual int SetVideoFPS(int fps) = 0;                       // frames a second
    virtual int SetVideoResolution(int width, int height) = 0;  // pixels

    // ---- Devices ------------------------------------------------------------
    //
    // A list maps a device's identifier to its name. The getters answer the engine's
    // status and fill the map; without an engine they answer -1 and leave the map as it
    // was.

    virtual int SetFrontCam(int bFront) = 0;  // 0: the camera on the back
    // Lists the cameras.
    virtual int GetVideoCaptureDevice(
        vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) = 0;
    // Takes the camera of that identifier.
    virtual int SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) = 0;
    // Lists the sound devices of a kind. The engine says what kinds there are.
    virtual int GetAudioDeviceList(int deviceType,
                                   vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) = 0;
    // Takes the sound device of that kind and identifier.
    virtual int SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) = 0;

    // ---- Switches -----------------------------------------------------------

    virtual int EnableMic(bool bEnable) = 0;            // off: silence is published
    virtual int EnableCam(bool bEnable) = 0;            // off: black is published
    virtual int SetSpeakerPhoneOn(bool bOn) = 0;        // the loud speaker, not the one at the ear
    virtual int EnableSpk(bool bEnable) = 0;            // off: plays are not heard
    virtual int EnableTorch(bool bEnable) = 0;          // the lamp beside the camera
    virtual int EnableBeautifying(int nFeature) = 0;    // 0: off
    virtual int SetFilter(int nIndex) = 0;              // the look of the pictures
    virtual int SetCaptureRotation(int nRotation) = 0;  // how the camera is held

    // ---- Snapshots and auxiliary audio --------------------------------------

    // Asks for a picture of the preview. It comes as OnPreviewSnapshot.
    virtual int TakeSnapshotPreview() = 0;
    // Asks for a picture of that play channel. It comes as OnRenderSnapshot.
    virtual int TakeSnapshotRender(int nChannelIdx) = 0;

    // The callback is not owned: see IVaxoAuxCallback.h. Null takes it away.
    virtual int SetAuxCallback(IVaxoAuxCallback* pCB) = 0;
    virtual int EnableAux(bool bEnable) = 0;  // whether it is called, and its sound mixed in

protected:
    ~IVaxoVE() = default;  // objects are destroyed as what they are
};

// The first three operations name a stream by number. No engine of this library
// calls them; the live callback gives them empty bodies.
class VAXO_API IVaxoVECallback {
public:
    // By number; see above.
    virtual void OnPublishStateUpdate(VaxoAVState eState, unsigned int dwServerKey,
                                      unsigned int dwRoomKey) = 0;
    // By number; see above.
    virtual void OnPlayStateUpdate(VaxoAVState eState, unsigned int dwServerKey,
                                   unsigned int dwRoomKey, unsigned long long ddwStreamID) = 0;
    // By number; see above.
    virtual void OnVideoSizeChanged(unsigned long long ddwStreamID, int width, int height) = 0;

    // The picture asked for with TakeSnapshotPreview. Both kinds of pictures come on the
    // thread that the engine reports them on, unlike all other events, and the image is
    // there for the length of the call only: take what you need and return soon. Do not
    // call a getter here unless the engine in use allows it.
    virtual void OnPreviewSnapshot(void* pImage) = 0;
    // The picture asked for with TakeSnapshotRender; as above.
    virtual void OnRenderSnapshot(void* pImage, int nChannelIdx) = 0;

protected:
    ~IVaxoVECallback() = default;
};

}  // namespace Mediq

#endif
