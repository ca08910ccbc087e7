#include "soak/Listener.h"

#include "soak/JsonLines.h"

namespace soak {

namespace {

std::string Bytes(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

}  // namespace

std::optional<std::int64_t> Listener::Wait(const std::string& event, std::chrono::seconds limit) {
    std::unique_lock<std::mutex> hold(m_lock);
    if (!m_changed.wait_for(hold, limit, [&] { return m_first.count(event) != 0; })) {
        return std::nullopt;
    }
    return m_first[event];
}

void Listener::Forget() {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_first.clear();
}

void Listener::Tell(const std::string& event, std::int64_t value, const std::string& stream) {
    nlohmann::json line = {{"event", event}, {"value", value}};
    if (!stream.empty()) {
        line["stream"] = stream;
    }
    Say(std::move(line));
    const std::lock_guard<std::mutex> hold(m_lock);
    m_first.emplace(event, value);
    m_changed.notify_all();
}

void Listener::OnPreviewSnapshot(void* /*pImage*/) {
    Tell("preview-snapshot", 0);
}
void Listener::OnRenderSnapshot(void* /*pImage*/, int nChannelIdx) {
    Tell("render-snapshot", nChannelIdx);
}
void Listener::OnGetStreamList(unsigned int err) {
    Tell("entered", err);
}
void Listener::OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) {
    Tell("stream", flag, Bytes(info.streamID));
}
void Listener::OnCountsUpdate(unsigned int onlineNums, unsigned int /*onlineCount*/) {
    Tell("counts", onlineNums);
}
void Listener::OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    Tell("publish", eState, Bytes(streamID));
}
void Listener::OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    Tell("play", eState, Bytes(streamID));
}
void Listener::OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int /*height*/) {
    Tell("size", width, Bytes(streamID));
}
void Listener::OnLogout(unsigned int err) {
    Tell("left", err);
}
void Listener::OnDisconnected(unsigned int err, const vaxo::strutf8& /*liveChn*/) {
    Tell("disconnected", err);
}
void Listener::OnReconnected(const vaxo::strutf8& /*liveChn*/) {
    Tell("reconnected", 0);
}

}  // namespace soak
