// Calls at the wrong moment, callbacks that are not there, numbers at the end of their
// range, and very many calls and events.
#include <gtest/gtest.h>

#include <climits>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/EveryOperation.h"
#include "vaxolog.h"

namespace {

using livetest::AnswerWhatExecutes;
using livetest::EngineCallback;
using livetest::EveryEvent;
using livetest::EveryOperation;
using livetest::LiveEvent;
using livetest::LiveOperation;
using livetest::OnlyOf;
using livetest::PoppedOf;
using livetest::Settle;
using livetest::Split;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

// Each new call is joined with all that wait, fifty million times for ten thousand. The
// thread sanitizer would take minutes for that.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VAXO_TEST_FEWER_CALLS
#endif
#endif
#if defined(__SANITIZE_THREAD__) || defined(VAXO_TEST_FEWER_CALLS)
const int s_manyCalls = 2000;
#else
const int s_manyCalls = 10000;
#endif

// While one lives, only failures are logged: ten thousand waiting commands would be
// listed ten thousand times.
class QuietLog {
public:
    QuietLog() { vaxolog_set_level(esyslog_error); }
    ~QuietLog() { vaxolog_set_level(esyslog_debug); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};

class LiveInput : public livetest::LiveProxyFixture {
protected:
    // Each operation by itself, with no engine there.
    void CallEachWithoutEngine() {
        for (const LiveOperation& operation : EveryOperation()) {
            if (operation.name == std::string("Init")) {
                continue;
            }
            SCOPED_TRACE(operation.name);
            Take();
            EXPECT_EQ(operation.call(*proxy, app), operation.bare);
            Settle();
            ExpectFailure(operation, Take());
            EXPECT_EQ(Executing(), "");
        }
    }

    static void ExpectFailure(const LiveOperation& operation, const Texts& lines) {
        Texts command = Split(operation.commands);
        if (command.size() > 1) {
            command.erase(command.begin(), command.end() - 1);
        }
        EXPECT_EQ(PoppedOf(lines), command);
        Texts failures;
        for (const std::string& printed : command) {
            failures.push_back("log 1 unnamed: >>>>>> execute " + printed + " failed");
        }
        EXPECT_EQ(OnlyOf(lines, "log 1 unnamed: "), failures);
        EXPECT_EQ(OnlyOf(lines, "app: "), Split(operation.heard, "app: "));
        EXPECT_EQ(OnlyOf(lines, "engine: "), Texts());
        if (!command.empty()) {
            const Texts passes = OnlyOf(lines, "log 3 CmdQueue: > ");
            ASSERT_FALSE(passes.empty());
            EXPECT_EQ(passes.back(), "log 3 CmdQueue: > no cmd enqueued.");
        }
    }
};

}  // namespace

TEST_F(LiveInput, EveryOperationBeforeInitFailsAndHoldsNothingUp) {
    CallEachWithoutEngine();
}

TEST_F(LiveInput, EveryOperationAfterUninitFailsAndHoldsNothingUp) {
    StartEngine();
    proxy->Uninit();
    Settle();
    CallEachWithoutEngine();
}

TEST_F(LiveInput, CallsBeforeInitRunBeforeIt) {
    proxy->StartPreview();
    proxy->PlayStream("s1", 0);
    proxy->Init(7, Sign("key"));
    proxy->StopPreview();
    Settle();
    const Texts lines = Take();
    EXPECT_EQ(PoppedOf(lines), Split("SyncCmd(106/)|PlayStream(0/s1)|SyncCmd(100/)|SyncCmd(107/)"));
    EXPECT_EQ(OnlyOf(lines, "engine: "),
              Split("created|SetCallback()|Init(7, key)|StopPreview()", "engine: "));
    EXPECT_EQ(OnlyOf(lines, "app: "), Texts{"app: OnPlayStateUpdate(3, s1)"});
}

TEST_F(LiveInput, GettersWithoutAnEngineLeaveTheirArgumentAlone) {
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
    devices.set("id", "name");
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    streams.Add(Stream("s1"));
    EXPECT_EQ(proxy->GetVideoCaptureDevice(devices), -1);
    EXPECT_EQ(proxy->GetAudioDeviceList(INT_MIN, devices), -1);
    EXPECT_EQ(proxy->GetStreamList(streams), -1);
    EXPECT_EQ(devices.size(), 1U);
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(streams[0].streamID, "s1");
}

TEST_F(LiveInput, WithoutACallbackEventsEndCommandsAndNothingElse) {
    StartEngine();
    auto gone = std::make_shared<livetest::RecordingApp>();
    const std::weak_ptr<Strova::IVaxoLiveCallback> expired = gone;
    gone.reset();
    for (const auto& callback : {std::weak_ptr<Strova::IVaxoLiveCallback>(), expired}) {
        EXPECT_EQ(proxy->SetCallback(callback), 0);
        HoldWithPlay("s1");
        for (const LiveEvent& event : EveryEvent()) {
            event.fire(*EngineCallback());
        }
        EXPECT_EQ(Executing(), "PlayStream(0/s1)");
        AnswerWhatExecutes();
        Settle();
        EXPECT_EQ(Executing(), "");
        const Texts lines = Take();
        EXPECT_EQ(OnlyOf(lines, "app: "), Texts());
        // An event that is not delivered is not announced.
        EXPECT_EQ(OnlyOf(lines, "log 3 CmdProxy: "),
                  Texts{"log 3 CmdProxy: OnPlayStateUpdate, not callback for this cmd"});
    }
}

TEST_F(LiveInput, NullObjectsReachTheEngine) {
    StartEngine();
    proxy->SetView(nullptr, UINT_MAX);
    proxy->SetPreviewView(nullptr);
    proxy->SetVideoCaptureDeviceId(nullptr);
    proxy->SetAuxCallback(nullptr);
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), Split("SetView(null, 4294967295)|SetPreviewView(null)|"
                                          "SetVideoCaptureDeviceId(null)|SetAuxCallback(null)",
                                          "engine: "));
}

TEST_F(LiveInput, NumbersAtTheEndOfTheirRangeReachTheEngine) {
    StartEngine();
    for (const int number : {INT_MIN, INT_MAX}) {
        const std::string n = std::to_string(number);
        vaxo::strutf8 id("id");
        vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
        proxy->SetViewMode(number, UINT_MAX);
        proxy->SetPreviewViewMode(number);
        proxy->SetVideoBitrate(number);
        proxy->SetVideoFPS(number);
        proxy->SetVideoResolution(number, ~number);
        proxy->SetFrontCam(number);
        proxy->SetAudioDevice(number, id);
        proxy->EnableBeautifying(number);
        proxy->SetFilter(number);
        proxy->SetCaptureRotation(number);
        proxy->TakeSnapshotRender(number);
        proxy->Init(UINT_MAX, Sign(""));
        Settle();
        EXPECT_EQ(proxy->GetAudioDeviceList(number, devices), 0);
        proxy->GetStreamList("u", "n", "c", number);
        Settle();
        const std::string calls =
            "SetViewMode(#, 4294967295)|SetPreviewViewMode(#)|SetVideoBitrate(#)|SetVideoFPS(#)|"
            "SetVideoResolution(#, ~)|SetFrontCam(#)|SetAudioDevice(#, id)|EnableBeautifying(#)|"
            "SetFilter(#)|SetCaptureRotation(#)|TakeSnapshotRender(#)|Init(4294967295, )|"
            "GetAudioDeviceList(#)|GetStreamList(u, n, c, #)";
        std::string expected;
        for (const char letter : calls) {
            expected += letter == '#'   ? n
                        : letter == '~' ? std::to_string(~number)
                                        : std::string(1, letter);
        }
        EXPECT_EQ(TakeOnly("engine: "), Split(expected, "engine: "));
        AnswerWhatExecutes();
        Settle();
    }
}

TEST_F(LiveInput, NumbersAtTheEndOfTheirRangeReachTheApplication) {
    StartEngine();
    int image = 0;
    const auto engine = EngineCallback();
    engine->OnRenderSnapshot(&image, INT_MIN);
    engine->OnGetStreamList(UINT_MAX);
    engine->OnStreamUpdate(Stream("s1"), static_cast<VaxoAVStreamUpdateFlag>(INT_MAX));
    engine->OnCountsUpdate(UINT_MAX, 0);
    engine->OnPublishStateUpdate(static_cast<Mediq::VaxoAVState>(INT_MIN), "s1");
    engine->OnPlayStateUpdate(static_cast<Mediq::VaxoAVState>(INT_MAX), "s1");
    engine->OnVideoSizeChanged("s1", INT_MIN, INT_MAX);
    engine->OnLogout(UINT_MAX);
    engine->OnDisconnected(UINT_MAX, "room1");
    Settle();
    EXPECT_EQ(TakeOnly("app: "),
              Split("OnRenderSnapshot(image, -2147483648)|OnGetStreamList(4294967295)|"
                    "OnStreamUpdate(/s1////0, 2147483647)|OnCountsUpdate(4294967295, 0)|"
                    "OnPublishStateUpdate(-2147483648, s1)|OnPlayStateUpdate(2147483647, s1)|"
                    "OnVideoSizeChanged(s1, -2147483648, 2147483647)|OnLogout(4294967295)|"
                    "OnDisconnected(4294967295, room1)",
                    "app: "));
}

TEST_F(LiveInput, ThousandsOfWaitingCallsRunInOrder) {
    const int count = s_manyCalls;
    StartEngine();
    HoldWithPlay("hold");
    const QuietLog quiet;
    Texts expected;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(proxy->SetFilter(i), 0);
        expected.push_back("engine: SetFilter(" + std::to_string(i) + ")");
    }
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), Texts());
    AnswerWhatExecutes();
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), expected);
}

TEST_F(LiveInput, ABurstOfTenThousandEventsIsHeardInOrder) {
    const unsigned count = 10000;
    StartEngine();
    const auto engine = EngineCallback();
    Texts expected;
    std::thread([&] {
        for (unsigned i = 0; i < count; ++i) {
            engine->OnCountsUpdate(i, 0);
        }
    }).join();
    for (unsigned i = 0; i < count; ++i) {
        expected.push_back("app: OnCountsUpdate(" + std::to_string(i) + ", 0)");
    }
    Settle();
    EXPECT_EQ(TakeOnly("app: "), expected);
}

// What waits for worker 2 waits there alone: commands and getters go on.
TEST_F(LiveInput, AnApplicationThatTakesLongHoldsUpEventsAlone) {
    StartEngine();
    std::promise<void> begun, end;
    app->hook = [&](const std::string&) {
        app->hook = nullptr;
        begun.set_value();
        end.get_future().wait();
    };
    EngineCallback()->OnCountsUpdate(1, 1);
    begun.get_future().wait();
    TheScript().inside["PlayStream"] = &AnswerWhatExecutes;
    for (const char* const id : {"s1", "s2", "s3"}) {
        proxy->PlayStream(id, 0);
    }
    TheScript().text["GetLiveChannel"] = "room1";
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
    EXPECT_EQ(proxy->GetLiveChannel(), "room1");
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnCountsUpdate(1, 1)"});
    end.set_value();
    Settle();
    EXPECT_EQ(TakeOnly("app: "),
              Split("OnPlayStateUpdate(0, s1)|OnPlayStateUpdate(0, s2)|OnPlayStateUpdate(0, s3)",
                    "app: "));
}
