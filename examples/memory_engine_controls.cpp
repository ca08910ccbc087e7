// The media and device controls of memory_engine.cpp, which has neither, nor a log to send: all
// answer that there is no such thing. An engine begins with these and makes them real one by one.
#include "live/VaxoLiveShow.h"

namespace Strova {

#define VAXO_WITHOUT_MEDIA(...)             \
    int CVaxoLiveShow::__VA_ARGS__ {        \
        return VaxoLiveStatus_NotSupported; \
    }                                       \
    static_assert(true, "takes the semicolon")

VAXO_WITHOUT_MEDIA(SetView(std::shared_ptr<int>, unsigned int));
VAXO_WITHOUT_MEDIA(SetPreviewView(std::shared_ptr<int>));
VAXO_WITHOUT_MEDIA(SetViewMode(int, unsigned int));
VAXO_WITHOUT_MEDIA(SetPreviewViewMode(int));
VAXO_WITHOUT_MEDIA(StartPreview());
VAXO_WITHOUT_MEDIA(StopPreview());
VAXO_WITHOUT_MEDIA(SetVideoBitrate(int));
VAXO_WITHOUT_MEDIA(SetVideoFPS(int));
VAXO_WITHOUT_MEDIA(SetVideoResolution(int, int));
VAXO_WITHOUT_MEDIA(SetFrontCam(int));
VAXO_WITHOUT_MEDIA(GetVideoCaptureDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>&));
VAXO_WITHOUT_MEDIA(SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8>));
VAXO_WITHOUT_MEDIA(GetAudioDeviceList(int, vaxostl::map<vaxo::strutf8, vaxo::strutf8>&));
VAXO_WITHOUT_MEDIA(SetAudioDevice(int, vaxo::strutf8&));
VAXO_WITHOUT_MEDIA(EnableMic(bool));
VAXO_WITHOUT_MEDIA(EnableCam(bool));
VAXO_WITHOUT_MEDIA(SetSpeakerPhoneOn(bool));
VAXO_WITHOUT_MEDIA(EnableSpk(bool));
VAXO_WITHOUT_MEDIA(EnableTorch(bool));
VAXO_WITHOUT_MEDIA(EnableBeautifying(int));
VAXO_WITHOUT_MEDIA(SetFilter(int));
VAXO_WITHOUT_MEDIA(SetCaptureRotation(int));
VAXO_WITHOUT_MEDIA(TakeSnapshotPreview());
VAXO_WITHOUT_MEDIA(TakeSnapshotRender(int));
VAXO_WITHOUT_MEDIA(SetAuxCallback(Mediq::IVaxoAuxCallback*));
VAXO_WITHOUT_MEDIA(EnableAux(bool));
VAXO_WITHOUT_MEDIA(UploadLog());

}  // namespace Strova
