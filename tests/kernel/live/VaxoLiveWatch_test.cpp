// The application's look at the shared queue: the words a dump uses, and who hears of
// removed calls, where and when.
#include "VaxoLiveWatch.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"

namespace {

using livetest::Settle;
using livetest::Text;
using livetest::Texts;

std::string Name(const Strova::VaxoLiveCall& call) {
    return Text(call.type) + "(" + std::to_string(call.number) + "/" + Text(call.text) + ") " +
           Text(call.operation);
}

class LiveWatch : public livetest::LiveProxyFixture {
protected:
    LiveWatch() {
        StartEngine();
        Strova::VaxoLiveWatchQueue(true);
    }
    ~LiveWatch() override {
        Strova::VaxoLiveSetQueueObserver({});
        Strova::VaxoLiveWatchQueue(false);
    }
};

class Listener : public Strova::IVaxoLiveQueueObserver {
public:
    void OnCallRemoved(const Strova::VaxoLiveCall& removed) override {
        heard.push_back(Name(removed));
        thread = vaxothread_selfid();
    }
    Texts heard;  // written on worker 2, read after Settle
    vaxothread_id thread = 0;
};

struct Held {
    const char* name;
    int (*call)(Strova::CVaxoLiveProxy& proxy);
    const char* cmd;
    const char* awaited;
};

void PrintTo(const Held& held, std::ostream* out) {
    *out << held.name;
}

class LiveWatchHeld : public LiveWatch, public ::testing::WithParamInterface<Held> {};

}  // namespace

TEST_P(LiveWatchHeld, NamesTheCallAndTheEventThatEndsIt) {
    ASSERT_EQ(GetParam().call(*proxy), 0);
    Settle();
    if (Executing() == "StopPublish(0/)" && std::string(GetParam().name) == "Leave") {
        CompleteExecuting();  // leaving ends the publish first
    }
    const Strova::VaxoLiveQueueDump dump = Strova::VaxoLiveDumpQueue();
    EXPECT_EQ(dump.phase, Strova::VaxoLiveCall_Held);
    EXPECT_EQ(Name(dump.current), GetParam().cmd);
    EXPECT_GE(dump.current.millis, 0);
    EXPECT_EQ(Text(dump.awaited), GetParam().awaited);
    CompleteExecuting();
    EXPECT_EQ(Strova::VaxoLiveDumpQueue().phase, Strova::VaxoLiveCall_None);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCallThatWaits, LiveWatchHeld,
    ::testing::Values(Held{"Enter",
                           [](auto& proxy) { return proxy.GetStreamList("ann", "Ann", "room", 1); },
                           "GetInRoom(0/room) GetStreamList", "OnGetStreamList"},
                      Held{"Leave", [](auto& proxy) { return proxy.Logout(); },
                           "LeaveRoom(0/) Logout", "OnLogout"},
                      Held{"Play", [](auto& proxy) { return proxy.PlayStream("s1", 0); },
                           "PlayStream(0/s1) PlayStream", "OnPlayStateUpdate(s1)"},
                      Held{"EndPlay", [](auto& proxy) { return proxy.StopPlayStream("s1"); },
                           "StopStream(0/s1) StopPlayStream", "OnPlayStateUpdate(s1)"},
                      Held{"Publish",
                           [](auto& proxy) { return proxy.StartPublishing("t", "s1", "room"); },
                           "StartPublish(0/s1) StartPublishing", "OnPublishStateUpdate"},
                      Held{"EndPublish", [](auto& proxy) { return proxy.StopPublishing(); },
                           "StopPublish(0/) StopPublishing", "OnPublishStateUpdate"}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST_F(LiveWatch, SyncCallsAreNamedByTheirNumbers) {
    HoldWithPlay("s1");
    proxy->SetVideoBitrate(1);
    proxy->UploadLog();
    proxy->AddCmd(4711, SyncCmd, [] { return 0; });
    const auto waiting = Strova::VaxoLiveDumpQueue().waiting;
    ASSERT_EQ(waiting.size(), 3U);
    EXPECT_EQ(Name(waiting[0]), "SyncCmd(108/) SetVideoBitrate");
    EXPECT_EQ(Name(waiting[1]), "SyncCmd(100/) Init/UploadLog");
    EXPECT_EQ(Name(waiting[2]), "SyncCmd(4711/) ");
    CompleteExecuting();
}

TEST_F(LiveWatch, DescriptionSaysWhatHoldsWhatWaitsAndWhatWasRemoved) {
    HoldWithPlay("held");
    proxy->PlayStream("s2", 1);
    proxy->PlayStream("s2", 2);
    proxy->EnableMic(true);
    Strova::VaxoLiveQueueDump dump = Strova::VaxoLiveDumpQueue();
    dump.current.millis = 1234;
    for (Strova::VaxoLiveCall& call : dump.waiting) {
        call.millis = 10;
    }
    for (Strova::VaxoLiveDecision& decision : dump.decisions) {
        decision.call.millis = 20;
    }
    EXPECT_EQ(Text(Strova::VaxoLiveDescribeQueue(dump)),
              "queue: PlayStream(0/held) holds it, 1234 ms, until OnPlayStateUpdate(held)\n"
              "waiting: 2\n"
              "  PlayStream(0/s2), 10 ms\n"
              "  SyncCmd(114/) EnableMic, 10 ms\n"
              "received last: 5\n"
              "  20 ms ago: PlayStream(0/held) stored\n"
              "  20 ms ago: PlayStream(0/s2) stored\n"
              "  20 ms ago: PlayStream(0/s2) removed PlayStream(0/s2)\n"
              "  20 ms ago: PlayStream(0/s2) stored\n"
              "  20 ms ago: SyncCmd(114/) EnableMic stored\n");
    CompleteExecuting();
    CompleteExecuting();
}

TEST_F(LiveWatch, DescriptionKeepsALineALineWhateverAStreamIsCalled) {
    HoldWithPlay("a\nb\x1b[31m");
    const std::string text = Text(Strova::VaxoLiveDescribeQueue(Strova::VaxoLiveDumpQueue()));
    EXPECT_NE(text.find("PlayStream(0/a?b?[31m) holds it"), std::string::npos);
    CompleteExecuting();
}

TEST_F(LiveWatch, DumpFromInsideTheEngineNamesTheRunningCall) {
    std::string seen;
    livetest::TheScript().inside["SetVideoBitrate"] = [&] {
        const Strova::VaxoLiveQueueDump dump = Strova::VaxoLiveDumpQueue();
        seen = std::to_string(dump.phase) + " " + Name(dump.current);
    };
    proxy->SetVideoBitrate(1);
    Settle();
    EXPECT_EQ(seen, "1 SyncCmd(108/) SetVideoBitrate");
}

TEST_F(LiveWatch, UnwatchedDumpSaysSo) {
    Strova::VaxoLiveWatchQueue(false);
    EXPECT_EQ(Text(Strova::VaxoLiveDescribeQueue(Strova::VaxoLiveDumpQueue())),
              "queue: nothing holds it\nnot watched: no more is known\n");
}

TEST_F(LiveWatch, ObserverHearsOfRemovedCallsOnTheWorkerOfTheEvents) {
    const auto listener = std::make_shared<Listener>();
    Strova::VaxoLiveSetQueueObserver(listener);
    HoldWithPlay("held");
    proxy->PlayStream("s1", 0);
    proxy->EnableMic(true);
    proxy->StopPlayStream("s1");
    Settle();
    EXPECT_EQ(listener->heard, (Texts{"PlayStream(0/s1) PlayStream"}));
    EXPECT_EQ(listener->thread, livetest::Worker2());
    CompleteExecuting();
    CompleteExecuting();
}

TEST_F(LiveWatch, ObserverThatIsGoneIsNotCalled) {
    auto listener = std::make_shared<Listener>();
    Strova::VaxoLiveSetQueueObserver(listener);
    listener.reset();
    HoldWithPlay("held");
    proxy->PlayStream("s1", 0);
    proxy->StopPlayStream("s1");
    Settle();
    CompleteExecuting();
    CompleteExecuting();
}

TEST_F(LiveWatch, ObserverMayCallTheProxyAndTheWatch) {
    struct Caller : Listener {
        void OnCallRemoved(const Strova::VaxoLiveCall& removed) override {
            Listener::OnCallRemoved(removed);
            Strova::VaxoLiveSetQueueObserver({});
            Strova::CVaxoLiveProxy::GetInstance()->StopPlayStream("s2");
            heard.push_back(std::to_string(Strova::VaxoLiveDumpQueue().waitingCount));
        }
    };
    const auto caller = std::make_shared<Caller>();
    Strova::VaxoLiveSetQueueObserver(caller);
    HoldWithPlay("held");
    proxy->PlayStream("s1", 0);
    proxy->StopPlayStream("s1");
    Settle();
    ASSERT_EQ(caller->heard.size(), 2U);
    EXPECT_EQ(caller->heard[1], "2");
    for (int i = 0; i < 3; ++i) {
        CompleteExecuting();
    }
}
