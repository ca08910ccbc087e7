// What becomes of the arguments of the setters on their way to the engine, and of those
// that the engine never sees.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::PutWaiting;
using livetest::RunOnWorker0;
using livetest::Settle;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Text;
using livetest::Texts;
using livetest::TheObjects;
using livetest::TheScript;

class LiveProxyMediaArguments : public livetest::LiveProxyFixture {
protected:
    // The engine calls since the journal was taken, when the workers have settled.
    static Texts EngineCalls() {
        Settle();
        return TakeOnly("engine: ");
    }

    Strova::IVaxoLive& live = *proxy;
};

// An aux callback that nobody but its owner destroys or calls.
class Owned final : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* /*data*/, int* /*length*/, int* /*rate*/,
                       int* /*channels*/) override {
        ++calls;
    }
    int calls = 0;
};

}  // namespace

TEST_F(LiveProxyMediaArguments, TwoBitratesReachTheEngineInCallOrderBehindTheHeldCommand) {
    StartEngine();
    proxy->PlayStream("s1", 0);
    live.SetVideoBitrate(300);
    live.SetVideoBitrate(500);
    EXPECT_EQ(EngineCalls(), Texts{"engine: PlayStream(s1, 0)"});
    CompleteExecuting();
    EXPECT_EQ(EngineCalls(),
              (Texts{"engine: SetVideoBitrate(300)", "engine: SetVideoBitrate(500)"}));
}

TEST_F(LiveProxyMediaArguments, BothTruthValuesReachTheEngine) {
    StartEngine();
    live.EnableMic(false);
    live.EnableCam(false);
    live.SetSpeakerPhoneOn(false);
    live.EnableSpk(false);
    live.EnableTorch(false);
    live.EnableAux(false);
    live.EnableMic(true);
    EXPECT_EQ(EngineCalls(), (Texts{"engine: EnableMic(false)", "engine: EnableCam(false)",
                                    "engine: SetSpeakerPhoneOn(false)", "engine: EnableSpk(false)",
                                    "engine: EnableTorch(false)", "engine: EnableAux(false)",
                                    "engine: EnableMic(true)"}));
}

TEST_F(LiveProxyMediaArguments, NumbersReachTheEngineUncheckedAndUnchanged) {
    const int least = std::numeric_limits<int>::min();
    const int most = std::numeric_limits<int>::max();
    StartEngine();
    live.SetVideoBitrate(least);
    live.SetVideoFPS(-1);
    live.SetVideoResolution(most, least);
    live.SetFrontCam(-7);
    live.SetViewMode(most, std::numeric_limits<unsigned int>::max());
    live.TakeSnapshotRender(-1);
    live.EnableBeautifying(most);
    EXPECT_EQ(EngineCalls(),
              (Texts{"engine: SetVideoBitrate(-2147483648)", "engine: SetVideoFPS(-1)",
                     "engine: SetVideoResolution(2147483647, -2147483648)",
                     "engine: SetFrontCam(-7)", "engine: SetViewMode(2147483647, 4294967295)",
                     "engine: TakeSnapshotRender(-1)", "engine: EnableBeautifying(2147483647)"}));
}

TEST_F(LiveProxyMediaArguments, NullObjectsReachTheEngine) {
    StartEngine();
    live.SetView({}, 3);
    live.SetPreviewView({});
    live.SetVideoCaptureDeviceId({});
    live.SetAuxCallback(nullptr);
    EXPECT_EQ(EngineCalls(),
              (Texts{"engine: SetView(null, 3)", "engine: SetPreviewView(null)",
                     "engine: SetVideoCaptureDeviceId(null)", "engine: SetAuxCallback(null)"}));
}

TEST_F(LiveProxyMediaArguments, TheEngineIsGivenTheVeryObjects) {
    StartEngine();
    const auto view = std::make_shared<int>(1);
    const auto preview = std::make_shared<int>(2);
    const auto device = std::make_shared<vaxo::strutf8>("cam");
    Owned aux;
    live.SetView(view, 0);
    live.SetPreviewView(preview);
    live.SetVideoCaptureDeviceId(device);
    live.SetAuxCallback(&aux);
    Settle();
    EXPECT_EQ(TheObjects().view.lock(), view);
    EXPECT_EQ(TheObjects().previewView.lock(), preview);
    EXPECT_EQ(TheObjects().deviceID.lock(), device);
    EXPECT_EQ(TheObjects().aux, &aux);
    EXPECT_EQ(aux.calls, 0);
}

TEST_F(LiveProxyMediaArguments, SharedObjectsLiveUntilTheirCommandsHaveRun) {
    StartEngine();
    HoldWithPlay("s1");
    auto view = std::make_shared<int>(1);
    auto preview = std::make_shared<int>(2);
    auto device = std::make_shared<vaxo::strutf8>("cam");
    const std::weak_ptr<int> watchedView = view;
    const std::weak_ptr<int> watchedPreview = preview;
    const std::weak_ptr<vaxo::strutf8> watchedDevice = device;
    live.SetView(view, 0);
    live.SetPreviewView(preview);
    live.SetVideoCaptureDeviceId(device);
    EXPECT_EQ(view.use_count(), 2);  // a further reference, not a copy of the object
    *device = "changed by the caller";
    view.reset();
    preview.reset();
    device.reset();
    Settle();
    EXPECT_FALSE(watchedView.expired());
    EXPECT_FALSE(watchedPreview.expired());
    EXPECT_FALSE(watchedDevice.expired());
    Take();
    CompleteExecuting();
    EXPECT_EQ(EngineCalls(), (Texts{"engine: SetView(view1, 0)", "engine: SetPreviewView(view2)",
                                    "engine: SetVideoCaptureDeviceId(changed by the caller)"}));
    EXPECT_TRUE(watchedView.expired());
    EXPECT_TRUE(watchedPreview.expired());
    EXPECT_TRUE(watchedDevice.expired());
}

TEST_F(LiveProxyMediaArguments, ASharedObjectGoesWithItsRefusedCommand) {
    StartEngine();
    const auto view = std::make_shared<int>(1);
    const auto waiting = PutWaiting(CmdJoin_InvalidateLater);
    EXPECT_EQ(live.SetView(view, 0), 1);
    Settle();
    EXPECT_EQ(view.use_count(), 2);  // in the command that the waiting one has kept
    waiting->newcomer.reset();
    EXPECT_EQ(view.use_count(), 1);
}

TEST_F(LiveProxyMediaArguments, TheCallerMayChangeItsDeviceIDAtOnce) {
    StartEngine();
    HoldWithPlay("s1");
    vaxo::strutf8 deviceID = "mic1";
    live.SetAudioDevice(2, deviceID);
    deviceID = "mic2";
    CompleteExecuting();
    EXPECT_EQ(EngineCalls(), Texts{"engine: SetAudioDevice(2, mic1)"});
    EXPECT_EQ(Text(deviceID), "mic2");
}

// The engine here writes to the identifier that it is given.
TEST_F(LiveProxyMediaArguments, TheEngineCanChangeNeitherTheCallersNorTheKeptDeviceID) {
    StartEngine();
    vaxo::strutf8 deviceID = "mic1";
    const auto waiting = PutWaiting(CmdJoin_CoExist);
    live.SetAudioDevice(2, deviceID);
    Settle();
    EXPECT_EQ(Text(deviceID), "mic1");
    ASSERT_TRUE(waiting->newcomer);
    EXPECT_EQ(RunOnWorker0(waiting->newcomer), 0);
    EXPECT_EQ(RunOnWorker0(waiting->newcomer), 0);
    EXPECT_EQ(EngineCalls(), Texts(3, "engine: SetAudioDevice(2, mic1)"));
}

TEST_F(LiveProxyMediaArguments, AnEmptyDeviceIDAndOneWithAZeroByteReachTheEngine) {
    StartEngine();
    vaxo::strutf8 empty;
    vaxo::strutf8 zero("a\0b", 3);
    live.SetAudioDevice(0, empty);
    live.SetAudioDevice(0, zero);
    EXPECT_EQ(EngineCalls(), (Texts{"engine: SetAudioDevice(0, )",
                                    std::string("engine: SetAudioDevice(0, a\0b)", 30)}));
}

TEST_F(LiveProxyMediaArguments, TheEngineOfTheMomentOfTheRunIsUsed) {
    live.SetFilter(1);
    proxy->Init(7, Sign("key"));
    live.SetFilter(2);
    proxy->Uninit();
    live.SetFilter(3);
    EXPECT_EQ(EngineCalls(),
              (Texts{"engine: created", "engine: SetCallback()", "engine: Init(7, key)",
                     "engine: SetFilter(2)", "engine: Uninit()", "engine: destroyed"}));
}

TEST_F(LiveProxyMediaArguments, AnEngineStaysAliveForTheCallThatUsesIt) {
    StartEngine();
    int aliveInside = -1;
    TheScript().inside["SetFilter"] = [&] {
        proxy->ReleaseLive();
        aliveInside = livetest::EnginesAlive();
    };
    live.SetFilter(1);
    EXPECT_EQ(EngineCalls(), (Texts{"engine: SetFilter(1)", "engine: destroyed"}));
    EXPECT_EQ(aliveInside, 1);
}

TEST_F(LiveProxyMediaArguments, SettersOfManyThreadsReachTheEngineEachThreadsInItsOrder) {
    const int threadCount = 4;
    const int callCount = 50;
    StartEngine();
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([this, number] {
            for (int call = 0; call < callCount; ++call) {
                EXPECT_EQ(live.SetVideoResolution(number, call), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const Texts calls = EngineCalls();
    EXPECT_EQ(calls.size(), std::size_t{threadCount * callCount});
    std::vector<int> next(threadCount);
    for (const std::string& line : calls) {
        const std::size_t number = std::stoul(line.substr(line.find('(') + 1));
        ASSERT_LT(number, next.size());
        EXPECT_EQ(line, "engine: SetVideoResolution(" + std::to_string(number) + ", " +
                            std::to_string(next[number]) + ")");
        ++next[number];
    }
}
