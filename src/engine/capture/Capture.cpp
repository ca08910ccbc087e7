#include "engine/capture/Capture.h"

#include <algorithm>
#include <utility>

#include "engine/capture/CaptureImpl.h"

namespace vaxoengine {

Capture::Capture(std::function<void(const std::string&)> onTrouble)
    : m_impl(std::make_shared<Impl>(std::move(onTrouble))) {}

Capture::~Capture() {
    m_impl->aux.SetCallback(nullptr);
    StopEncoding();
    StopPreview();
}

bool Capture::StartPreview() {
    m_impl->preview = true;
    if (!m_impl->Update()) {
        StopPreview();
        return false;
    }
    return true;
}

void Capture::StopPreview() {
    m_impl->preview = false;
    m_impl->Update();
}

bool Capture::StartEncoding(EncodedSinks sinks) {
    m_impl->StopEncoders();
    m_impl->sinks = std::move(sinks);
    m_impl->encoding = true;
    m_impl->bitrate = m_impl->video.bitrate;
    m_impl->fps = m_impl->video.fps;
    if (!m_impl->Update() || !m_impl->StartEncoders()) {
        StopEncoding();
        return false;
    }
    return true;
}

void Capture::StopEncoding() {
    m_impl->StopEncoders();
    m_impl->sinks = {};
    m_impl->encoding = false;
    m_impl->Update();
}

GstClockTime Capture::BaseTime() const {
    return m_impl->baseTime;
}

void Capture::ForceKeyFrame() {
    if (Encoder* const encoder = m_impl->videoEncoder.Get()) {
        encoder->ForceKeyFrame();
    }
}

void Capture::SetPreviewWindow(unsigned long window) {
    m_impl->window = window;
    m_impl->view.reset();
    m_impl->UpdateView();
}

void Capture::SetPreviewMode(ViewMode mode) {
    m_impl->mode = mode;
    if (m_impl->view) {
        m_impl->view->SetMode(mode);
    }
}

void Capture::SetVideo(const VideoSettings& settings) {
    const VideoSettings before = std::exchange(m_impl->video, settings);
    const int encoded = std::exchange(m_impl->bitrate, settings.bitrate);
    m_impl->fps = settings.fps;
    const bool sameFormat = before.fps == settings.fps && before.width == settings.width &&
                            before.height == settings.height;
    if (!sameFormat && m_impl->pipeline.Get() != nullptr) {
        m_impl->pipeline.Get()->SetVideo(settings);
        m_impl->UpdateSources();
    }
    Encoder* const encoder = m_impl->videoEncoder.Get();
    if (encoder == nullptr) {
        return;
    }
    if (sameFormat && settings.bitrate <= encoded) {
        encoder->SetRate(settings.bitrate, settings.fps);
    } else if (!m_impl->StartVideoEncoder()) {
        m_impl->OnBroken("the encoder cannot be made anew");
    }
}

const VideoSettings& Capture::Video() const {
    return m_impl->video;
}

void Capture::Adapt(int bitrate, int fps) {
    const int before = std::exchange(m_impl->bitrate, std::min(bitrate, m_impl->video.bitrate));
    m_impl->fps = std::min(fps, m_impl->video.fps);
    Encoder* const encoder = m_impl->videoEncoder.Get();
    if (encoder == nullptr) {
        return;
    }
    if (m_impl->bitrate <= before) {
        encoder->SetRate(m_impl->bitrate, m_impl->fps);
    } else if (!m_impl->StartVideoEncoder()) {
        m_impl->OnBroken("the encoder cannot be made anew");
    }
}

void Capture::SetRotation(int degrees) {
    m_impl->rotation = degrees;
    if (CapturePipeline* const pipeline = m_impl->pipeline.Get()) {
        pipeline->SetRotation(degrees);
    }
}

void Capture::SetFilter(int index) {
    m_impl->look = index;
    if (CapturePipeline* const pipeline = m_impl->pipeline.Get()) {
        pipeline->SetLook(index);
    }
}

void Capture::SetBeautifying(unsigned features) {
    m_impl->beauty = features;
    if (CapturePipeline* const pipeline = m_impl->pipeline.Get()) {
        pipeline->SetBeauty(features);
    }
}

void Capture::SetVideoDevice(const std::string& id) {
    m_impl->videoDevice = id;
    m_impl->ChooseAgain();
}

void Capture::SetAudioDevice(const std::string& id) {
    m_impl->audioDevice = id;
    m_impl->ChooseAgain();
}

void Capture::SetFrontCamera(bool front) {
    m_impl->front = front;
    m_impl->ChooseAgain();
}

void Capture::EnableCamera(bool enable) {
    m_impl->camera = enable;
    m_impl->ChooseAgain();
}

void Capture::EnableMicrophone(bool enable) {
    m_impl->microphone = enable;
    m_impl->ChooseAgain();
}

void Capture::SetAuxCallback(Mediq::IVaxoAuxCallback* callback) {
    m_impl->aux.SetCallback(callback);
}

void Capture::EnableAux(bool enable) {
    m_impl->aux.Enable(enable);
}

bool Capture::TakePreviewSnapshot(Snapshot& out) {
    uint64 time = 0;
    const GstSampleRef sample = m_impl->lastPicture.Get(time);
    return sample && TakeSnapshot(sample.get(), time, out);
}

Capture::Stats Capture::GetStats() const {
    const RateMeter::Rate video = m_impl->videoRate.Read();
    Stats stats{
        static_cast<double>(video.count), video.bits, m_impl->audioRate.Read().bits, {}, {}};
    if (m_impl->sources) {
        stats.videoDevice = m_impl->sources->VideoDevice();
        stats.audioDevice = m_impl->sources->AudioDevice();
    }
    return stats;
}

}  // namespace vaxoengine
