// The callback: weak, replaced, gone; and what happens while an event is being told.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "conformance/engine/Stage.h"

namespace conformance {

namespace {

// One round through everything, each request answered before the next.
std::vector<Request> Round() {
    return {EnterRequest(),    PlayRequest(),        PublishRequest(),
            StopPlayRequest(), StopPublishRequest(), LogoutRequest()};
}

void RunRound(Stage& stage) {
    for (const Request& request : Round()) {
        const Reply reply = stage.Do(request);
        EXPECT_EQ(reply.status, 0) << "broken rule: " << rule::Accepted << "\n  " << Words(request);
        if (request.what == Ask::Enter) {
            stage.ledger->Await([](const Event& event) { return event.what == Told::Stream; });
        }
        if (request.what == Ask::Publish && Env().TakesSnapshots()) {
            stage.With([](auto& engine) { return engine.TakeSnapshotPreview(); });
            stage.With([](auto& engine) { return engine.TakeSnapshotRender(0); });
        }
    }
}

TEST(Callback, IsNotKeptAliveByTheEngine) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Playing));
    stage.DropCallback();
}

TEST(Callback, ThatIsGoneLeavesTheEngineUsable) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    stage.DropCallback();
    stage.CheckBroken();
    for (const Request& request : {PublishRequest(), PlayRequest(), StopPublishRequest()}) {
        stage.Call(request);
    }
    stage.ReplaceCallback();
    const Reply left = stage.Do(LogoutRequest());
    EXPECT_TRUE(left.event) << "broken rule: " << rule::Answered;
}

TEST(Callback, ThatWasNeverSetOrIsNullIsAccepted) {
    Stage stage;
    const auto setNull = [](auto& engine) {
        return engine.SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>());
    };
    EXPECT_EQ(stage.With(setNull), 0) << "broken rule: " << rule::Accepted;
    ASSERT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted;
    for (const Request& request : Round()) {
        stage.Call(request);
    }
    stage.ReplaceCallback();
    EXPECT_TRUE(stage.Do(EnterRequest()).event) << "broken rule: " << rule::Answered;
}

TEST(Callback, ThatReplacesAnotherHearsWhatIsAskedThen) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    for (const Request& request : {PlayRequest(), StopPlayRequest(), LogoutRequest()}) {
        const std::shared_ptr<Recorder> former = stage.ReplaceCallback();
        const Reply reply = stage.Do(request);
        if (reply.event && reply.event->listener == former.get()) {
            stage.ledger->Break(rule::Replaced, Words(*reply.event) + " came to the former one");
        }
    }
}

// The first event after a request is where the application lets go.
TEST(Callback, MayGoInsideAnEvent) {
    for (const Request& request : {EnterRequest(), PlayRequest(), PublishRequest()}) {
        Stage stage;
        ASSERT_TRUE(stage.Reach(Place::InChannel));
        stage.ledger->AwaitSilence();
        const std::weak_ptr<Recorder> gone = stage.recorder;
        stage.ledger->SetHook([&stage](const Event&) { stage.recorder.reset(); });
        stage.Call(request);
        if (!AwaitGone(gone)) {
            stage.ledger->Break(rule::Weak, "the callback went inside an event");
        }
        stage.ledger->SetHook({});
        stage.ReplaceCallback();
        EXPECT_TRUE(stage.Do(LogoutRequest()).event) << "broken rule: " << rule::Answered;
    }
}

// Inside an event: the list getter here, and calls on the worker that the event waits for. (An
// event that comes in the course of a call is on the worker, which waits for nobody.)
void UseInside(Ledger& ledger, const std::shared_ptr<Strova::CVaxoLiveShow>& engine) {
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    engine->GetStreamList(streams);
    if (Worker::Shared().IsCurrent()) {
        return;
    }
    auto done = Worker::Shared().Post([engine] {
        vaxostl::vector<Strova::VaxoLiveStream> again;
        engine->GetStreamList(again);
        engine->GetLiveChannel();
        engine->GetCurrentPublishStreamID();
        engine->GetCurrentPublishStreamURL();
        engine->SetVideoBitrate(600000);
        engine->SetView(nullptr, 1);
        engine->EnableMic(true);
    });
    if (done.wait_for(Limit()) != std::future_status::ready) {
        ledger.Break(rule::Returns, "calls that an event waits for");
    }
}

TEST(Events, MayWaitForOperations) {
    Stage stage;
    ASSERT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted;
    stage.ledger->SetHook([ledger = stage.ledger.get(), engine = stage.engine](const Event&) {
        UseInside(*ledger, engine);
    });
    RunRound(stage);
}

// Each request is made while an event waits for it to return.
TEST(Events, MayWaitForRequests) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    stage.ledger->AwaitSilence();
    const auto next = std::make_shared<std::atomic<std::size_t>>(0);
    stage.ledger->SetHook([next, ledger = stage.ledger, engine = stage.engine](const Event& event) {
        const std::vector<Request> requests = {PlayRequest(), PublishRequest(), StopPlayRequest(),
                                               StopPublishRequest(), LogoutRequest()};
        if (Worker::Shared().IsCurrent() || *next >= requests.size()) {
            return;
        }
        const std::size_t at = (*next)++;
        if (at >= requests.size()) {
            return;
        }
        const int number = ledger->Asked(requests[at]);
        auto posted = Worker::Shared().Post([ledger, engine, number, request = requests[at]] {
            ledger->Returned(number, Perform(*engine, request));
        });
        if (posted.wait_for(Limit()) != std::future_status::ready) {
            ledger->Break(rule::Returns, Words(requests[at]) + " from inside " + Words(event));
        }
    });
    stage.Call(EnterRequest());
    stage.ledger->Await([next](const Event& event) {
        return event.what == Told::LeftChannel || (*next == 0 && event.what == Told::Entered);
    });
    EXPECT_TRUE(stage.Do(LogoutRequest()).event) << "broken rule: " << rule::Answered;
    stage.ledger->SetHook({});
    stage.ledger->AwaitSilence();
}

// A Logout from inside a snapshot's event may hold the last reference to the engine.
TEST(Events, MayEndTheEngine) {
    if (!Env().TakesSnapshots()) {
        GTEST_SKIP() << "this engine takes no snapshots";
    }
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    const auto last = std::make_shared<std::shared_ptr<Strova::CVaxoLiveShow>>();
    last->swap(stage.engine);
    const auto ended = std::make_shared<std::promise<void>>();
    const auto first = std::make_shared<std::atomic<bool>>(true);
    stage.ledger->SetHook([last, ended, first](const Event& event) {
        if (event.what != Told::PreviewPicture || !first->exchange(false)) {
            return;
        }
        if (!Worker::Shared().IsCurrent()) {
            Worker::Shared().Run([] {});  // the call that asked for the picture has returned
            last->reset();
        }
        ended->set_value();
    });
    Worker::Shared().Run([engine = *last] { engine->TakeSnapshotPreview(); });
    EXPECT_EQ(ended->get_future().wait_for(Limit()), std::future_status::ready)
        << "broken rule: " << rule::Snapshots;
    Worker::Shared().Run([last] { last->reset(); });
}

TEST(Threads, MayAskForTheStreamListAtAnyMoment) {
    Stage stage;
    std::atomic<bool> stop{false};
    std::vector<std::thread> askers;
    for (int i = 0; i < 3; ++i) {
        askers.emplace_back([&stop, engine = stage.engine] {
            while (!stop) {
                vaxostl::vector<Strova::VaxoLiveStream> streams;
                engine->GetStreamList(streams);
                std::this_thread::yield();
            }
        });
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted;
        RunRound(stage);
        stage.Uninit();
        stage.Call(EnterRequest());
    }
    stop = true;
    for (std::thread& asker : askers) {
        asker.join();
    }
}

TEST(Threads, AnyMayEndTheEngine) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    std::shared_ptr<Strova::CVaxoLiveShow> last = std::move(stage.engine);
    std::thread([&last] { last.reset(); }).join();
    stage.ledger->Uninitialised();
}

}  // namespace

}  // namespace conformance
