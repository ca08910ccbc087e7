// Which sources run now, and what stands in for one that fails.
#ifndef VAXO_ENGINE_CAPTURE_SOURCESWITCH_H
#define VAXO_ENGINE_CAPTURE_SOURCESWITCH_H

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "engine/base/EngineLoop.h"
#include "engine/source/MediaSource.h"

namespace vaxoengine {

// What the capture wants to hear and see. Identifiers as MediaSource takes them, never empty.
struct SourceWish {
    std::string video;
    std::string audio;
    SourceFormat format;
};

// What takes the place of a device that failed, given all that failed since the wish; empty:
// black or silence.
struct SourceFallbacks {
    using Next =
        std::function<std::string(const std::string& device, const std::set<std::string>& failed)>;
    Next video;
    Next audio;
};

// Engine's thread only. Picture and sound have a source each, so that changing one does not
// disturb the other; when both come from the same file, one source gives both.
class SourceSwitch {
public:
    // The first buffer that a source gives carries the mark of a discontinuity.
    // `onTrouble`: engine's thread, never from inside a call of the switch: a device could
    // not be started, failed, or gave nothing for a long time. What takes its place runs already.
    SourceSwitch(SourceSinks sinks, SourceFallbacks fallbacks,
                 std::function<void(const std::string&)> onTrouble);
    ~SourceSwitch();
    SourceSwitch(const SourceSwitch&) = delete;
    SourceSwitch& operator=(const SourceSwitch&) = delete;

    // Starts what is wanted and not there, and ends what is not wanted any more. A device
    // that failed is not tried again while it is wished for without a break.
    void Run(GstClockTime baseTime, const SourceWish& wish);
    void Stop();      // no sink is called after it
    void TryAgain();  // the next Run tries devices that failed
    // Where picture and sound come from; empty when nothing runs.
    const std::string& VideoDevice() const { return m_video.device; }
    const std::string& AudioDevice() const { return m_audio.device; }

private:
    struct Feed {
        std::string device;
        std::string wish;
        std::set<std::string> failed;         // since the wish
        std::string standIn;                  // runs in its place; empty: nothing failed
        std::unique_ptr<MediaSource> source;  // empty for a sound that comes with the picture
        unsigned number = 0;
        std::atomic<int> quiet{0};  // watches without a buffer since
    };
    static void Wish(Feed& feed, const std::string& device);
    static void Forget(Feed& feed);
    static void Replace(Feed& feed, const SourceFallbacks::Next& next, const char* nothing);
    void Apply();
    void Start(Feed& feed, bool video, bool audio);
    std::function<void(GstSample*)> Counted(Feed& feed,
                                            const std::function<void(GstSample*)>& sink);
    void ReportLater(unsigned number, const std::string& text);
    void OnTrouble(unsigned number, const std::string& text);
    void Watch();

    const SourceSinks m_sinks;
    const SourceFallbacks m_fallbacks;
    const std::function<void(const std::string&)> m_onTrouble;
    GstClockTime m_baseTime = GST_CLOCK_TIME_NONE;
    SourceFormat m_wished;
    SourceFormat m_format;  // of the running picture
    Feed m_video;
    Feed m_audio;
    bool m_joint = false;
    unsigned m_lastNumber = 0;
    EngineTimer m_watch;
    std::shared_ptr<SourceSwitch*> m_self;  // for jobs that may come after the end
};

}  // namespace vaxoengine

#endif
