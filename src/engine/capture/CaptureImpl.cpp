#include "engine/capture/CaptureImpl.h"

#include <chrono>
#include <utility>

#include "engine/source/Devices.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

// Before what failed is made anew: whatever fails at once must not keep the thread busy.
constexpr std::chrono::milliseconds kRepairAfter{1000};

GstClockTime Now() {
    GstClock* const clock = gst_system_clock_obtain();
    const GstClockTime now = gst_clock_get_time(clock);
    gst_object_unref(clock);
    return now;
}

uint64 WallClock() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64>(
        std::chrono::duration_cast<std::chrono::microseconds>(since).count());
}

}  // namespace

void LastPicture::Set(GstSampleRef next) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sample.swap(next);
    m_time = WallClock();
}

GstSampleRef LastPicture::Get(uint64& time) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    time = m_time;
    return GstSampleRef(m_sample ? gst_sample_ref(m_sample.get()) : nullptr);
}

// Starts or ends the pipeline as preview and encoding want it.
bool Capture::Impl::Update() {
    if (!preview && !encoding) {
        StopPipeline();
        return true;
    }
    if (pipeline.Get() == nullptr) {
        // Kept when a broken pipeline is replaced: output pipelines go on with it.
        if (!GST_CLOCK_TIME_IS_VALID(baseTime)) {
            baseTime = Now();
        }
        if (!StartPipeline()) {
            return false;
        }
    }
    UpdateView();
    return true;
}

bool Capture::Impl::StartPipeline() {
    auto made =
        std::make_unique<CapturePipeline>(RawSinks{[this](GstSample* sample) { OnPicture(sample); },
                                                   [this](GstSample* sample) { OnSound(sample); }},
                                          [this](const std::string& text) { OnBroken(text); });
    made->SetVideo(video);
    made->SetRotation(rotation);
    made->SetLook(look);
    made->SetBeauty(beauty);
    if (!made->Start(baseTime)) {
        return false;
    }
    CapturePipeline* const to = made.get();
    pipeline.Set(std::move(made));
    // Ended before the pipeline is: no lock needed.
    sources = std::make_unique<SourceSwitch>(
        SourceSinks{[to](GstSample* sample) { to->PushVideo(sample); },
                    [to](GstSample* sample) { to->PushAudio(sample); }},
        SourceFallbacks{NextVideoDevice, NextAudioDevice}, onTrouble);
    UpdateSources();
    return true;
}

void Capture::Impl::StopPipeline() {
    repair.Stop();
    view.reset();
    sources.reset();
    pipeline.Set(nullptr);
    lastPicture.Set(nullptr);
    baseTime = GST_CLOCK_TIME_NONE;
}

void Capture::Impl::UpdateSources() {
    if (!sources) {
        return;
    }
    SourceWish wish;
    wish.format = {video.width, video.height, video.fps};
    const bool file = videoDevice.rfind("file:", 0) == 0;
    if (!camera) {
        wish.video = kBlack;
    } else {
        wish.video = videoDevice.empty() ? DefaultVideoDevice(front) : videoDevice;
    }
    if (!microphone) {
        wish.audio = kSilence;
    } else if (!audioDevice.empty()) {
        wish.audio = audioDevice;
    } else {
        wish.audio = file ? videoDevice : DefaultAudioDevice(AudioDevice_Input);
    }
    sources->Run(baseTime, wish);
}

// After a change of devices: also one that failed before deserves another try.
void Capture::Impl::ChooseAgain() {
    if (sources) {
        sources->TryAgain();
        UpdateSources();
    }
}

void Capture::Impl::UpdateView() {
    if (!preview || window == 0 || pipeline.Get() == nullptr) {
        view.reset();
        return;
    }
    if (!view) {
        view = std::make_unique<ViewBranch>(pipeline.Get()->PreviewTee());
        view->SetMode(mode);
        view->SetWindow(window);  // says itself why it cannot
    }
}

bool Capture::Impl::StartVideoEncoder() {
    VideoSettings encoded = video;
    encoded.bitrate = bitrate;
    auto made = Encoder::OfVideo(
        encoded,
        [this](GstSample* sample) {
            videoRate.Add(
                static_cast<unsigned>(gst_buffer_get_size(gst_sample_get_buffer(sample))));
            sinks.video(sample);
        },
        [this](const std::string& text) { OnBroken(text); });
    if (made) {
        made->SetRate(bitrate, fps);
    }
    videoEncoder.Set(std::move(made));
    return videoEncoder.Get() != nullptr;
}

bool Capture::Impl::StartEncoders() {
    auto made = Encoder::OfAudio(
        [this](GstSample* sample) {
            audioRate.Add(
                static_cast<unsigned>(gst_buffer_get_size(gst_sample_get_buffer(sample))));
            sinks.audio(sample);
        },
        [this](const std::string& text) { OnBroken(text); });
    audioEncoder.Set(std::move(made));
    return audioEncoder.Get() != nullptr && StartVideoEncoder();
}

void Capture::Impl::StopEncoders() {
    videoEncoder.Set(nullptr);
    audioEncoder.Set(nullptr);
    videoRate.Reset();
    audioRate.Reset();
}

void Capture::Impl::OnPicture(GstSample* sample) {
    GstSampleRef owned(sample);
    videoEncoder.With([&](Encoder& encoder) { encoder.Push(sample); });
    lastPicture.Set(std::move(owned));
}

void Capture::Impl::OnSound(GstSample* sample) {
    const GstSampleRef owned(sample);
    audioEncoder.With([&](Encoder& encoder) { encoder.Push(sample); });
}

// The pipeline itself or an encoder: both are made anew, in a while.
void Capture::Impl::OnBroken(const std::string& text) {
    repair.Once(kRepairAfter, [this] { Repair(); });
    onTrouble(text);
}

void Capture::Impl::Repair() {
    view.reset();
    sources.reset();
    pipeline.Set(nullptr);
    if (!Update() || (encoding && !StartEncoders())) {
        OnBroken("the capture cannot be repaired");
    }
}

}  // namespace vaxoengine
