// The parts of a media source: pipelines that end in appsinks, and the gate through which
// their samples leave.
//
// Parts are made, started and destroyed on the engine's thread; the gate is passed on
// streaming threads.
#ifndef VAXO_ENGINE_SOURCE_SOURCEPIPELINES_H
#define VAXO_ENGINE_SOURCE_SOURCEPIPELINES_H

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "engine/base/GstRef.h"
#include "engine/source/MediaSource.h"

namespace vaxoengine {

enum class SourceKind { Video, Audio };

// Gives samples to the owner of the source, stamped on the owner's scale. Stamps of one kind
// always grow; samples that would break that are dropped, and so are those without a stamp.
class SampleGate {
public:
    SampleGate(SourceSinks sinks, GstClockTime ownerBase, int fps);

    // Nothing is given away by calls that begin after this.
    void Close() { m_open = false; }
    // Takes the sample. `pipelineBase`: base time of the pipeline that made it. One thread at
    // a time for each kind. False when the gate is closed.
    bool Pass(SourceKind kind, GstSample* sample, GstClockTime pipelineBase);
    GstClockTime OwnerBase() const { return m_ownerBase; }
    // How many samples of that kind had a usable stamp. Any thread.
    unsigned Count(SourceKind kind) const {
        return kind == SourceKind::Video ? m_video.count : m_audio.count;
    }

private:
    struct Way {
        std::function<void(GstSample*)> sink;
        GstClockTime last = GST_CLOCK_TIME_NONE;
        std::atomic<unsigned> count{0};
    };

    const GstClockTime m_ownerBase;
    const int m_fps;
    std::atomic<bool> m_open{true};
    Way m_video;
    Way m_audio;
};

// Lets the appsink of that name give its samples to the gate.
void ConnectSink(const GstRef<GstElement>& bin, const char* name, SourceKind kind,
                 std::shared_ptr<SampleGate> gate);

// Launch texts. The end of a branch is an appsink of that name; `sync`: at the stamps' pace.
// A video branch needs LimitPictureRate at kRateLimit.
extern const char* const kRateLimit;
std::string BranchText(SourceKind kind, const SourceFormat& format, const char* sinkName,
                       bool sync);
// A whole pipeline for a built-in source or a listed device; empty for an unknown one.
std::string LivePipelineText(SourceKind kind, const std::string& device,
                             const SourceFormat& format);

class SourcePart {
public:
    virtual ~SourcePart() = default;
    virtual bool Start() = 0;
};

using TroubleHandler = std::function<void(const std::string&)>;

// A camera, a microphone or a built-in source. `onTrouble` may come several times; it must
// not destroy the part.
std::unique_ptr<SourcePart> MakeLivePart(SourceKind kind, const std::string& device,
                                         const SourceFormat& format,
                                         std::shared_ptr<SampleGate> gate,
                                         TroubleHandler onTrouble);

}  // namespace vaxoengine

#endif
