// The process-wide live object: what an application takes with GetInstance() and
// calls. It stands in front of the live engine.
//
//   application --call--> proxy --command--> queue --worker 0--> engine
//   application <--event-- worker 2 <-- proxy <------event------ engine
//
// The manual of the operations and events is IVaxoLive.h; this page is about the
// object. One concern a source file: VaxoLiveProxy.cpp (life cycle, getters, the way
// into the queue), VaxoLiveProxyStream.cpp (stream and channel commands, whose joins
// are the table in VaxoLiveJoin.h), VaxoLiveProxyMedia.cpp (media and device controls,
// the table in VaxoLiveCalls.inc), VaxoLiveProxyEvents.cpp (events).
//
// Guarantees
// - Any thread may call any operation at any moment. No operation that is queued
//   waits for the engine, but Logout: it asks the engine for its stream list on the
//   calling thread.
// - All other engine calls happen on worker 0, one at a time. Events reach the
//   application on worker 2, the two snapshots on the thread the engine reports them on.
// - The proxy holds no lock while it calls anything.
// - What an engine's event carries is copied before the event method returns.
// - The signing key is copied into the command and from there to the engine, nowhere
//   else.
//
// Non-guarantees
// - An engine that never gives an event that a command waits for holds the queue for
//   ever; calls go on being accepted.
// - An event that comes late, when another command of the same type already runs, ends
//   that one: publish events are not told apart at all, play events by stream alone. The
//   look at the running command and its end are two steps; a thread held up between them
//   may end the next command of that type, a play of another stream included.
//
// Lifetime: created on first use and never destroyed, so queued commands use it by
// plain pointer and a program may end in the middle of work. The engine lives from an
// Init command to the next Uninit command, and until whoever uses it at that moment
// lets go. Whoever links this into a shared library keeps that library mapped: its
// workers never stop (the build links it with -z nodelete).
#ifndef VAXO_VAXOLIVEPROXY_H
#define VAXO_VAXOLIVEPROXY_H

#include <memory>
#include <utility>

#include "IVaxoLive.h"
#include "avmgr/VaxoAVMgrCmd.h"
#include "connection/VaxoAVConnHttp.h"

namespace Strova {

class VAXO_API CVaxoLiveProxy : public IVaxoLive, public IVaxoLiveCallback {
public:
    // ---- IVaxoLive ----------------------------------------------------------

    int SetView(std::shared_ptr<int> pView, unsigned int dwChannelIndex) override;
    int SetPreviewView(std::shared_ptr<int> view) override;
    int SetViewMode(int mode, unsigned int dwChannelIndex) override;
    int SetPreviewViewMode(int mode) override;
    int StartPreview() override;
    int StopPreview() override;
    int SetVideoBitrate(int bitrate) override;
    int SetVideoFPS(int fps) override;
    int SetVideoResolution(int width, int height) override;
    int SetFrontCam(int bFront) override;
    int GetVideoCaptureDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) override;
    int SetVideoCaptureDeviceId(std::shared_ptr<vaxo::strutf8> strDeviceId) override;
    int GetAudioDeviceList(int deviceType,
                           vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) override;
    int SetAudioDevice(int deviceType, vaxo::strutf8& deviceID) override;
    int EnableMic(bool bEnable) override;
    int EnableCam(bool bEnable) override;
    int SetSpeakerPhoneOn(bool bOn) override;
    int EnableSpk(bool bEnable) override;
    int EnableTorch(bool bEnable) override;
    int EnableBeautifying(int nFeature) override;
    int SetFilter(int nIndex) override;
    int SetCaptureRotation(int nRotation) override;
    int TakeSnapshotPreview() override;
    int TakeSnapshotRender(int nChannelIdx) override;
    int SetAuxCallback(Mediq::IVaxoAuxCallback* pCB) override;
    int EnableAux(bool bEnable) override;

    int Init(unsigned int dwAppID, vaxo::stream sign) override;
    int Uninit() override;
    int UploadLog() override;
    int SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) override;
    int StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                        vaxo::strutf8 liveChn) override;
    vaxo::strutf8 GetLiveChannel() const override;
    vaxo::strutf8 GetCurrentPublishStreamID() const override;
    vaxo::strutf8 GetCurrentPublishStreamURL() const override;
    int StopPublishing() override;
    int GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName, vaxo::strutf8 liveChn,
                      int netType) override;
    int GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) override;
    int PlayStream(const vaxo::strutf8& streamID, unsigned int chn) override;
    int StopPlayStream(const vaxo::strutf8& streamID) override;
    int Logout() override;

    // ---- IVaxoLiveCallback: for the engine, from any of its threads ----------

    void OnPreviewSnapshot(void* pImage) override;
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override;
    void OnGetStreamList(unsigned int err) override;
    void OnStreamUpdate(const VaxoLiveStream& info, VaxoAVStreamUpdateFlag eUpdateFlag) override;
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override;
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override;
    void OnLogout(unsigned int err) override;
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override;
    void OnReconnected(const vaxo::strutf8& liveChn) override;

    // The forms that name a stream by number stay visible beside the others; they do
    // nothing and complete no command.
    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

    virtual ~CVaxoLiveProxy();

    // ---- The object ---------------------------------------------------------

    // The one proxy of the process. Any thread; threads that meet in the first call get
    // the same one.
    static std::shared_ptr<CVaxoLiveProxy> GetInstance();

    // Applications use GetInstance(). An object of one's own must outlive every command
    // it queued, and its engine reports to the shared instance all the same.
    CVaxoLiveProxy();
    CVaxoLiveProxy(const CVaxoLiveProxy&) = delete;
    CVaxoLiveProxy& operator=(const CVaxoLiveProxy&) = delete;

    // Puts a command into the shared queue and starts a pass, also when the queue
    // refused it (CmdJoin_InvalidateLater). A null command is refused.
    VaxoAVMgrCmdJoinResult AddCmd(std::shared_ptr<VaxoAVMgrCmd> cmd);

    // Queues a command that coexists with every other: `exData` is the call number that
    // the log shows, `func` answers the command's status. 0 accepted, 1 refused.
    template <class Func>
    int AddCmd(unsigned long long exData, VaxoAVMgrCmdType type, Func func) {
        return AddBuiltCmd(exData, type, VaxoAVMgrCmd::ExecuteFunc(std::move(func)));
    }

    // Creates the engine unless there is one, and makes the shared instance its
    // callback. For the Init command: on worker 0.
    void CreateLive();

    // Lets go of the engine. For the Uninit command: on worker 0.
    void ReleaseLive();

    // The engine, empty when there is none. Any thread; for calls on worker 0.
    std::shared_ptr<IVaxoLive> GetLive() const;

    // The connection that uploads the log. Any thread.
    CVaxoAVConnHttp& GetConnHttp() { return m_connHttp; }

private:
    int AddBuiltCmd(unsigned long long exData, VaxoAVMgrCmdType type,
                    VaxoAVMgrCmd::ExecuteFunc func);

    // Runs `read` with the engine on worker 0 and answers what it answered, or
    // `withoutEngine`. Nothing is copied: the caller waits.
    template <class Result, class Read>
    Result AskEngine(Result withoutEngine, Read read) const;

    // The application's callback, empty when none is set or it is gone.
    std::shared_ptr<IVaxoLiveCallback> GetAppCallback() const;

    std::weak_ptr<IVaxoLiveCallback> m_pCB;  // a shared slot, see vaxoslot.h
    std::shared_ptr<IVaxoLive> m_pLive;      // a shared slot
    CVaxoAVConnHttp m_connHttp;
};

}  // namespace Strova

#endif
