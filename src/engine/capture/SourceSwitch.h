// Which sources run now, and what stands in for one that fails.
#ifndef VAXO_ENGINE_CAPTURE_SOURCESWITCH_H
#define VAXO_ENGINE_CAPTURE_SOURCESWITCH_H

#include <atomic>
#include <functional>
#include <memory>
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

// Engine's thread only. Picture and sound have a source each, so that changing one does not
// disturb the other; when both come from the same file, one source gives both.
class SourceSwitch {
public:
    // The first buffer that a source gives carries the mark of a discontinuity.
    // `onTrouble`: engine's thread, never from inside a call of the switch: a device could
    // not be started, failed, or gave nothing for a long time. Black or silence runs already.
    SourceSwitch(SourceSinks sinks, std::function<void(const std::string&)> onTrouble);
    ~SourceSwitch();
    SourceSwitch(const SourceSwitch&) = delete;
    SourceSwitch& operator=(const SourceSwitch&) = delete;

    // Starts what is wanted and not there, and ends what is not wanted any more. A device
    // that failed is not tried again while it is wished for without a break.
    void Run(GstClockTime baseTime, const SourceWish& wish);
    void Stop();      // no sink is called after it
    void TryAgain();  // the next Run tries devices that failed

private:
    struct Feed {
        std::string device;
        std::string failed;                   // the wish that black or silence stands in for
        std::unique_ptr<MediaSource> source;  // empty for a sound that comes with the picture
        unsigned number = 0;
        std::atomic<int> quiet{0};  // watches without a buffer since
    };
    void Apply();
    void Start(Feed& feed, bool video, bool audio);
    std::function<void(GstSample*)> Counted(Feed& feed,
                                            const std::function<void(GstSample*)>& sink);
    void ReportLater(unsigned number, const std::string& text);
    void OnTrouble(unsigned number, const std::string& text);
    void Watch();

    const SourceSinks m_sinks;
    const std::function<void(const std::string&)> m_onTrouble;
    GstClockTime m_baseTime = GST_CLOCK_TIME_NONE;
    SourceWish m_wish;
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
