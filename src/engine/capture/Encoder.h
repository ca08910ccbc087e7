// An encoder in a pipeline of its own, fed with raw samples: made when encoding begins,
// thrown away when it ends or needs other settings, so that the capture pipeline never
// notices and nothing is encoded that nobody wants.
#ifndef VAXO_ENGINE_CAPTURE_ENCODER_H
#define VAXO_ENGINE_CAPTURE_ENCODER_H

#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "engine/base/GstRef.h"

namespace vaxoengine {

struct VideoSettings;

// Engine's thread, but for Push.
class Encoder {
public:
    // Transfer full, on the encoder's streaming thread; stamps are the running times that
    // went in. It must not wait for the engine's thread, which may wait for its end.
    using Sink = std::function<void(GstSample*)>;
    // Engine's thread, at most once: it encodes no more. May destroy the encoder.
    using Trouble = std::function<void(const std::string&)>;

    // Empty when it cannot be built or started; the log has the reason. The first picture
    // is a key frame; one follows each second.
    static std::unique_ptr<Encoder> OfVideo(const VideoSettings& settings, Sink sink,
                                            Trouble onTrouble);
    static std::unique_ptr<Encoder> OfAudio(Sink sink, Trouble onTrouble);
    ~Encoder();  // no sink is called after it
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    // One thread at a time, never blocks: what the encoder does not keep up with is dropped, the
    // oldest first. The buffer's time stamps are running times. Transfer none.
    void Push(GstSample* sample);

    // Of a video encoder:
    void ForceKeyFrame();  // any thread
    // Reaches lower rates reliably; for a higher one make a new encoder.
    void LowerBitrate(int bitrate);

private:
    Encoder(GstRef<GstElement> pipeline, bool keyFrames, Sink sink, Trouble onTrouble);
    bool Start();
    void OnMessage(GstMessage* message);

    GstRef<GstElement> m_pipeline;
    GstRef<GstElement> m_source;
    GstRef<GstElement> m_end;
    GstClockTime m_nextKey = GST_CLOCK_TIME_NONE;  // the pushing thread's
    const bool m_keyFrames;
    const Sink m_sink;
    Trouble m_onTrouble;
    std::unique_ptr<BusWatch> m_bus;
};

}  // namespace vaxoengine

#endif
