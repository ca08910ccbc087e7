// The proxy's stream and channel commands: entering and leaving a channel, publishing,
// playing, and the log upload. A command whose engine call fails, or finds no engine,
// reports that through the proxy's own events, as the engine would: that releases the
// queue and tells the application.
#include <memory>
#include <utility>

#include "avmgr/VaxoAVMgrCmd.h"
#include "base/VaxoAppSetting.h"
#include "live/VaxoLiveCalls.h"
#include "live/VaxoLiveJoin.h"
#include "live/VaxoLiveProxy.h"
#include "vaxolog.h"

namespace Strova {

namespace {

const int s_noEngine = -1;
const unsigned int s_failed = 0xFFFFFFFF;  // -1, as the unsigned errors carry it

// A command that joins by the rule of its type. `text` names it in the log and to the
// rules of others; `compared` is what its own rule compares with.
template <class Func>
std::shared_ptr<VaxoAVMgrCmd> MakeCmd(VaxoAVMgrCmdType type, Func func, const vaxo::strutf8& text,
                                      const vaxo::strutf8& compared) {
    const VaxoLiveJoinRule& rule = VaxoLiveJoinRuleOf(type);
    // Not make_shared: a command with a rule of its own has record and count in two
    // allocations.
    std::shared_ptr<VaxoAVMgrCmd> cmd(new VaxoAVMgrCmd(
        type, std::move(func), [&rule, compared](std::shared_ptr<VaxoAVMgrCmd> later) {
            return VaxoLiveJoin(rule, compared, *later);
        }));
    cmd->strExtraData = text;
    return cmd;
}

int Accepted(VaxoAVMgrCmdJoinResult result) {
    return result == CmdJoin_InvalidateLater ? 1 : 0;
}

}  // namespace

int CVaxoLiveProxy::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                    vaxo::strutf8 liveChn) {
    const auto execute = [this, title, streamID, liveChn] {
        const std::shared_ptr<IVaxoLive> live = GetLive();
        const int status = live ? live->StartPublishing(title, streamID, liveChn) : s_noEngine;
        if (status != 0) {
            GetInstance()->OnPublishStateUpdate(Mediq::FatalError, streamID);
        }
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::StartPublish, execute, streamID, liveChn)));
}

int CVaxoLiveProxy::StopPublishing() {
    const auto execute = [this] {
        vaxo::strutf8 streamID;
        int status = s_noEngine;
        if (const std::shared_ptr<IVaxoLive> live = GetLive()) {
            status = live->StopPublishing();
            streamID = live->GetCurrentPublishStreamID();
        }
        if (status != 0) {
            // The application asked for an end and is told of an end.
            GetInstance()->OnPublishStateUpdate(Mediq::AVStateEnd, streamID);
        }
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::StopPublish, execute, {}, {})));
}

int CVaxoLiveProxy::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName,
                                  vaxo::strutf8 liveChn, int netType) {
    const auto execute = [this, userID, userName, liveChn, netType] {
        const std::shared_ptr<IVaxoLive> live = GetLive();
        const int status =
            live ? live->GetStreamList(userID, userName, liveChn, netType) : s_noEngine;
        if (status != 0) {
            GetInstance()->OnGetStreamList(s_failed);
        }
        // Every channel entry renews the connection's credentials and offers the log.
        CVaxoAppSetting* const setting = CVaxoAppSetting::SharedInstance();
        const unsigned int dwAppID = setting->GetAppID();
        m_connHttp.Init(dwAppID, setting->GetAppSign());
        m_connHttp.UploadLogFile(userID, VAXO::g_strLogFileName__, false);
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::GetInRoom, execute, liveChn, liveChn)));
}

int CVaxoLiveProxy::PlayStream(const vaxo::strutf8& streamID, unsigned int chn) {
    const auto execute = [this, streamID, chn] {
        const std::shared_ptr<IVaxoLive> live = GetLive();
        const int status = live ? live->PlayStream(streamID, chn) : s_noEngine;
        if (status != 0) {
            GetInstance()->OnPlayStateUpdate(Mediq::FatalError, streamID);
        }
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::PlayStream, execute, streamID, streamID)));
}

int CVaxoLiveProxy::StopPlayStream(const vaxo::strutf8& streamID) {
    const auto execute = [this, streamID] {
        const std::shared_ptr<IVaxoLive> live = GetLive();
        const int status = live ? live->StopPlayStream(streamID) : s_noEngine;
        if (status != 0) {
            GetInstance()->OnPlayStateUpdate(Mediq::FatalError, streamID);
        }
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::StopStream, execute, streamID, streamID)));
}

int CVaxoLiveProxy::Logout() {
    if (std::shared_ptr<IVaxoLive> live = GetLive()) {
        vaxostl::vector<VaxoLiveStream> streams;
        live->GetStreamList(streams);
        live.reset();  // an Uninit that runs meanwhile finds the engine its own again
        for (const VaxoLiveStream& stream : streams) {
            StopPlayStream(stream.streamID);
        }
        StopPublishing();
    }
    const auto execute = [this] {
        const std::shared_ptr<IVaxoLive> live = GetLive();
        const int status = live ? live->Logout() : s_noEngine;
        if (status != 0) {
            GetInstance()->OnLogout(s_failed);
        }
        return status;
    };
    return Accepted(AddCmd(MakeCmd(::LeaveRoom, execute, {}, {})));
}

int CVaxoLiveProxy::UploadLog() {
    return AddCmd(livecall::UploadLog, SyncCmd, [this] {
        CVaxoAppSetting* const setting = CVaxoAppSetting::SharedInstance();
        if (setting->GetAppSign().size() == 0) {
            return -1;
        }
        const bool accepted =
            m_connHttp.UploadLogFile(setting->GetUserID(), VAXO::g_strLogFileName__, true);
        return accepted ? 0 : 1;
    });
}

}  // namespace Strova
