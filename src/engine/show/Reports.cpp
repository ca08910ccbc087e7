#include "engine/show/Reports.h"

#include <utility>

#include "engine/show/Texts.h"

namespace vaxoengine {

using Callback = Strova::IVaxoLiveCallback;

Reports::Reports(std::shared_ptr<EventDelivery> delivery, std::shared_ptr<SharedView> view)
    : m_delivery(std::move(delivery)), m_view(std::move(view)) {}

void Reports::Entered(unsigned error) const {
    m_delivery->Post([error](Callback& callback) { callback.OnGetStreamList(error); });
}

void Reports::Left() const {
    m_delivery->Post([](Callback& callback) { callback.OnLogout(0); });
}

void Reports::Lost(unsigned error, const std::string& channel) const {
    m_delivery->Post(
        [error, channel](Callback& callback) { callback.OnDisconnected(error, Text(channel)); });
}

void Reports::Back(const std::string& channel) const {
    m_delivery->Post([channel](Callback& callback) { callback.OnReconnected(Text(channel)); });
}

void Reports::Counts(unsigned online, unsigned total) const {
    m_delivery->Post(
        [online, total](Callback& callback) { callback.OnCountsUpdate(online, total); });
}

void Reports::Stream(const Strova::VaxoLiveStream& stream, VaxoAVStreamUpdateFlag flag) const {
    m_delivery->Post([stream, flag](Callback& callback) { callback.OnStreamUpdate(stream, flag); });
}

void Reports::PublishAnswer(Mediq::VaxoAVState state, const std::string& streamID) const {
    m_delivery->Post([state, streamID](Callback& callback) {
        callback.OnPublishStateUpdate(state, Text(streamID));
    });
}

void Reports::PublishChange(Mediq::VaxoAVState state, const std::string& streamID) const {
    m_delivery->Post(
        [state, streamID](Callback& callback) {
            callback.OnPublishStateUpdate(state, Text(streamID));
        },
        UpToDate(PublishKind()));
}

void Reports::PlayAnswer(Mediq::VaxoAVState state, const std::string& streamID) const {
    m_delivery->Post([state, streamID](Callback& callback) {
        callback.OnPlayStateUpdate(state, Text(streamID));
    });
}

void Reports::PlayChange(Mediq::VaxoAVState state, const std::string& streamID) const {
    m_delivery->Post([state, streamID](
                         Callback& callback) { callback.OnPlayStateUpdate(state, Text(streamID)); },
                     UpToDate(PlayKind(streamID)));
}

void Reports::VideoSize(const std::string& streamID, int width, int height) const {
    m_delivery->Post([streamID, width, height](Callback& callback) {
        callback.OnVideoSizeChanged(Text(streamID), width, height);
    });
}

void Reports::PreviewSnapshot(std::shared_ptr<Snapshot> snapshot) const {
    m_delivery->Post([snapshot = std::move(snapshot)](Callback& callback) {
        callback.OnPreviewSnapshot(&snapshot->image);
    });
}

void Reports::RenderSnapshot(std::shared_ptr<Snapshot> snapshot, int channel) const {
    m_delivery->Post([snapshot = std::move(snapshot), channel](Callback& callback) {
        callback.OnRenderSnapshot(&snapshot->image, channel);
    });
}

std::function<bool()> Reports::UpToDate(const std::string& kind) const {
    return [view = m_view, kind, number = m_view->LastRequest(kind)] {
        return view->LastRequest(kind) == number;
    };
}

}  // namespace vaxoengine
