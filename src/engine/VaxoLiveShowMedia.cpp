// The media and device controls of the engine: checks of values, and jobs for the core.
#include <map>
#include <string>
#include <utility>

#include "engine/VaxoLiveShowImpl.h"
#include "engine/capture/Looks.h"
#include "engine/filters/BeautyFilter.h"
#include "engine/show/Limits.h"
#include "engine/show/Texts.h"
#include "engine/source/Devices.h"

namespace Strova {

namespace {

using vaxoengine::Bytes;
using vaxoengine::LiveCore;
using vaxoengine::Text;
using vaxoengine::ViewMode;

bool IsViewMode(int mode) {
    return mode >= vaxoengine::ViewMode_Fit && mode <= vaxoengine::ViewMode_Stretch;
}

bool IsSide(int pixels) {
    return pixels >= vaxoengine::kMinSide && pixels <= vaxoengine::kMaxSide && pixels % 2 == 0;
}

bool IsAudioKind(int kind) {
    return kind == vaxoengine::AudioDevice_Input || kind == vaxoengine::AudioDevice_Output;
}

void Fill(const std::map<std::string, std::string>& from,
          vaxostl::map<vaxo::strutf8, vaxo::strutf8>& to) {
    to.clear();
    for (const auto& [id, name] : from) {
        to.insert(Text(id), Text(name));
    }
}

}  // namespace

int CVaxoLiveShow::SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) {
    return m_pImpl->Post([window = vaxoengine::WindowOf(pView), dwChannelIndex](LiveCore& core) {
        core.ThePlays().SetWindow(window, dwChannelIndex);
    });
}

int CVaxoLiveShow::SetPreviewView(std::shared_ptr<int> view) {
    return m_pImpl->Post([window = vaxoengine::WindowOf(view)](LiveCore& core) {
        core.TheCapture().SetPreviewWindow(window);
    });
}

int CVaxoLiveShow::SetViewMode(int mode, unsigned int dwChannelIndex) {
    if (!IsViewMode(mode)) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([mode, dwChannelIndex](LiveCore& core) {
        core.ThePlays().SetMode(static_cast<ViewMode>(mode), dwChannelIndex);
    });
}

int CVaxoLiveShow::SetPreviewViewMode(int mode) {
    if (!IsViewMode(mode)) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post(
        [mode](LiveCore& core) { core.TheCapture().SetPreviewMode(static_cast<ViewMode>(mode)); });
}

int CVaxoLiveShow::StartPreview() {
    return m_pImpl->Post([](LiveCore& core) { core.TheCapture().StartPreview(); });
}

int CVaxoLiveShow::StopPreview() {
    return m_pImpl->Post([](LiveCore& core) { core.TheCapture().StopPreview(); });
}

int CVaxoLiveShow::SetVideoBitrate(int bitrate) {
    if (bitrate < vaxoengine::kMinBitrate || bitrate > vaxoengine::kMaxBitrate) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([bitrate](LiveCore& core) {
        vaxoengine::VideoSettings video = core.Video();
        video.bitrate = bitrate;
        core.SetVideo(video);
    });
}

int CVaxoLiveShow::SetVideoFPS(int fps) {
    if (fps < 1 || fps > vaxoengine::kMaxFps) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([fps](LiveCore& core) {
        vaxoengine::VideoSettings video = core.Video();
        video.fps = fps;
        core.SetVideo(video);
    });
}

int CVaxoLiveShow::SetVideoResolution(int width, int height) {
    if (!IsSide(width) || !IsSide(height)) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([width, height](LiveCore& core) {
        vaxoengine::VideoSettings video = core.Video();
        video.width = width;
        video.height = height;
        core.SetVideo(video);
    });
}

int CVaxoLiveShow::SetFrontCam(int bFront) {
    return m_pImpl->Post(
        [bFront](LiveCore& core) { core.TheCapture().SetFrontCamera(bFront != 0); });
}

int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) {
    Fill(vaxoengine::VideoDevices(), outDeviceList);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) {
    const std::string id = strDeviceId ? Bytes(*strDeviceId) : std::string();
    if (!id.empty() && !vaxoengine::IsVideoDevice(id)) {
        return VaxoLiveStatus_NoDevice;
    }
    return m_pImpl->Post([id](LiveCore& core) { core.TheCapture().SetVideoDevice(id); });
}

int CVaxoLiveShow::GetAudioDeviceList(int deviceType,
                                      vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) {
    if (!IsAudioKind(deviceType)) {
        return VaxoLiveStatus_BadArgument;
    }
    Fill(vaxoengine::AudioDevices(static_cast<vaxoengine::AudioDeviceKind>(deviceType)),
         outListDevice);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) {
    if (!IsAudioKind(deviceType)) {
        return VaxoLiveStatus_BadArgument;
    }
    const std::string id = Bytes(deviceID);
    const auto kind = static_cast<vaxoengine::AudioDeviceKind>(deviceType);
    if (!id.empty() && !vaxoengine::IsAudioDevice(kind, id)) {
        return VaxoLiveStatus_NoDevice;
    }
    return m_pImpl->Post([id, kind](LiveCore& core) {
        if (kind == vaxoengine::AudioDevice_Input) {
            core.TheCapture().SetAudioDevice(id);
        } else {
            core.ThePlays().SetAudioOutput(id);
        }
    });
}

int CVaxoLiveShow::EnableMic(bool bEnable) {
    return m_pImpl->Post(
        [bEnable](LiveCore& core) { core.TheCapture().EnableMicrophone(bEnable); });
}

int CVaxoLiveShow::EnableCam(bool bEnable) {
    return m_pImpl->Post([bEnable](LiveCore& core) { core.TheCapture().EnableCamera(bEnable); });
}

int CVaxoLiveShow::SetSpeakerPhoneOn(bool /*bOn*/) {
    return VaxoLiveStatus_NotSupported;  // a telephone's routing of sound
}

int CVaxoLiveShow::EnableSpk(bool bEnable) {
    return m_pImpl->Post([bEnable](LiveCore& core) { core.ThePlays().EnableSound(bEnable); });
}

int CVaxoLiveShow::EnableTorch(bool /*bEnable*/) {
    return VaxoLiveStatus_NotSupported;
}

int CVaxoLiveShow::EnableBeautifying(int nFeature) {
    if (nFeature < 0 || nFeature > static_cast<int>(vaxoengine::BeautyFilter::kAll)) {
        return VaxoLiveStatus_BadArgument;
    }
    const auto features = static_cast<unsigned>(nFeature);
    return m_pImpl->Post(
        [features](LiveCore& core) { core.TheCapture().SetBeautifying(features); });
}

int CVaxoLiveShow::SetFilter(int nIndex) {
    if (nIndex < 0 || nIndex >= vaxoengine::kLooks) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([nIndex](LiveCore& core) { core.TheCapture().SetFilter(nIndex); });
}

int CVaxoLiveShow::SetCaptureRotation(int nRotation) {
    if (nRotation % 90 != 0) {
        return VaxoLiveStatus_BadArgument;
    }
    const int degrees = (nRotation % 360 + 360) % 360;
    return m_pImpl->Post([degrees](LiveCore& core) { core.TheCapture().SetRotation(degrees); });
}

int CVaxoLiveShow::TakeSnapshotPreview() {
    return m_pImpl->Post([](LiveCore& core) { core.TakePreviewSnapshot(); });
}

int CVaxoLiveShow::TakeSnapshotRender(int nChannelIdx) {
    if (nChannelIdx < 0) {
        return VaxoLiveStatus_BadArgument;
    }
    return m_pImpl->Post([nChannelIdx](LiveCore& core) {
        core.TakeRenderSnapshot(static_cast<unsigned>(nChannelIdx));
    });
}

int CVaxoLiveShow::SetAuxCallback(Mediq::IVaxoAuxCallback* pCB) {
    m_pImpl->aux->Set(pCB);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::EnableAux(bool bEnable) {
    return m_pImpl->Post([bEnable](LiveCore& core) { core.TheCapture().EnableAux(bEnable); });
}

}  // namespace Strova
