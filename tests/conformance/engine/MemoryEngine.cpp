#include "conformance/engine/MemoryEngine.h"

#include <thread>
#include <utility>

#include "base/VaxoAppSetting.h"

namespace Strova {

namespace {

using conformance::memory::Fault;
using Hold = std::lock_guard<std::recursive_mutex>;

bool InReach() {
    return CVaxoAppSetting::SharedInstance()->GetServiceURL() == "memory:";
}

std::string Key(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

bool IsName(const vaxo::strutf8& text) {
    return text.size() > 0 && text.size() <= 1000;
}

VaxoLiveStream Remote() {
    VaxoLiveStream stream;
    stream.streamID = "remote";
    stream.status = 1;
    return stream;
}

}  // namespace

void CVaxoLiveShow::Impl::Entered(unsigned error, bool lists) {
    if (Fault("never answers an entry")) {
        return;
    }
    teller->Add([error, lists](IVaxoLiveCallback& app) {
        app.OnGetStreamList(error);
        if (Fault("answers an entry twice")) {
            app.OnGetStreamList(error);
        }
        if (lists && !Fault("lists no streams")) {
            app.OnStreamUpdate(Remote(), CompleteStreamList);
        }
        app.OnCountsUpdate(1, 1);
    });
}

void CVaxoLiveShow::Impl::Publish(int state, const vaxo::strutf8& id) {
    teller->Add([state, id](IVaxoLiveCallback& app) {
        app.OnPublishStateUpdate(static_cast<Mediq::VaxoAVState>(state), id);
    });
}

void CVaxoLiveShow::Impl::Play(int state, const vaxo::strutf8& id) {
    if (Fault("never answers a play") || (Fault("never answers a stop of a play") && state == 1)) {
        return;
    }
    teller->Add([state, id](IVaxoLiveCallback& app) {
        const vaxo::strutf8 name = Fault("names another stream") ? vaxo::strutf8("another") : id;
        app.OnPlayStateUpdate(static_cast<Mediq::VaxoAVState>(state), name);
        if (Fault("answers a play twice")) {
            app.OnPlayStateUpdate(static_cast<Mediq::VaxoAVState>(state), name);
        }
        if (Fault("plays on after the end") && state == Mediq::AVStateEnd) {
            app.OnPlayStateUpdate(Mediq::AVStateBegin, name);
        }
        if (state == Mediq::AVStateBegin) {
            app.OnVideoSizeChanged(name, Fault("tells a size of nothing") ? 0 : 640, 360);
        }
    });
}

void CVaxoLiveShow::Impl::Leave() {
    channel = Fault("names the channel that was left") ? channel : vaxo::strutf8();
    published.clear();
    plays.clear();
}

int CVaxoLiveShow::Impl::Status() const {
    const Hold hold(lock);
    return ready ? VaxoLiveStatus_Ok : VaxoLiveStatus_NotReady;
}

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(new Impl) {}

CVaxoLiveShow::~CVaxoLiveShow() {
    m_pImpl->teller->End();
}

int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream sign) {
    const Hold hold(m_pImpl->lock);
    if (dwAppID == 0) {
        return VaxoLiveStatus_BadArgument;
    }
    CVaxoAppSetting::SharedInstance()->SetAppID(dwAppID);
    CVaxoAppSetting::SharedInstance()->SetAppSign(sign);
    m_pImpl->ready = true;
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::Uninit() {
    const Hold hold(m_pImpl->lock);
    const vaxo::strutf8 published = m_pImpl->published;
    const int status = m_pImpl->Status();
    m_pImpl->Leave();
    m_pImpl->ready = false;
    if (Fault("tells of a publish after Uninit") && published.size() > 0) {
        m_pImpl->teller->Add([](IVaxoLiveCallback&) { std::this_thread::yield(); });
        m_pImpl->Publish(Mediq::TempBroken, published);
    }
    return status;
}

int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    m_pImpl->teller->SetCallback(std::move(callback));
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName,
                                 vaxo::strutf8 liveChn, int /*netType*/) {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready || !IsName(userID) || !IsName(userName) || !IsName(liveChn) ||
        Fault("refuses every entry")) {
        return VaxoLiveStatus_BadArgument;
    }
    m_pImpl->Leave();
    const bool inside = InReach();
    m_pImpl->channel = inside ? liveChn : vaxo::strutf8();
    m_pImpl->Entered(inside ? 0 : 1, inside);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::StartPublishing(vaxo::strutf8 /*title*/, vaxo::strutf8 streamID,
                                   vaxo::strutf8 /*liveChn*/) {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready || !IsName(streamID)) {
        return VaxoLiveStatus_BadArgument;
    }
    const bool begins = m_pImpl->channel.size() > 0 && InReach();
    m_pImpl->published = begins ? streamID : vaxo::strutf8();
    m_pImpl->Publish(begins ? Mediq::AVStateBegin : Mediq::CreateStreamError, streamID);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::StopPublishing() {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready) {
        return VaxoLiveStatus_NotReady;
    }
    m_pImpl->Publish(Mediq::AVStateEnd, m_pImpl->published);
    m_pImpl->published.clear();
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int /*chn*/) {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready || !IsName(streamID)) {
        if (Fault("refuses a play and answers it")) {
            m_pImpl->Play(Mediq::FatalError, streamID);
        }
        return VaxoLiveStatus_BadArgument;
    }
    const bool there = streamID == "remote" || Fault("begins a stream that is nowhere");
    const bool begins = there && m_pImpl->channel.size() > 0 && InReach();
    if (begins) {
        m_pImpl->plays.insert(Key(streamID));
    }
    m_pImpl->Play(begins ? Mediq::AVStateBegin : Mediq::NoStreamError, streamID);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready || !IsName(streamID)) {
        return VaxoLiveStatus_BadArgument;
    }
    m_pImpl->plays.erase(Key(streamID));
    m_pImpl->Play(Mediq::AVStateEnd, streamID);
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::Logout() {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready) {
        return VaxoLiveStatus_NotReady;
    }
    const bool played = !m_pImpl->plays.empty();
    m_pImpl->Leave();
    if (!Fault("never answers a logout")) {
        m_pImpl->teller->Add([](IVaxoLiveCallback& app) { app.OnLogout(0); });
    }
    if (Fault("tells of a play after a logout") && played) {
        m_pImpl->Play(Mediq::TempBroken, "remote");
    }
    if (Fault("waits for its events in a logout")) {
        m_pImpl->teller->WaitForAll();
    }
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    const Hold hold(m_pImpl->lock);
    if (!m_pImpl->ready) {
        if (Fault("clears the list before it fails")) {
            outStreams.clear();
        }
        return VaxoLiveStatus_NotReady;
    }
    if (!Fault("adds to the list")) {
        outStreams.clear();
    }
    if (m_pImpl->channel.size() > 0) {
        outStreams.push_back(Remote());
    }
    return VaxoLiveStatus_Ok;
}

vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    const Hold hold(m_pImpl->lock);
    return m_pImpl->channel;
}

vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    const Hold hold(m_pImpl->lock);
    return Fault("names no publish") ? vaxo::strutf8() : m_pImpl->published;
}

vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    const Hold hold(m_pImpl->lock);
    return m_pImpl->published.size() > 0 ? vaxo::strutf8("memory:") + m_pImpl->published
                                         : vaxo::strutf8();
}

}  // namespace Strova
