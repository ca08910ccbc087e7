// An encoder in a pipeline of its own, fed with raw samples: made when encoding begins,
// thrown away when it ends or needs other settings, so that the capture pipeline never
// notices and nothing is encoded that nobody wants.
#ifndef VAXO_ENGINE_CAPTURE_ENCODER_H
#define VAXO_ENGINE_CAPTURE_ENCODER_H

#include <atomic>
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
    // Bits and pictures a second from now on, at most what it was made for: lower rates are
    // reached within a second, a higher one than the last not reliably (make a new encoder).
    // Of a source that gives more pictures some are left out.
    void SetRate(int bitrate, int fps);

private:
    Encoder(GstRef<GstElement> pipeline, int fps, GstClockTime delay, Sink sink, Trouble onTrouble);
    bool Start();
    void OnMessage(GstMessage* message);

    GstRef<GstElement> m_pipeline;
    GstRef<GstElement> m_source;
    GstRef<GstElement> m_end;
    bool IsDue(GstClockTime stamp);

    int m_bitrate = 0;                      // of the last SetRate
    std::atomic<GstClockTime> m_period{0};  // between two pictures; 0: any
    // The pushing thread's.
    GstClockTime m_nextKey = GST_CLOCK_TIME_NONE;
    GstClockTime m_nextPicture = 0;
    const int m_fps;             // 0: sound
    const GstClockTime m_delay;  // by which what comes out stands behind its time stamps
    const Sink m_sink;
    Trouble m_onTrouble;
    std::unique_ptr<BusWatch> m_bus;
};

}  // namespace vaxoengine

#endif
