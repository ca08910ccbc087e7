// The engine behind the proxy: random programs of calls, after which nothing is left.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "base/VaxoAppSetting.h"
#include "live/VaxoLiveProxy.h"
#include "servers/LocalServers.h"
#include "servers/ServerTools.h"

namespace {

using livetest::LocalServers;
using Strova::CVaxoLiveProxy;

// Seconds of random calls; VAXO_RANDOM_SECONDS and VAXO_RANDOM_SEED repeat a run.
int FromEnvironment(const char* name, int otherwise) {
    const char* const value = std::getenv(name);
    return value == nullptr ? otherwise : std::atoi(value);
}

class CountingApp final : public Strova::IVaxoLiveCallback {
public:
    void OnPublishStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int,
                           unsigned long long) override {}
    void OnVideoSizeChanged(unsigned long long, int, int) override {}
    void OnPreviewSnapshot(void*) override { ++pictures; }
    void OnRenderSnapshot(void*, int) override { ++pictures; }
    void OnGetStreamList(unsigned int) override { ++answers; }
    void OnStreamUpdate(const Strova::VaxoLiveStream&, VaxoAVStreamUpdateFlag) override {}
    void OnCountsUpdate(unsigned int, unsigned int) override {}
    void OnPublishStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override { ++answers; }
    void OnPlayStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override { ++answers; }
    void OnVideoSizeChanged(const vaxo::strutf8&, int, int) override {}
    void OnLogout(unsigned int) override {
        ++answers;
        ++logouts;
    }
    void OnDisconnected(unsigned int, const vaxo::strutf8&) override {}
    void OnReconnected(const vaxo::strutf8&) override {}

    std::atomic<int> answers{0};
    std::atomic<int> logouts{0};
    std::atomic<int> pictures{0};
};

void InitProxy(CVaxoLiveProxy& proxy) {
    const livetest::Application application = LocalServers::Shared().App();
    vaxo::stream key;
    for (const char byte : application.key) {
        const auto unit = static_cast<uint8>(byte);
        key.append(&unit, 1);
    }
    proxy.Init(application.id, key);
    proxy.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>("test:picture"));
    vaxo::strutf8 tone("test:tone");
    proxy.SetAudioDevice(0, tone);
}

const std::array<const char*, 3> kNames = {"one", "two", "three"};

// One call of those that an application may make at any moment.
void Call(CVaxoLiveProxy& proxy, std::mt19937& random) {
    const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
    const char* const name = kNames[static_cast<std::size_t>(below(3))];
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    switch (below(20)) {
        case 0:
            InitProxy(proxy);
            break;
        case 1:
            below(4) == 0 ? proxy.Uninit() : proxy.StopPreview();
            break;
        case 2:
        case 3:
        case 4:
            proxy.GetStreamList("bob", "Bob", name, 0);
            break;
        case 5:
        case 6:
            proxy.StartPublishing("title", name, "");
            break;
        case 7:
            proxy.StopPublishing();
            break;
        case 8:
        case 9:
            proxy.PlayStream(name, static_cast<unsigned>(below(3)));
            break;
        case 10:
            proxy.StopPlayStream(name);
            break;
        case 11:
            proxy.Logout();
            break;
        case 12:
            proxy.StartPreview();
            break;
        case 13:
            proxy.SetVideoResolution(160 + 32 * below(3), 90);
            break;
        case 14:
            proxy.SetFilter(below(10));
            break;
        case 15:
            proxy.EnableCam(below(2) == 0);
            break;
        case 16:
            proxy.EnableMic(below(2) == 0);
            break;
        case 17:
            proxy.TakeSnapshotPreview();
            break;
        case 18:
            proxy.TakeSnapshotRender(below(3));
            break;
        default:
            proxy.GetStreamList(streams);
            break;
    }
}

TEST(LiveProxyRandom, AfterAMinuteOfAnythingTheQueueIsEmptyAndAllIsReleased) {
    LocalServers& servers = LocalServers::Shared();
    CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
    settings->SetServiceURL(servers.ServiceURL().c_str());
    settings->SetMediaURL(servers.MediaURL().c_str());
    const int seconds = FromEnvironment("VAXO_RANDOM_SECONDS", 60);
    const auto seed = static_cast<unsigned>(
        FromEnvironment("VAXO_RANDOM_SEED", static_cast<int>(std::random_device()() & 0xFFFFU)));
    SCOPED_TRACE("VAXO_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    const auto proxy = CVaxoLiveProxy::GetInstance();
    const auto app = std::make_shared<CountingApp>();
    proxy->SetCallback(app);
    InitProxy(*proxy);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    while (std::chrono::steady_clock::now() < until) {
        for (auto calls = random() % 12; calls > 0; --calls) {
            Call(*proxy, random);
        }
        // Mostly the queue comes to rest between two bursts, as with people.
        if (random() % 4 != 0) {
            EXPECT_TRUE(livetest::Eventually([&] { return !queue->GetExecutingCmd(); }));
        }
    }
    const int before = app->logouts;
    proxy->Logout();
    EXPECT_TRUE(livetest::Eventually([&] { return app->logouts > before; }));
    proxy->Uninit();
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    EXPECT_EQ(proxy->GetStreamList(streams), -1) << "the engine is still there";
    EXPECT_FALSE(queue->GetExecutingCmd());
    EXPECT_GT(app->answers, 0);
    const std::weak_ptr<CountingApp> weak = app;
    proxy->SetCallback({});
}

}  // namespace
