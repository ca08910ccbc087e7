#include "kernel/live/LoadedProxy.h"

#include <condition_variable>
#include <memory>
#include <mutex>

#include "kernel/live/StressEngine.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxotypes.h"

namespace {

using livetest::EngineCall;
using livetest::Plain;

LoadedHost s_host;

// Aligns the block of a thread's variables of this module. LeakSanitizer, up to LLVM 14,
// takes what lies before a block 16 bytes into a page for a header, and dies of what it
// reads there. A block that is aligned so never lies there.
[[gnu::used]] alignas(64) thread_local char t_alignment = 0;

// The engine: a play is answered when the program has let it go on.
class Host final : public livetest::IEngineHost {
public:
    int OnCall(const EngineCall& call) override {
        if (!call.text.empty()) {
            s_host.inside("engine");
            call.callback->OnPlayStateUpdate(Mediq::AVStateBegin, call.text.c_str());
            s_host.past("engine");
        }
        return 0;
    }
    bool OnUpload(const std::string& /*userID*/, bool /*bByUser*/) override { return true; }
};

class App final : public Strova::IVaxoLiveCallback {
public:
    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

    void OnPreviewSnapshot(void* /*pImage*/) override {}
    void OnRenderSnapshot(void* /*pImage*/, int /*nChannelIdx*/) override {}
    void OnGetStreamList(unsigned int /*err*/) override {}
    void OnStreamUpdate(const Strova::VaxoLiveStream& /*info*/,
                        VaxoAVStreamUpdateFlag /*flag*/) override {}
    void OnCountsUpdate(unsigned int /*nums*/, unsigned int /*count*/) override {}
    void OnPublishStateUpdate(Mediq::VaxoAVState /*state*/,
                              const vaxo::strutf8& /*streamID*/) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState /*state*/,
                           const vaxo::strutf8& /*streamID*/) override {
        s_host.inside("app");
        s_host.past("app");
    }
    void OnVideoSizeChanged(const vaxo::strutf8& /*streamID*/, int /*width*/,
                            int /*height*/) override {}
    void OnLogout(unsigned int /*err*/) override {}
    void OnDisconnected(unsigned int /*err*/, const vaxo::strutf8& /*liveChn*/) override {}
    void OnReconnected(const vaxo::strutf8& /*liveChn*/) override {}
};

// Never destroyed: the workers use them until the process ends.
Host& TheHost() {
    static auto& s_engineHost = *new Host();
    return s_engineHost;
}
std::shared_ptr<App>& TheApp() {
    static auto& s_app = *new std::shared_ptr<App>(std::make_shared<App>());
    return s_app;
}

std::shared_ptr<Strova::CVaxoLiveProxy> Proxy() {
    return Strova::CVaxoLiveProxy::GetInstance();
}

}  // namespace

extern "C" {

VAXO_API const void* loaded_proxy_address(void) {
    return Proxy().get();
}

// The queue is at rest, so nothing reads what is written here.
VAXO_API void loaded_proxy_play(const LoadedHost* host) {
    s_host = *host;
    livetest::SetEngineHost(&TheHost());
    Proxy()->SetCallback(TheApp());
    Proxy()->Init(7, livetest::Key());
    Proxy()->PlayStream("s", 1);
}

VAXO_API int loaded_proxy_getters(void) {
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
    const bool right = Plain(Proxy()->GetLiveChannel()) == "room" &&
                       Plain(Proxy()->GetCurrentPublishStreamID()) == "id" &&
                       Plain(Proxy()->GetCurrentPublishStreamURL()) == "url" &&
                       Proxy()->GetStreamList(streams) == 0 && streams.size() == 2 &&
                       Proxy()->GetVideoCaptureDevice(devices) == 0 && devices.size() == 1;
    return right ? 1 : 0;
}

VAXO_API void loaded_proxy_leave(void) {
    Proxy()->Uninit();
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    Proxy()->AddCmd(999, ::SyncCmd, [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        done = true;
        changed.notify_all();
        return 0;
    });
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return done; });
    lock.unlock();
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
}
}
