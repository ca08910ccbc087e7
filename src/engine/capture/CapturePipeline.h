// The raw half of the capture: pictures and sound go in as sources deliver them and come
// out as they are published. Sources come and go without its noticing.
#ifndef VAXO_ENGINE_CAPTURE_CAPTUREPIPELINE_H
#define VAXO_ENGINE_CAPTURE_CAPTUREPIPELINE_H

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "engine/base/GstRef.h"
#include "engine/capture/AuxSource.h"
#include "engine/capture/PictureFilter.h"

namespace vaxoengine {

struct VideoSettings;

// I420 pictures of the size asked for, at most at the rate asked for; S16LE sound, 48000 samples a
// second, stereo, without a gap as long as the pipeline runs. On streaming threads, transfer full;
// the stamps are running times. Must not wait for the engine's thread.
struct RawSinks {
    std::function<void(GstSample*)> video;
    std::function<void(GstSample*)> audio;
};

// Engine's thread, but for the Push calls.
class CapturePipeline {
public:
    // `onTrouble`: engine's thread, at most once: it does not go on. It may destroy the
    // pipeline.
    CapturePipeline(RawSinks sinks, std::function<void(const std::string&)> onTrouble);
    ~CapturePipeline();  // no sink is called after it; nobody may push meanwhile
    CapturePipeline(const CapturePipeline&) = delete;
    CapturePipeline& operator=(const CapturePipeline&) = delete;

    // False when it cannot be built or started; the log has the reason.
    bool Start(GstClockTime baseTime);
    GstElement* PreviewTee() const { return m_tee.get(); }

    // Work on the running pipeline.
    void SetVideo(const VideoSettings& settings);
    void SetRotation(int degrees);
    void SetLook(int index);
    void SetBeauty(unsigned features);

    // One thread a kind at a time; never block. Transfer full; stamped with running times.
    void PushVideo(GstSample* sample);
    void PushAudio(GstSample* sample);
    void PushAux(const AuxSound& sound);

private:
    void OnMessage(GstMessage* message);
    void SayRate(GstSample* sample);

    const RawSinks m_sinks;
    std::function<void(const std::string&)> m_onTrouble;
    GstRef<GstElement> m_pipeline;
    GstRef<GstElement> m_tee;
    GstRef<GstElement> m_video;
    GstRef<GstElement> m_audio;
    GstRef<GstElement> m_aux;
    std::atomic<int> m_fps{1};
    // The pushing thread's: the last description of pictures that came, and as passed on.
    GstCapsRef m_capsSeen;
    GstCapsRef m_capsSaid;
    int m_fpsSaid = 0;
    GstClockTime m_baseTime = GST_CLOCK_TIME_NONE;
    GstClockTime m_nextAux = GST_CLOCK_TIME_NONE;  // where the next sound joins the last one
    std::unique_ptr<PictureFilter> m_filter;
    std::unique_ptr<BusWatch> m_bus;
};

}  // namespace vaxoengine

#endif
