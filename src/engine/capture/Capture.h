// The capture side: takes pictures and sound from a MediaSource, applies what the
// application asked for, shows the preview, and encodes. It knows nothing of the network
// and is never stopped by its trouble.
//
// Engine's thread only. Every setter may be called at any moment, works on the running
// pipeline, and is kept for later when nothing runs.
#ifndef VAXO_ENGINE_CAPTURE_CAPTURE_H
#define VAXO_ENGINE_CAPTURE_CAPTURE_H

#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "IVaxoAuxCallback.h"
#include "engine/view/Snapshot.h"
#include "engine/view/ViewBranch.h"

namespace vaxoengine {

// What is published.
struct VideoSettings {
    int bitrate = 800000;  // bits a second
    int fps = 15;
    int width = 640;
    int height = 360;
};

// Encoded pictures (H.264, avc, one access unit a buffer) and sound (AAC, raw), called on
// streaming threads, transfer full. Time stamps are running times of Capture's pipeline. Both
// must be set, and must not wait for the engine's thread.
struct EncodedSinks {
    std::function<void(GstSample*)> video;
    std::function<void(GstSample*)> audio;
};

class Capture {
public:
    // `onTrouble`: engine's thread; the device or the encoder failed (text for the log).
    // The pictures go on from the next camera, else as the test picture, or as black when no
    // camera was chosen; the sound from the next microphone, else as silence; an encoder is made
    // anew. It must not destroy the capture.
    explicit Capture(std::function<void(const std::string&)> onTrouble);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // The pipeline runs while there is a preview or a publish. False when it cannot be
    // built or started.
    bool StartPreview();
    void StopPreview();
    bool StartEncoding(EncodedSinks sinks);  // begins with a key frame
    void StopEncoding();                     // no sink is called after it
    // Output pipelines run on this base time, and on the engine's clock.
    GstClockTime BaseTime() const;
    void ForceKeyFrame();

    void SetPreviewWindow(unsigned long window);
    void SetPreviewMode(ViewMode mode);

    void SetVideo(const VideoSettings& settings);  // values are in range; ends an Adapt
    const VideoSettings& Video() const;
    // What the network takes is encoded, until the next SetVideo or StartEncoding: at most what
    // was set. A higher bitrate begins with a key frame.
    void Adapt(int bitrate, int fps);
    void SetRotation(int degrees);               // 0, 90, 180, 270, clockwise
    void SetFilter(int index);                   // 0 <= index < kLooks (Looks.h)
    void SetBeautifying(unsigned features);      // bits of BeautyFilter.h
    void SetVideoDevice(const std::string& id);  // as Devices lists them; empty: the default
    void SetAudioDevice(
        const std::string& id);          // empty: the default, or the video file's own sound
    void SetFrontCamera(bool front);     // when no device was chosen
    void EnableCamera(bool enable);      // off: the device is closed, black is sent
    void EnableMicrophone(bool enable);  // off: the device is closed, silence is sent
    // While enabled, asks for 10 ms of sound at a time on a thread of the capture's own. See
    // AuxSource.h. Null, or disabling, waits for a call that runs just now.
    void SetAuxCallback(Mediq::IVaxoAuxCallback* callback);
    void EnableAux(bool enable);

    // The last picture as it is published (rotated, filtered). False when there is none yet.
    bool TakePreviewSnapshot(Snapshot& out);

    struct Stats {
        double fps = 0;             // encoded over the last second
        unsigned videoBitrate = 0;  // bits a second, encoded over the last second
        unsigned audioBitrate = 0;
        std::string videoDevice;  // where the picture comes from now; empty: nothing runs
        std::string audioDevice;
    };
    Stats GetStats() const;

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
