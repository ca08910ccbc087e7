// The library's road: the proxy, its queue and workers, its log.
#include <memory>
#include <optional>
#include <stdexcept>

#include "live/VaxoLiveProxy.h"
#include "road/Road.h"
#include "road/TempFolder.h"
#include "vaxolog.h"

namespace vaxobench {

namespace {

using Mediq::VaxoAVState;
using Strova::CVaxoLiveProxy;
using vaxo::strutf8;

// Notes the two events that are measured.
class App final : public Strova::IVaxoLiveCallback {
public:
    void OnStreamUpdate(const Strova::VaxoLiveStream&, VaxoAVStreamUpdateFlag) override {
        TheProbe().Entered();
    }
    void OnPlayStateUpdate(VaxoAVState, const strutf8&) override { TheProbe().Entered(); }

    void OnPreviewSnapshot(void*) override {}
    void OnRenderSnapshot(void*, int) override {}
    void OnGetStreamList(unsigned int) override {}
    void OnCountsUpdate(unsigned int, unsigned int) override {}
    void OnPublishStateUpdate(VaxoAVState, const strutf8&) override {}
    void OnVideoSizeChanged(const strutf8&, int, int) override {}
    void OnLogout(unsigned int) override {}
    void OnDisconnected(unsigned int, const strutf8&) override {}
    void OnReconnected(const strutf8&) override {}

    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;
};

Strova::VaxoLiveStream AStream() {
    Strova::VaxoLiveStream stream;
    stream.streamGID = "5f1e7c2a90b14d3c";
    stream.streamID = "room1-camera-0007";
    stream.userID = "user-000451";
    stream.userName = "Somebody Somewhere";
    stream.title = "An evening at the harbour";
    stream.rtmpURLs.Add("rtmp://media.example.net/live/room1-camera-0007");
    stream.hlsURLs.Add("http://media.example.net/hls/room1-camera-0007.m3u8");
    return stream;
}

class VaxoRoad final : public Road {
public:
    explicit VaxoRoad(Logging logging) {
        vaxolog_set_level(-1);
        if (logging != Logging::Off) {
            m_level = logging == Logging::File3 ? esyslog_generic : esyslog_debug;
            m_folder.emplace();
            if (vaxolog_open(m_folder->File("vaxo.log").c_str()) != 0) {
                throw std::runtime_error("the log file cannot be opened");
            }
        }
        m_live->Init(1, {});
        Drain();
    }

    ~VaxoRoad() override {
        VaxoRoad::LogOff();
        m_live->SetCallback({});
        m_live->Uninit();
        VaxoRoad::Drain();
    }

    void Call(int value) override { m_live->SetVideoBitrate(value); }
    void Block() override { m_live->SetVideoFPS(25); }
    void Drain() override { m_live->GetLiveChannel(); }  // asks on the thread of the commands

    void Hold() override { m_live->PlayStream(m_stream.streamID, 0); }
    void Release() override { m_events.OnPlayStateUpdate(Mediq::AVStateBegin, m_stream.streamID); }

    void Listen() override { m_live->SetCallback(m_app); }
    void StreamUpdate() override { m_events.OnStreamUpdate(m_stream, AddedStream); }

    void LogOn() override { vaxolog_set_level(m_level); }
    void LogOff() override {
        vaxolog_set_level(-1);
        vaxolog_flush();
    }

private:
    const std::shared_ptr<Strova::IVaxoLive> m_live = CVaxoLiveProxy::GetInstance();
    Strova::IVaxoLiveCallback& m_events = *CVaxoLiveProxy::GetInstance();  // what an engine has
    const std::shared_ptr<App> m_app = std::make_shared<App>();
    const Strova::VaxoLiveStream m_stream = AStream();
    int32 m_level = -1;
    std::optional<TempFolder> m_folder;
};

}  // namespace

std::unique_ptr<Road> MakeVaxoRoad(Logging logging) {
    return std::make_unique<VaxoRoad>(logging);
}

}  // namespace vaxobench
