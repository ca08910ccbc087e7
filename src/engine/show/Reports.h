// What an engine tells its callback, in the callback's own terms. Any thread.
#ifndef VAXO_ENGINE_SHOW_REPORTS_H
#define VAXO_ENGINE_SHOW_REPORTS_H

#include <memory>
#include <string>

#include "IVaxoLive.h"
#include "engine/base/EventDelivery.h"
#include "engine/channel/ChannelService.h"
#include "engine/show/SharedView.h"
#include "engine/view/Snapshot.h"

namespace vaxoengine {

class Reports {
public:
    Reports(std::shared_ptr<EventDelivery> delivery, std::shared_ptr<SharedView> view);

    void Entered(unsigned error) const;
    void Left() const;
    void Lost(unsigned error, const std::string& channel) const;
    void Back(const std::string& channel) const;
    void Counts(unsigned online, unsigned total) const;
    void Stream(const Strova::VaxoLiveStream& stream, VaxoAVStreamUpdateFlag flag) const;
    // An answer always arrives. A change does not when the same was asked for anew before
    // it is delivered.
    void PublishAnswer(Mediq::VaxoAVState state, const std::string& streamID) const;
    void PublishChange(Mediq::VaxoAVState state, const std::string& streamID) const;
    void PlayAnswer(Mediq::VaxoAVState state, const std::string& streamID) const;
    void PlayChange(Mediq::VaxoAVState state, const std::string& streamID) const;
    void VideoSize(const std::string& streamID, int width, int height) const;
    void PreviewSnapshot(std::shared_ptr<Snapshot> snapshot) const;
    void RenderSnapshot(std::shared_ptr<Snapshot> snapshot, int channel) const;

    // The kinds of requests that SharedView numbers.
    static std::string PublishKind() { return "publish"; }
    static std::string PlayKind(const std::string& streamID) { return "play " + streamID; }

private:
    std::function<bool()> UpToDate(const std::string& kind) const;

    std::shared_ptr<EventDelivery> m_delivery;
    std::shared_ptr<SharedView> m_view;
};

}  // namespace vaxoengine

#endif
