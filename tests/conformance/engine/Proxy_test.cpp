// The engine behind the proxy: whatever is called, the queue goes on. The proxy is one a
// process, so each case ends with an Uninit that has run.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "conformance/engine/Stage.h"
#include "live/VaxoLiveProxy.h"

namespace conformance {

namespace {

class Proxy : public testing::Test {
protected:
    Proxy() {
        NextCase();
        proxy->SetCallback(recorder);
    }
    ~Proxy() override {
        ledger->SetHook({});
        proxy->Uninit();
        WaitForTheQueue();
        ledger->AwaitSilence();
        for (const std::string& broken : ledger->Broken()) {
            ADD_FAILURE() << broken;
        }
        proxy->SetCallback({});
    }

    // The request, and its event when `answered`.
    bool Do(const Request& request) {
        const int number = ledger->Asked(request);
        const int status = Perform(*proxy, request);
        ledger->Returned(number, status);
        return status == 0 && ledger->Answer(number).has_value();
    }
    void Call(const Request& request) {
        const int number = ledger->Asked(request);
        ledger->Returned(number, Perform(*proxy, request));
    }
    // A Logout that stands last is answered behind everything before it.
    void WaitForTheQueue() {
        if (!Do(LogoutRequest())) {
            ledger->Break(rule::QueueGoesOn, "the Logout behind all was not answered");
        }
    }

    const std::shared_ptr<Strova::CVaxoLiveProxy> proxy = Strova::CVaxoLiveProxy::GetInstance();
    const std::shared_ptr<Ledger> ledger = std::make_shared<Ledger>(Ledger::Of::Proxy);
    const std::shared_ptr<Recorder> recorder = Recorder::Make(ledger);
};

std::vector<Request> Flow() {
    return {EnterRequest(),    PlayRequest(),        PublishRequest(),
            StopPlayRequest(), StopPublishRequest(), LogoutRequest()};
}

TEST_F(Proxy, AnswersARoundOfRequests) {
    for (int round = 0; round < 2; ++round) {
        Env().InitEngine(*proxy);
        for (const Request& request : Flow()) {
            EXPECT_TRUE(Do(request))
                << "broken rule: " << rule::Answered << "\n  " << Words(request);
        }
        proxy->Uninit();
    }
}

TEST_F(Proxy, GoesOnBehindEachRequestThatFails) {
    Env().InitEngine(*proxy);
    const std::vector<Request> failing = {
        PlayRequest(),   PublishRequest(), StopPublishRequest(), StopPlayRequest(),
        LogoutRequest(), {Ask::Play, ""},  {Ask::Publish, ""},   {Ask::StopPlay, ""}};
    for (const Request& request : failing) {
        Call(request);
        EXPECT_TRUE(Do(LogoutRequest()))
            << "broken rule: " << rule::QueueGoesOn << "\n  behind " << Words(request);
    }
    EXPECT_TRUE(Do(EnterRequest())) << "broken rule: " << rule::Answered;
    EXPECT_TRUE(Do({Ask::Play, Env().MissingStream()})) << "broken rule: " << rule::Answered;
}

TEST_F(Proxy, GoesOnBehindAnUninitAfterEachRequest) {
    for (const Request& last : Flow()) {
        Env().InitEngine(*proxy);
        for (const Request& request : Flow()) {
            Call(request);
            if (request.what == last.what) {
                break;
            }
        }
        proxy->Uninit();
        Env().InitEngine(*proxy);
        EXPECT_TRUE(Do(EnterRequest()))
            << "broken rule: " << rule::QueueGoesOn << "\n  Uninit after " << Words(last);
    }
}

TEST_F(Proxy, GoesOnWhenManyThreadsCallAtOnce) {
    Env().InitEngine(*proxy);
    std::vector<std::thread> callers;
    for (std::size_t i = 0; i < 4; ++i) {
        callers.emplace_back([this, i] {
            const std::vector<Request> flow = Flow();
            for (std::size_t step = 0; step < 24; ++step) {
                Call(flow[(step * 5 + i * 7) % flow.size()]);
                proxy->SetVideoBitrate(600000);
                vaxostl::vector<Strova::VaxoLiveStream> streams;
                proxy->GetStreamList(streams);
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    WaitForTheQueue();
    EXPECT_TRUE(Do(EnterRequest())) << "broken rule: " << rule::QueueGoesOn;
}

TEST_F(Proxy, TakesCallsFromInsideEvents) {
    Env().InitEngine(*proxy);
    ledger->SetHook([this](const Event& event) {
        proxy->SetVideoBitrate(600000);
        // On the engine's own thread: a Logout asks for the stream list right there.
        if (event.what == Told::PreviewPicture) {
            proxy->Logout();
        } else if (event.what == Told::Entered || event.what == Told::PublishState) {
            proxy->GetLiveChannel();
            vaxostl::vector<Strova::VaxoLiveStream> streams;
            proxy->GetStreamList(streams);
        }
    });
    ASSERT_TRUE(Do(EnterRequest())) << "broken rule: " << rule::Answered;
    ASSERT_TRUE(Do(PublishRequest())) << "broken rule: " << rule::Answered;
    ledger->Asked(LogoutRequest());  // the hook's
    if (Env().TakesSnapshots()) {
        proxy->TakeSnapshotPreview();
    } else {
        proxy->Logout();
    }
    EXPECT_TRUE(ledger->Await([](const Event& event) { return event.what == Told::LeftChannel; }))
        << "broken rule: " << rule::QueueGoesOn;
}

}  // namespace

}  // namespace conformance
