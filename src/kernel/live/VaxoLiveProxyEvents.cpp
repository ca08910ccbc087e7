// The relay of engine events, on the engine's threads: complete the command that waits
// for the event, see whether the application may still hear of it, and hand it over.
#include <memory>
#include <utility>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxolog.h"

namespace Strova {

namespace {

const char* const s_tag = "CmdProxy";
const int s_deliveryQueue = 2;                           // its worker calls the application
const auto s_noCmd = static_cast<VaxoAVMgrCmdType>(-1);  // nothing executes

// One event on its way to the application. It is shared by all copies of the posted
// job, so that the strong reference to the callback goes on the worker as soon as the
// event is delivered, and the arguments are copied once.
template <class Deliver>
struct Delivery {
    std::shared_ptr<IVaxoLiveCallback> app;
    Deliver deliver;
};

template <class Deliver>
void Post(std::shared_ptr<IVaxoLiveCallback> app, Deliver deliver) {
    std::shared_ptr<Delivery<Deliver>> delivery(
        new Delivery<Deliver>{std::move(app), std::move(deliver)});
    CVaxoQueueRunner::GetSharedInstance()->AsyncRun(
        [delivery] {
            delivery->deliver(*delivery->app);
            delivery->app.reset();
        },
        s_deliveryQueue);
}

// Whether events may pass now: not while a Logout waits. `event` is the method's name.
bool MayCallBack(VaxoAVMgrCmdType type, const char* event) {
    const bool may = CVaxoAVMgrCmdQueue::GetSharedInstance()->ShouldCallbackCmd(type);
    if (!may) {
        syslog(esyslog_generic, s_tag, __LINE__, "%s, abandon callbak", event);
    }
    return may;
}

VaxoAVMgrCmdType TypeOf(const std::shared_ptr<VaxoAVMgrCmd>& executing) {
    return executing ? executing->GetCmdType() : s_noCmd;
}

}  // namespace

void CVaxoLiveProxy::OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) {
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [streamID, width, height](IVaxoLiveCallback& cb) {
            cb.OnVideoSizeChanged(streamID, width, height);
        });
    }
}

void CVaxoLiveProxy::OnPreviewSnapshot(void* pImage) {
    if (const auto app = GetAppCallback()) {
        app->OnPreviewSnapshot(pImage);
    }
}

void CVaxoLiveProxy::OnRenderSnapshot(void* pImage, int nChannelIdx) {
    if (const auto app = GetAppCallback()) {
        app->OnRenderSnapshot(pImage, nChannelIdx);
    }
}

void CVaxoLiveProxy::OnGetStreamList(unsigned int err) {
    CVaxoAVMgrCmdQueue::GetSharedInstance()->SetCmdExecuteCmdDone(::GetInRoom);
    if (!MayCallBack(::GetInRoom, "OnGetStreamList")) {
        return;
    }
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [err](IVaxoLiveCallback& cb) { cb.OnGetStreamList(err); });
    }
}

void CVaxoLiveProxy::OnStreamUpdate(const VaxoLiveStream& info,
                                    VaxoAVStreamUpdateFlag eUpdateFlag) {
    if (auto app = GetAppCallback()) {
        Post(std::move(app),
             [info, eUpdateFlag](IVaxoLiveCallback& cb) { cb.OnStreamUpdate(info, eUpdateFlag); });
    }
}

void CVaxoLiveProxy::OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) {
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [onlineNums, onlineCount](IVaxoLiveCallback& cb) {
            cb.OnCountsUpdate(onlineNums, onlineCount);
        });
    }
}

void CVaxoLiveProxy::OnPublishStateUpdate(Mediq::VaxoAVState eState,
                                          const vaxo::strutf8& streamID) {
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    const VaxoAVMgrCmdType type = TypeOf(queue->GetExecutingCmd());
    const bool forward = MayCallBack(type, "OnPublishStateUpdate");
    // Any state of any stream ends a start or stop of publishing.
    if (type == ::StartPublish || type == ::StopPublish) {
        queue->SetCmdExecuteCmdDone(type);
    }
    if (!forward) {
        return;
    }
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [eState, streamID](IVaxoLiveCallback& cb) {
            syslog(esyslog_generic, s_tag, __LINE__,
                   "OnPublishStateUpdate, call back state: %s, stream: %s",
                   Mediq::VaxoDescription(eState), streamID.c_str());
            cb.OnPublishStateUpdate(eState, streamID);
        });
    }
}

void CVaxoLiveProxy::OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    const std::shared_ptr<VaxoAVMgrCmd> executing = queue->GetExecutingCmd();
    const VaxoAVMgrCmdType type = TypeOf(executing);
    const bool forward = MayCallBack(type, "OnPlayStateUpdate");
    if (type == ::PlayStream || type == ::StopStream) {
        if (streamID == executing->strExtraData) {
            queue->SetCmdExecuteCmdDone(type);
        } else {
            syslog(esyslog_generic, s_tag, __LINE__, "%s, not callback for this cmd",
                   "OnPlayStateUpdate");
        }
    }
    if (!forward) {
        return;
    }
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [eState, streamID](IVaxoLiveCallback& cb) {
            syslog(esyslog_generic, s_tag, __LINE__,
                   "OnPlayStateUpdate, call back state: %s, stream ID: %s",
                   Mediq::VaxoDescription(eState), streamID.c_str());
            cb.OnPlayStateUpdate(eState, streamID);
        });
    }
}

void CVaxoLiveProxy::OnLogout(unsigned int err) {
    CVaxoAVMgrCmdQueue::GetSharedInstance()->SetCmdExecuteCmdDone(::LeaveRoom);
    if (!MayCallBack(::LeaveRoom, "OnLogout")) {
        return;
    }
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [err](IVaxoLiveCallback& cb) { cb.OnLogout(err); });
    }
}

void CVaxoLiveProxy::OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) {
    if (auto app = GetAppCallback()) {
        Post(std::move(app),
             [err, liveChn](IVaxoLiveCallback& cb) { cb.OnDisconnected(err, liveChn); });
    }
}

void CVaxoLiveProxy::OnReconnected(const vaxo::strutf8& liveChn) {
    if (auto app = GetAppCallback()) {
        Post(std::move(app), [liveChn](IVaxoLiveCallback& cb) { cb.OnReconnected(liveChn); });
    }
}

}  // namespace Strova
