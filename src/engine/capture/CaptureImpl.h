// What Capture keeps: what was asked for, and what runs because of it.
#ifndef VAXO_ENGINE_CAPTURE_CAPTUREIMPL_H
#define VAXO_ENGINE_CAPTURE_CAPTUREIMPL_H

#include <memory>
#include <mutex>
#include <string>

#include "engine/base/EngineLoop.h"
#include "engine/base/GstRef.h"
#include "engine/capture/AuxSource.h"
#include "engine/capture/Capture.h"
#include "engine/capture/CapturePipeline.h"
#include "engine/capture/Encoder.h"
#include "engine/capture/RateMeter.h"
#include "engine/capture/Slot.h"
#include "engine/capture/SourceSwitch.h"

namespace vaxoengine {

// For snapshots. Any thread.
class LastPicture {
public:
    void Set(GstSampleRef next);
    // Empty when there is none. `time`: when it was set, microseconds since 1970.
    GstSampleRef Get(uint64& time) const;

private:
    mutable std::mutex m_mutex;
    GstSampleRef m_sample;
    uint64 m_time = 0;
};

struct Capture::Impl {
    explicit Impl(std::function<void(const std::string&)> tell) : onTrouble(std::move(tell)) {}

    bool Update();
    bool StartPipeline();
    void StopPipeline();
    void UpdateSources();
    void ChooseAgain();
    void UpdateView();
    bool StartEncoders();
    bool StartVideoEncoder();
    void StopEncoders();
    void OnPicture(GstSample* sample);
    void OnSound(GstSample* sample);
    void OnBroken(const std::string& text);
    void Repair();

    const std::function<void(const std::string&)> onTrouble;

    // What was asked for.
    VideoSettings video;
    int rotation = 0;
    int look = 0;
    unsigned beauty = 0;
    std::string videoDevice;
    std::string audioDevice;
    bool front = true;
    bool camera = true;
    bool microphone = true;
    unsigned long window = 0;
    ViewMode mode = ViewMode_Fit;
    bool preview = false;
    bool encoding = false;
    EncodedSinks sinks;
    int bitrate = VideoSettings().bitrate;  // encoded now: at most what was asked for
    int fps = VideoSettings().fps;

    // What runs.
    GstClockTime baseTime = GST_CLOCK_TIME_NONE;
    LastPicture lastPicture;
    RateMeter videoRate;
    RateMeter audioRate;
    Slot<Encoder> videoEncoder;
    Slot<Encoder> audioEncoder;
    Slot<CapturePipeline> pipeline;
    std::unique_ptr<ViewBranch> view;
    std::unique_ptr<SourceSwitch> sources;
    EngineTimer repair;
    AuxSource aux{[this](const AuxSound& sound) {
        pipeline.With([&](CapturePipeline& to) { to.PushAux(sound); });
    }};
};

}  // namespace vaxoengine

#endif
