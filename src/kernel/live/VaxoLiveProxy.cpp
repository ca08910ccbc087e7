// The proxy's life cycle, the way of a command into the queue, and the getters.
#include "live/VaxoLiveProxy.h"

#include <mutex>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "live/VaxoLiveAsk.h"
#include "live/VaxoLiveCalls.h"
#include "live/VaxoLiveShow.h"
#include "vaxoblocks.h"
#include "vaxolog.h"
#include "vaxoslot.h"

namespace Strova {

namespace {

const char* const s_tag = "CmdProxy";

struct ProxyDeleter {
    void operator()(CVaxoLiveProxy* proxy) const { delete proxy; }
};

}  // namespace

std::shared_ptr<CVaxoLiveProxy> CVaxoLiveProxy::GetInstance() {
    // The pointer itself is never destroyed: see the header.
    static std::shared_ptr<CVaxoLiveProxy>& s_p = *new std::shared_ptr<CVaxoLiveProxy>();
    static std::once_flag s_flag;
    std::call_once(s_flag, [] { s_p.reset(new CVaxoLiveProxy(), ProxyDeleter()); });
    return s_p;
}

CVaxoLiveProxy::CVaxoLiveProxy() = default;

CVaxoLiveProxy::~CVaxoLiveProxy() = default;

void CVaxoLiveProxy::CreateLive() {
    if (GetLive()) {
        return;
    }
    const std::shared_ptr<IVaxoLive> live(new CVaxoLiveShow());
    vaxo::slot_exchange(m_pLive, live);
    live->SetCallback(std::shared_ptr<IVaxoLiveCallback>(GetInstance()));
}

void CVaxoLiveProxy::ReleaseLive() {
    vaxo::slot_exchange(m_pLive, std::shared_ptr<IVaxoLive>());
}

std::shared_ptr<IVaxoLive> CVaxoLiveProxy::GetLive() const {
    return vaxo::slot_load(m_pLive);
}

int CVaxoLiveProxy::Init(unsigned int dwAppID, vaxo::stream sign) {
    return AddCmd(livecall::Init, SyncCmd, [this, dwAppID, sign] {
        CreateLive();
        const std::shared_ptr<IVaxoLive> live = GetLive();
        return live ? live->Init(dwAppID, sign) : -1;
    });
}

int CVaxoLiveProxy::Uninit() {
    return AddCmd(livecall::Uninit, SyncCmd, [this] {
        std::shared_ptr<IVaxoLive> live = GetLive();
        const int status = live ? live->Uninit() : -1;
        live.reset();
        ReleaseLive();
        return status;
    });
}

int CVaxoLiveProxy::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    vaxo::slot_exchange(m_pCB, std::move(callback));
    return 0;
}

std::shared_ptr<IVaxoLiveCallback> CVaxoLiveProxy::GetAppCallback() const {
    return vaxo::slot_lock(m_pCB);
}

VaxoAVMgrCmdJoinResult CVaxoLiveProxy::AddCmd(std::shared_ptr<VaxoAVMgrCmd> cmd) {
    if (cmd) {
        syslog(esyslog_generic, s_tag, __LINE__, "%s: %s(%llu/%s)", "AddCmd", cmd->GetDescription(),
               cmd->ddwExtraData, cmd->strExtraData.c_str());
    }
    const std::shared_ptr<CVaxoAVMgrCmdQueue> queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    const VaxoAVMgrCmdJoinResult result = queue->AddCmd(cmd);
    if (result == CmdJoin_InvalidateLater) {
        syslog(esyslog_generic, s_tag, __LINE__, "%s, cmd invalid!", "AddCmd");
    }
    queue->StartCmdExecute();
    return result;
}

int CVaxoLiveProxy::AddBuiltCmd(unsigned long long exData, VaxoAVMgrCmdType type,
                                VaxoAVMgrCmd::ExecuteFunc func) {
    // Made here, destroyed by the worker.
    const auto cmd = std::allocate_shared<VaxoAVMgrCmd>(vaxo::block_allocator<VaxoAVMgrCmd>(), type,
                                                        std::move(func));
    cmd->ddwExtraData = exData;
    return AddCmd(cmd) == CmdJoin_InvalidateLater ? 1 : 0;
}

vaxo::strutf8 CVaxoLiveProxy::GetLiveChannel() const {
    return AskEngine(vaxo::strutf8(), [](IVaxoLive& live) { return live.GetLiveChannel(); });
}

vaxo::strutf8 CVaxoLiveProxy::GetCurrentPublishStreamID() const {
    return AskEngine(vaxo::strutf8(),
                     [](IVaxoLive& live) { return live.GetCurrentPublishStreamID(); });
}

vaxo::strutf8 CVaxoLiveProxy::GetCurrentPublishStreamURL() const {
    return AskEngine(vaxo::strutf8(),
                     [](IVaxoLive& live) { return live.GetCurrentPublishStreamURL(); });
}

int CVaxoLiveProxy::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    return AskEngine(-1, [&](IVaxoLive& live) { return live.GetStreamList(outStreams); });
}

}  // namespace Strova
