#include "live/VaxoLiveShow.h"

#include <set>
#include <string>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "engine/EngineExit.h"
#include "engine/VaxoLiveShowImpl.h"
#include "engine/base/GstRef.h"
#include "engine/show/Addresses.h"
#include "engine/show/Limits.h"
#include "engine/show/Texts.h"
#include "vaxolog.h"

namespace Strova {

namespace {

using vaxoengine::Bytes;
using vaxoengine::EngineLoop;
using vaxoengine::LiveCore;
using vaxoengine::Text;

using Hold = std::lock_guard<std::mutex>;

// The cores that live, for the end of the process. The engine's thread only.
std::set<CoreBox*>& LivingCores() {
    static auto* const living = new std::set<CoreBox*>;
    return *living;
}

void ShutDown(CoreBox& box) {
    LivingCores().erase(&box);
    if (box.core) {
        box.core->Shutdown();
        box.core.reset();
    }
}

bool IsStreamID(unsigned appID, const vaxo::strutf8& streamID) {
    return streamID.size() > 0 && streamID.size() <= vaxoengine::kMaxText &&
           VaxoMediaName(appID, Bytes(streamID)).size() <= vaxoengine::kMaxMediaName;
}

bool IsText(const vaxo::strutf8& text) {
    return text.size() <= vaxoengine::kMaxText;
}

}  // namespace

int CVaxoLiveShow::Impl::Post(std::function<void(LiveCore&)> job) {
    std::shared_ptr<CoreBox> to;
    {
        const Hold hold(lock);
        to = box;
    }
    if (!to) {
        return VaxoLiveStatus_NotReady;
    }
    EngineLoop::Shared().Post([to, job = std::move(job)] {
        if (to->core) {
            job(*to->core);
        }
    });
    return VaxoLiveStatus_Ok;
}

bool CVaxoLiveShow::Impl::End() {
    std::shared_ptr<CoreBox> ended;
    {
        const Hold hold(lock);
        ended = std::exchange(box, nullptr);
        view.reset();
    }
    if (!ended) {
        return false;
    }
    aux->Set(nullptr);
    EngineLoop::Shared().Post([ended] { ShutDown(*ended); });
    return true;
}

std::shared_ptr<vaxoengine::SharedView> CVaxoLiveShow::Impl::View() const {
    const Hold hold(lock);
    return view;
}

VaxoSigner CVaxoLiveShow::Impl::Credentials() const {
    const Hold hold(lock);
    return credentials;
}

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(std::make_unique<Impl>()) {}

CVaxoLiveShow::~CVaxoLiveShow() {
    m_pImpl->End();
}

int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream sign) {
    if (dwAppID == 0 || sign.size() == 0) {
        syslog(esyslog_error, "Engine", __LINE__, "no application identifier, or no key");
        return VaxoLiveStatus_BadArgument;
    }
    CVaxoAppSetting::SharedInstance()->SetAppID(dwAppID);
    CVaxoAppSetting::SharedInstance()->SetAppSign(sign);
    VaxoSigner credentials;
    credentials.appID = dwAppID;
    credentials.key = Bytes(sign);
    {
        const Hold hold(m_pImpl->lock);
        const bool same = m_pImpl->credentials.appID == credentials.appID &&
                          m_pImpl->credentials.key == credentials.key;
        if (m_pImpl->box && same) {
            return VaxoLiveStatus_Ok;
        }
    }
    m_pImpl->End();
    const auto box = std::make_shared<CoreBox>();
    const auto view = std::make_shared<vaxoengine::SharedView>();
    const auto delivery = std::make_shared<vaxoengine::EventDelivery>();
    {
        const Hold hold(m_pImpl->lock);
        delivery->SetCallback(m_pImpl->callback);
        m_pImpl->credentials = credentials;
        m_pImpl->delivery = delivery;
        m_pImpl->view = view;
        m_pImpl->box = box;
    }
    EngineLoop::Shared().Post([box, credentials, delivery, view, aux = m_pImpl->aux] {
        box->core = std::make_unique<LiveCore>(credentials, delivery, view);
        box->core->TheCapture().SetAuxCallback(aux.get());
        box->core->Keep(aux);
        LivingCores().insert(box.get());
        vaxoengine::AtProcessExit([] {
            while (!LivingCores().empty()) {
                ShutDown(**LivingCores().begin());
            }
        });
    });
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::Uninit() {
    return m_pImpl->End() ? VaxoLiveStatus_Ok : VaxoLiveStatus_NotReady;
}

int CVaxoLiveShow::UploadLog() {
    return VaxoLiveStatus_NotSupported;  // the proxy does it, with its own connection
}

int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    const Hold hold(m_pImpl->lock);
    m_pImpl->callback = callback;
    if (m_pImpl->delivery) {
        m_pImpl->delivery->SetCallback(callback);
    }
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                   vaxo::strutf8 liveChn) {
    const auto view = m_pImpl->View();
    if (!view) {
        return VaxoLiveStatus_NotReady;
    }
    if (!IsStreamID(m_pImpl->Credentials().appID, streamID) || !IsText(title) || !IsText(liveChn)) {
        return VaxoLiveStatus_BadArgument;
    }
    view->NextRequest(vaxoengine::Reports::PublishKind());
    return m_pImpl->Post([title = Bytes(title), id = Bytes(streamID), channel = Bytes(liveChn)](
                             LiveCore& core) { core.StartPublishing(title, id, channel); });
}

vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    const auto view = m_pImpl->View();
    return view ? Text(view->Channel()) : vaxo::strutf8();
}

vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    const auto view = m_pImpl->View();
    return view ? Text(view->Published()) : vaxo::strutf8();
}

vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    const auto view = m_pImpl->View();
    const std::string streamID = view ? view->Published() : std::string();
    if (streamID.empty()) {
        return {};
    }
    return Text(vaxoengine::PlayAddress(vaxoengine::WithUser(m_pImpl->Credentials()), streamID));
}

int CVaxoLiveShow::StopPublishing() {
    const auto view = m_pImpl->View();
    if (!view) {
        return VaxoLiveStatus_NotReady;
    }
    view->NextRequest(vaxoengine::Reports::PublishKind());
    return m_pImpl->Post([](LiveCore& core) { core.StopPublishing(); });
}

int CVaxoLiveShow::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName,
                                 vaxo::strutf8 liveChn, int /*netType*/) {
    if (userID.size() == 0 || liveChn.size() == 0 || !IsText(userID) || !IsText(userName) ||
        !IsText(liveChn)) {
        return VaxoLiveStatus_BadArgument;
    }
    CVaxoAppSetting::SharedInstance()->SetUserID(userID);
    return m_pImpl->Post(
        [member = vaxoengine::Member{Bytes(userID), Bytes(userName), Bytes(liveChn)}](
            LiveCore& core) { core.Enter(member); });
}

int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    const auto view = m_pImpl->View();
    if (!view) {
        return VaxoLiveStatus_NotReady;
    }
    outStreams.clear();
    const VaxoSigner signer = vaxoengine::WithUser(m_pImpl->Credentials());
    for (const vaxoengine::ChannelStream& stream : view->Streams()) {
        outStreams.push_back(vaxoengine::ForApplication(stream, signer));
    }
    return VaxoLiveStatus_Ok;
}

int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int chn) {
    const auto view = m_pImpl->View();
    if (!view) {
        return VaxoLiveStatus_NotReady;
    }
    if (!IsStreamID(m_pImpl->Credentials().appID, streamID)) {
        return VaxoLiveStatus_BadArgument;
    }
    view->NextRequest(vaxoengine::Reports::PlayKind(Bytes(streamID)));
    return m_pImpl->Post(
        [id = Bytes(streamID), chn](LiveCore& core) { core.ThePlays().Start(id, chn); });
}

int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    const auto view = m_pImpl->View();
    if (!view) {
        return VaxoLiveStatus_NotReady;
    }
    view->NextRequest(vaxoengine::Reports::PlayKind(Bytes(streamID)));
    return m_pImpl->Post([id = Bytes(streamID)](LiveCore& core) { core.ThePlays().Stop(id); });
}

int CVaxoLiveShow::Logout() {
    return m_pImpl->Post([](LiveCore& core) { core.Leave(); });
}

}  // namespace Strova
