// Where raw pictures and sound come from: a camera, a microphone, a file in a loop, the
// built-in test picture and test tone, black, silence.
//
// A source is a pipeline of its own, thrown away when another device is chosen, so that a
// camera that hangs or a file that ends never disturbs what is being published.
#ifndef VAXO_ENGINE_SOURCE_MEDIASOURCE_H
#define VAXO_ENGINE_SOURCE_MEDIASOURCE_H

#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

namespace vaxoengine {

// Raw video as it leaves a source: I420, this size (bars where the shape differs, square
// pixels), at most this rate. Raw sound: S16LE interleaved, 48000 samples a second, stereo.
struct SourceFormat {
    int width = 640;
    int height = 360;
    int fps = 15;
};

// Called on the source's streaming threads. The sample's buffer carries a time stamp on the
// scale that `baseTime` of Start defines: running time of a pipeline that uses the engine's
// clock and has that base time. The sample is the callee's to keep (transfer full).
struct SourceSinks {
    std::function<void(GstSample*)> video;  // empty: not wanted
    std::function<void(GstSample*)> audio;
};

// The identifiers of built-in devices; a file is its "file:///..." address, other devices
// have the identifiers that Devices lists.
extern const char* const kTestPicture;  // "test:picture": moving, with a clock that both people and
                                        // ClockStamp.h read
extern const char* const kTestTone;     // "test:tone"
extern const char* const kBlack;        // "none:black": camera off
extern const char* const kSilence;      // "none:silence"

class MediaSource {
public:
    // `onTrouble`: engine's thread, at most once: the source ended or failed for good (text
    // for the log). A file that ends begins again by itself.
    // `videoDevice`, `audioDevice`: empty when not wanted. Both the same file: one pipeline,
    // so that picture and sound stay together.
    MediaSource(std::string videoDevice, std::string audioDevice, SourceFormat format,
                SourceSinks sinks, std::function<void(const std::string&)> onTrouble);
    ~MediaSource();  // no sink is called after it; may take as long as the device's closing
    MediaSource(const MediaSource&) = delete;
    MediaSource& operator=(const MediaSource&) = delete;

    // False when it cannot be built or started; the log has the reason.
    bool Start(GstClockTime baseTime);

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
