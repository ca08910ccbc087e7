// Events on their way to the application: the arguments, the threads, the order, and what a
// slow application holds up.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kernel/live/LiveEventCases.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "utils/VaxoQueueRunner.h"

namespace {

using livetest::Beginning;
using livetest::Concat;
using livetest::EventCase;
using livetest::HoldQueue;
using livetest::OfThread;
using livetest::OnEngineThread;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Text;
using livetest::Texts;

class LiveForward : public livetest::LiveEventFixture {};

// An application that keeps the image pointers it is given.
class ImageApp final : public Strova::IVaxoLiveCallback {
public:
    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;
    void OnPreviewSnapshot(void* pImage) override { images.emplace_back(pImage, -100); }
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override {
        images.emplace_back(pImage, nChannelIdx);
    }
    void OnGetStreamList(unsigned int) override {}
    void OnStreamUpdate(const Strova::VaxoLiveStream&, VaxoAVStreamUpdateFlag) override {}
    void OnCountsUpdate(unsigned int, unsigned int) override {}
    void OnPublishStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override {}
    void OnVideoSizeChanged(const vaxo::strutf8&, int, int) override {}
    void OnLogout(unsigned int) override {}
    void OnDisconnected(unsigned int, const vaxo::strutf8&) override {}
    void OnReconnected(const vaxo::strutf8&) override {}

    std::vector<std::pair<void*, int>> images;
};

}  // namespace

TEST_F(LiveForward, ItComesOnceOnItsThread) {
    ForEach(livetest::AllEvents(), [](const EventCase& event) {
        const vaxothread_id engine = OnEngineThread([&event](auto& cb) {
            event.fire(cb);
            livetest::Note("app: the event method has returned");
        });
        Settle();
        const std::vector<livetest::Line> heard = Beginning(TakeLines(), "app: ");
        ASSERT_EQ(heard.size(), 2U);
        const livetest::Line& first = heard[0].thread == engine ? heard[0] : heard[1];
        if (event.direct) {
            EXPECT_EQ(first.text, event.delivered.back());  // before the method returned
            EXPECT_EQ(heard[1].thread, engine);
        } else {
            EXPECT_EQ(first.text, "app: the event method has returned");
            EXPECT_EQ(OfThread(heard, livetest::Worker2()), Texts{event.delivered.back()});
        }
    });
}

TEST_F(LiveForward, TheMethodReturnsWhileTheApplicationIsBusy) {
    ForEach(livetest::AllEvents(), [](const EventCase& event) {
        livetest::WorkerHeld busy(2);
        OnEngineThread(event.fire);  // and this returns
        EXPECT_EQ(TakeOnly("app: "), event.direct ? event.delivered : Texts());
        busy.Release();
        Settle();
        EXPECT_EQ(TakeOnly("app: "), event.direct ? Texts() : Texts{event.delivered.back()});
    });
}

TEST_F(LiveForward, ItComesWhileWorkerZeroIsBusy) {
    ForEach(livetest::AllEvents(), [](const EventCase& event) {
        const livetest::WorkerHeld busy(0);
        OnEngineThread(event.fire);
        CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
        EXPECT_EQ(TakeOnly("app: "), Texts{event.delivered.back()});
    });
}

TEST_F(LiveForward, ExtremeAndEmptyArgumentsArriveUnchanged) {
    const vaxo::strutf8 odd("a\0b%s", 5);
    OnEngineThread([&odd](auto& cb) {
        cb.OnCountsUpdate(0, UINT_MAX);
        cb.OnVideoSizeChanged(odd, INT_MIN, INT_MAX);
        cb.OnVideoSizeChanged("", 0, 0);
        cb.OnDisconnected(UINT_MAX, odd);
        cb.OnDisconnected(0, "");
        cb.OnReconnected("");
        cb.OnGetStreamList(UINT_MAX);
        cb.OnLogout(UINT_MAX);
        for (const int flag : {0, 1, 2, 3, 4, -1}) {
            cb.OnStreamUpdate({}, static_cast<VaxoAVStreamUpdateFlag>(flag));
        }
        cb.OnPublishStateUpdate(Mediq::AVStateBegin, odd);
        cb.OnPlayStateUpdate(Mediq::AVStateBegin, "");
    });
    Settle();
    const std::string seen("a\0b%s", 5);
    EXPECT_EQ(
        TakeOnly("app: "),
        (Texts{"app: OnCountsUpdate(0, 4294967295)",
               "app: OnVideoSizeChanged(" + seen + ", -2147483648, 2147483647)",
               "app: OnVideoSizeChanged(, 0, 0)", "app: OnDisconnected(4294967295, " + seen + ")",
               "app: OnDisconnected(0, )", "app: OnReconnected()",
               "app: OnGetStreamList(4294967295)", "app: OnLogout(4294967295)",
               "app: OnStreamUpdate(/////0, 0)", "app: OnStreamUpdate(/////0, 1)",
               "app: OnStreamUpdate(/////0, 2)", "app: OnStreamUpdate(/////0, 3)",
               "app: OnStreamUpdate(/////0, 4)", "app: OnStreamUpdate(/////0, -1)",
               "app: OnPublishStateUpdate(0, " + seen + ")", "app: OnPlayStateUpdate(0, )"}));
}

TEST_F(LiveForward, AnImageIsPassedAsThePointerItIs) {
    const auto own = std::make_shared<ImageApp>();
    proxy->SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>(own));
    int image = 0;
    OnEngineThread([&image](auto& cb) {
        cb.OnPreviewSnapshot(&image);
        cb.OnRenderSnapshot(&image, 3);
        cb.OnPreviewSnapshot(nullptr);
        cb.OnRenderSnapshot(nullptr, INT_MIN);
    });
    const std::vector<std::pair<void*, int>> expected = {
        {&image, -100}, {&image, 3}, {nullptr, -100}, {nullptr, INT_MIN}};
    EXPECT_EQ(own->images, expected);
}

TEST_F(LiveForward, TheEnginesObjectsMayGoAsSoonAsTheMethodReturns) {
    livetest::WorkerHeld busy(2);
    OnEngineThread([](auto& cb) {
        const auto stream = std::make_unique<Strova::VaxoLiveStream>(livetest::WholeStream());
        const auto text = std::make_unique<vaxo::strutf8>("some text of its own");
        cb.OnStreamUpdate(*stream, AddedStream);
        cb.OnPublishStateUpdate(Mediq::AVStateBegin, *text);
        cb.OnPlayStateUpdate(Mediq::AVStateBegin, *text);
        cb.OnVideoSizeChanged(*text, 1, 2);
        cb.OnDisconnected(3, *text);
        cb.OnReconnected(*text);
        // Changed in place first: a view of the engine's bytes would show it.
        text->data()[0] = 'X';
        stream->title.data()[0] = 'X';
        stream->rtmpURLs[0].data()[0] = 'X';
        stream->rtmpURLs.Add("one more");
        stream->hlsURLs.erase(stream->hlsURLs.begin());
        stream->status = 1;
    });
    busy.Release();
    Settle();
    EXPECT_EQ(
        TakeOnly("app: "),
        (Texts{"app: OnStreamUpdate(gid/s1/user/name/title/rtmp r1/rtmp r2/hls h1/4000000000, 1)",
               "app: OnPublishStateUpdate(0, some text of its own)",
               "app: OnPlayStateUpdate(0, some text of its own)",
               "app: OnVideoSizeChanged(some text of its own, 1, 2)",
               "app: OnDisconnected(3, some text of its own)",
               "app: OnReconnected(some text of its own)"}));
}

TEST_F(LiveForward, EventsArriveInTheOrderGivenEachLineWithItsEvent) {
    Texts expected;
    livetest::WorkerHeld busy(2);
    OnEngineThread([&expected](auto& cb) {
        for (int round = 0; round < 5; ++round) {
            for (const EventCase& event : livetest::PostedEvents()) {
                event.fire(cb);
                expected = Concat(expected, event.delivered);
            }
        }
    });
    busy.Release();
    Settle();
    EXPECT_EQ(OfThread(TakeLines(), livetest::Worker2()), expected);
}

TEST_F(LiveForward, ASlowApplicationHoldsUpNoCommand) {
    const livetest::Gate entered;
    const livetest::Gate leave;
    app->hook = [entered, leave](const std::string&) {
        entered.Open();
        leave.Pass();
    };
    proxy->PlayStream("a", 0);
    OnEngineThread([](auto& cb) { cb.OnCountsUpdate(1, 1); });
    entered.Pass();  // the application is inside the event from here on
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    runner->SyncRun([] {}, 0);
    EXPECT_EQ(Executing(), "PlayStream(0/a)");
    OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "a"); });
    proxy->StopPlayStream("a");
    runner->SyncRun([] {}, 0);
    EXPECT_EQ(Executing(), "StopStream(0/a)");
    EXPECT_EQ(Text(proxy->GetLiveChannel()), "");  // a getter does not wait for it either
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnCountsUpdate(1, 1)"});
    leave.Open();
    Settle();
    EXPECT_EQ(TakeOnly("app: "), Texts{"app: OnPlayStateUpdate(0, a)"});
}

TEST_F(LiveForward, TheNextCommandMayRunBeforeTheApplicationHears) {
    proxy->PlayStream("a", 0);
    proxy->PlayStream("b", 0);
    Settle();
    Take();
    livetest::WorkerHeld busy(2);
    OnEngineThread([](auto& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "a"); });
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
    EXPECT_EQ(Executing(), "PlayStream(0/b)");
    busy.Release();
    Settle();
    Texts lines;
    for (const std::string& line : Take()) {
        if (line.compare(0, 4, "log ") != 0) {
            lines.push_back(line);
        }
    }
    EXPECT_EQ(lines, (Texts{"engine: PlayStream(b, 0)", "app: OnPlayStateUpdate(0, a)"}));
}

TEST_F(LiveForward, TheApplicationMayCallTheProxyInsideAnEvent) {
    app->hook = [this](const std::string& event) {
        app->hook = nullptr;
        EXPECT_EQ(event, "OnCountsUpdate(1, 2)");
        EXPECT_EQ(proxy->PlayStream("a", 0), 0);
        EXPECT_EQ(Text(proxy->GetLiveChannel()), "");
        EXPECT_EQ(proxy->Logout(), 0);
    };
    OnEngineThread([](auto& cb) { cb.OnCountsUpdate(1, 2); });
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/a)");
    EXPECT_EQ(Waiting(), (Texts{"StopPublish(0/)", "LeaveRoom(0/)"}));
}

TEST_F(LiveForward, AnEventOfWorkerTwoItselfComesAfterTheOneThatRuns) {
    app->hook = [this](const std::string&) {
        app->hook = nullptr;
        livetest::EngineCallback()->OnReconnected("inner");
        livetest::Note("app: leaves the first");
    };
    OnEngineThread([](auto& cb) { cb.OnReconnected("outer"); });
    Settle();
    EXPECT_EQ(TakeOnly("app: "), (Texts{"app: OnReconnected(outer)", "app: leaves the first",
                                        "app: OnReconnected(inner)"}));
}
