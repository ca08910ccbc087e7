#include "engine/show/SharedView.h"

#include <utility>

namespace vaxoengine {

using Hold = std::lock_guard<std::mutex>;

void SharedView::SetChannel(const std::string& channel) {
    const Hold hold(m_lock);
    m_channel = channel;
}

std::string SharedView::Channel() const {
    const Hold hold(m_lock);
    return m_channel;
}

void SharedView::SetStreams(std::vector<ChannelStream> streams) {
    const Hold hold(m_lock);
    m_streams = std::move(streams);
}

std::vector<ChannelStream> SharedView::Streams() const {
    const Hold hold(m_lock);
    return m_streams;
}

void SharedView::SetPublished(const std::string& streamID) {
    const Hold hold(m_lock);
    m_published = streamID;
}

std::string SharedView::Published() const {
    const Hold hold(m_lock);
    return m_published;
}

unsigned SharedView::NextRequest(const std::string& kind) {
    const Hold hold(m_lock);
    return ++m_requests[kind];
}

unsigned SharedView::LastRequest(const std::string& kind) const {
    const Hold hold(m_lock);
    const auto known = m_requests.find(kind);
    return known == m_requests.end() ? 0 : known->second;
}

}  // namespace vaxoengine
