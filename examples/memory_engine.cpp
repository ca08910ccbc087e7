// An engine of one's own: a definition of Strova::CVaxoLiveShow. Its channel is in memory, and
// whoever links this file has it behind the same interface as the library's own engine.
//
// What an engine must keep to stands in IVaxoLive.h. In short: the operations come one at a time
// on one thread, but for the stream list; every one that was accepted (0) and has an answer gives
// exactly that event. This engine answers inside the call; one that waits for a network returns 0
// at once and answers later, from a thread of its own.
#include <mutex>

#include "live/VaxoLiveShow.h"

namespace Strova {

struct CVaxoLiveShow::Impl {
    std::weak_ptr<IVaxoLiveCallback> callback;
    vaxo::strutf8 channel;
    std::mutex lock;        // guards the stream: a Logout asks for it on the thread of its caller
    VaxoLiveStream stream;  // what is published; without an identifier: nothing

    // No lock is held here: whoever hears an event may call the engine again.
    template <class Event>
    int Tell(Event event) {
        if (const auto app = callback.lock()) {
            event(*app);
        }
        return VaxoLiveStatus_Ok;
    }
    VaxoLiveStream Exchange(const VaxoLiveStream& next) {
        const std::lock_guard<std::mutex> guard(lock);
        const VaxoLiveStream former = stream;
        stream = next;
        return former;
    }
    VaxoLiveStream Published() {
        const std::lock_guard<std::mutex> guard(lock);
        return stream;
    }
};

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(std::make_unique<Impl>()) {}
CVaxoLiveShow::~CVaxoLiveShow() = default;

int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    m_pImpl->callback = callback;
    return VaxoLiveStatus_Ok;
}
int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream sign) {
    return dwAppID != 0 && sign.size() != 0 ? VaxoLiveStatus_Ok : VaxoLiveStatus_BadArgument;
}
int CVaxoLiveShow::Uninit() {
    m_pImpl->Exchange({});
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::GetStreamList(vaxo::strutf8, vaxo::strutf8, vaxo::strutf8 liveChn, int) {
    m_pImpl->channel = liveChn;
    return m_pImpl->Tell([](IVaxoLiveCallback& app) { app.OnGetStreamList(0); });
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    const VaxoLiveStream stream = m_pImpl->Published();
    return stream.streamID.size() == 0 || outStreams.Add(stream) >= 0 ? VaxoLiveStatus_Ok : -1;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID, vaxo::strutf8) {
    if (streamID.size() == 0) {
        return VaxoLiveStatus_BadArgument;  // not accepted: no event comes
    }
    VaxoLiveStream stream;
    stream.streamID = streamID;
    stream.title = title;
    m_pImpl->Exchange(stream);
    return m_pImpl->Tell([&](IVaxoLiveCallback& app) {
        app.OnPublishStateUpdate(Mediq::AVStateBegin, streamID);
        app.OnStreamUpdate(stream, AddedStream);
    });
}
int CVaxoLiveShow::StopPublishing() {
    const VaxoLiveStream former = m_pImpl->Exchange({});
    return m_pImpl->Tell([&](IVaxoLiveCallback& app) {
        app.OnPublishStateUpdate(Mediq::AVStateEnd, former.streamID);
        if (former.streamID.size() != 0) {
            app.OnStreamUpdate(former, DeletedStream);
        }
    });
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int) {
    const bool isThere = m_pImpl->Published().streamID == streamID;
    return m_pImpl->Tell([&](IVaxoLiveCallback& app) {
        app.OnPlayStateUpdate(isThere ? Mediq::AVStateBegin : Mediq::NoStreamError, streamID);
    });
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    return m_pImpl->Tell(
        [&](IVaxoLiveCallback& app) { app.OnPlayStateUpdate(Mediq::AVStateEnd, streamID); });
}
int CVaxoLiveShow::Logout() {
    m_pImpl->Exchange({});
    m_pImpl->channel.clear();
    return m_pImpl->Tell([](IVaxoLiveCallback& app) { app.OnLogout(0); });
}

vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return m_pImpl->channel;
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return m_pImpl->Published().streamID;
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return vaxo::strutf8("memory:") + m_pImpl->Published().streamID;
}

}  // namespace Strova
