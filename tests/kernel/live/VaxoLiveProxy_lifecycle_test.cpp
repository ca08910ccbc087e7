// Init and Uninit, the engine between them, and the application's callback.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::EnginesAlive;
using livetest::EnginesCreated;
using livetest::ExpectOneCall;
using livetest::Settle;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

const uint64 s_init = 100;
const uint64 s_uninit = 101;

class LiveProxyLifecycle : public livetest::LiveProxyFixture {
protected:
    const int created = EnginesCreated();  // before the test
};

}  // namespace

TEST_F(LiveProxyLifecycle, InitCreatesTheEngineGivesItTheProxyAndInitialisesIt) {
    EXPECT_EQ(proxy->Init(7, Sign("key")), 0);
    ExpectOneCall(s_init, {"engine: created", "engine: SetCallback()", "engine: Init(7, key)"},
                  true);
    EXPECT_EQ(EnginesCreated(), created + 1);
    EXPECT_TRUE(proxy->GetLive());
}

TEST_F(LiveProxyLifecycle, ASigningKeyWithZeroBytesReachesTheEngineWhole) {
    const uint8 bytes[] = {'k', 0, 'e', 0xFF, 0};
    proxy->Init(7, vaxo::stream(bytes, sizeof(bytes)));
    Settle();
    const Texts calls = TakeOnly("engine: Init");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0], "engine: Init(7, " + std::string("k\0e\xFF\0", 5) + ")");
}

TEST_F(LiveProxyLifecycle, TheEngineHoldsTheProxyWeaklyAsItsCallback) {
    const long before = proxy.use_count();
    StartEngine();
    EXPECT_EQ(proxy.use_count(), before);
    EXPECT_EQ(livetest::EngineCallback().get(),
              static_cast<Strova::IVaxoLiveCallback*>(proxy.get()));
}

TEST_F(LiveProxyLifecycle, ASecondInitKeepsTheEngineAndInitialisesItAgain) {
    StartEngine();
    const std::shared_ptr<Strova::IVaxoLive> engine = proxy->GetLive();
    EXPECT_EQ(proxy->Init(8, Sign("other")), 0);
    ExpectOneCall(s_init, {"engine: Init(8, other)"}, true);
    EXPECT_EQ(EnginesCreated(), created + 1);
    EXPECT_EQ(proxy->GetLive(), engine);
}

TEST_F(LiveProxyLifecycle, AFailingInitShowsInTheLogAloneAndKeepsTheEngine) {
    TheScript().status["Init"] = 5;
    EXPECT_EQ(proxy->Init(0, vaxo::stream()), 0);
    ExpectOneCall(s_init, {"engine: created", "engine: SetCallback()", "engine: Init(0, )"}, false);
    EXPECT_TRUE(proxy->GetLive());

    TheScript().status.clear();
    EXPECT_EQ(proxy->Init(7, Sign("key")), 0);
    ExpectOneCall(s_init, {"engine: Init(7, key)"}, true);
}

TEST_F(LiveProxyLifecycle, TheStatusOfInitIsThatOfTheEngine) {
    TheScript().status["Init"] = 5;
    const auto waiting = livetest::PutWaiting(CmdJoin_CoExist);
    proxy->Init(7, Sign("key"));
    Settle();
    ASSERT_TRUE(waiting->newcomer);
    EXPECT_EQ(waiting->newcomer->GetCmdType(), SyncCmd);
    EXPECT_EQ(livetest::RunOnWorker0(waiting->newcomer), 5);
    TheScript().status.clear();
    EXPECT_EQ(livetest::RunOnWorker0(waiting->newcomer), 0);
}

TEST_F(LiveProxyLifecycle, ARefusedInitAnswersOneAndCreatesNothing) {
    const auto waiting = livetest::PutWaiting(CmdJoin_InvalidateLater);
    EXPECT_EQ(proxy->Init(7, Sign("key")), 1);
    Settle();
    EXPECT_TRUE(waiting->ran);
    EXPECT_EQ(EnginesCreated(), created);
    EXPECT_FALSE(proxy->GetLive());
}

TEST_F(LiveProxyLifecycle, InitIsOnlyQueuedWhileTheQueueIsHeld) {
    StartEngine();
    HoldWithPlay("s1");
    EXPECT_EQ(proxy->Init(8, Sign("key")), 0);
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), Texts());
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("engine: "), Texts{"engine: Init(8, key)"});
}

TEST_F(LiveProxyLifecycle, UninitShutsTheEngineDownAndDestroysIt) {
    StartEngine();
    EXPECT_EQ(proxy->Uninit(), 0);
    ExpectOneCall(s_uninit, {"engine: Uninit()", "engine: destroyed"}, true);
    EXPECT_EQ(EnginesAlive(), 0);
    EXPECT_FALSE(proxy->GetLive());
}

TEST_F(LiveProxyLifecycle, AFailingUninitDestroysTheEngineAllTheSame) {
    StartEngine();
    TheScript().status["Uninit"] = 5;
    EXPECT_EQ(proxy->Uninit(), 0);
    ExpectOneCall(s_uninit, {"engine: Uninit()", "engine: destroyed"}, false);
    EXPECT_FALSE(proxy->GetLive());
}

TEST_F(LiveProxyLifecycle, UninitWithoutAnEngineFailsInTheLogAlone) {
    EXPECT_EQ(proxy->Uninit(), 0);
    ExpectOneCall(s_uninit, {}, false);
    EXPECT_EQ(EnginesCreated(), created);
    EXPECT_FALSE(proxy->GetLive());
}

TEST_F(LiveProxyLifecycle, TheStatusOfUninitIsThatOfTheEngineOrMinusOne) {
    const auto waiting = livetest::PutWaiting(CmdJoin_CoExist);
    proxy->Uninit();
    Settle();
    ASSERT_TRUE(waiting->newcomer);
    EXPECT_EQ(livetest::RunOnWorker0(waiting->newcomer), -1);
    StartEngine();
    TheScript().status["Uninit"] = 5;
    EXPECT_EQ(livetest::RunOnWorker0(waiting->newcomer), 5);
    EXPECT_EQ(EnginesAlive(), 0);
    EXPECT_EQ(livetest::RunOnWorker0(waiting->newcomer), -1);
}

TEST_F(LiveProxyLifecycle, TheEngineIsThereThroughoutItsUninit) {
    StartEngine();
    bool there = false;
    TheScript().inside["Uninit"] = [&] { there = proxy->GetLive() != nullptr; };
    proxy->Uninit();
    Settle();
    EXPECT_TRUE(there);
}

TEST_F(LiveProxyLifecycle, InitAfterUninitCreatesAFreshEngine) {
    StartEngine();
    proxy->Uninit();
    Settle();
    Take();
    EXPECT_EQ(proxy->Init(8, Sign("key")), 0);
    ExpectOneCall(s_init, {"engine: created", "engine: SetCallback()", "engine: Init(8, key)"},
                  true);
    EXPECT_EQ(EnginesCreated(), created + 2);
    EXPECT_EQ(EnginesAlive(), 1);
}

TEST_F(LiveProxyLifecycle, AnEngineInUseOutlivesUninitUntilItIsLetGo) {
    StartEngine();
    std::shared_ptr<Strova::IVaxoLive> engine = proxy->GetLive();
    proxy->Uninit();
    Settle();
    EXPECT_FALSE(proxy->GetLive());
    EXPECT_EQ(TakeOnly("engine: "), Texts{"engine: Uninit()"});
    engine.reset();
    EXPECT_EQ(Take(), Texts{"engine: destroyed"});
}

TEST_F(LiveProxyLifecycle, TheCommandsThatWaitRunBetweenInitAndUninitInTheirOrder) {
    StartEngine();
    HoldWithPlay("s1");
    proxy->Uninit();
    proxy->SetFilter(1);
    proxy->Init(8, Sign("key"));
    proxy->SetFilter(2);
    Settle();
    Take();
    CompleteExecuting();
    Texts lines;
    for (const std::string& line : Take()) {
        if (line.compare(0, 7, "engine:") == 0 || line.compare(0, 6, "log 1 ") == 0) {
            lines.push_back(line);
        }
    }
    EXPECT_EQ(lines, (Texts{
                         "engine: Uninit()",
                         "engine: destroyed",
                         "log 1 unnamed: >>>>>> execute SyncCmd(119/) failed",
                         "engine: created",
                         "engine: SetCallback()",
                         "engine: Init(8, key)",
                         "engine: SetFilter(2)",
                     }));
}

TEST_F(LiveProxyLifecycle, CreateLiveDoesNothingWhenThereIsAnEngine) {
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([this] { proxy->CreateLive(); }, 0);
    EXPECT_EQ(Take(), (Texts{"engine: created", "engine: SetCallback()"}));
    const std::shared_ptr<Strova::IVaxoLive> engine = proxy->GetLive();
    ASSERT_TRUE(engine);
    EXPECT_EQ(engine.use_count(), 2);  // the proxy's and this one
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([this] { proxy->CreateLive(); }, 0);
    EXPECT_EQ(Take(), Texts());
    EXPECT_EQ(proxy->GetLive(), engine);
}

TEST_F(LiveProxyLifecycle, TheEngineIsThereWhenItIsGivenItsCallback) {
    bool there = false;
    TheScript().inside["SetCallback"] = [&] { there = proxy->GetLive() != nullptr; };
    proxy->Init(7, Sign("key"));
    Settle();
    EXPECT_TRUE(there);
}

TEST_F(LiveProxyLifecycle, AnEngineThatWillNotTakeTheCallbackIsUsedAllTheSame) {
    TheScript().status["SetCallback"] = 5;
    proxy->Init(7, Sign("key"));
    ExpectOneCall(s_init, {"engine: created", "engine: SetCallback()", "engine: Init(7, key)"},
                  true);
}

TEST_F(LiveProxyLifecycle, ReleaseLiveLetsGoOfTheEngineWithoutShuttingItDown) {
    StartEngine();
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([this] { proxy->ReleaseLive(); }, 0);
    EXPECT_FALSE(proxy->GetLive());
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([this] { proxy->ReleaseLive(); }, 0);
    EXPECT_EQ(Take(), Texts{"engine: destroyed"});
}

TEST_F(LiveProxyLifecycle, AnyThreadMayTakeTheEngineWhileItComesAndGoes) {
    std::vector<std::thread> threads;
    threads.reserve(2);
    for (int taker = 0; taker < 2; ++taker) {
        // The engine is not called: its journal's lock would order the threads.
        threads.emplace_back([this] {
            for (int round = 0; round < 500; ++round) {
                const std::shared_ptr<Strova::IVaxoLive> engine = proxy->GetLive();
                std::this_thread::yield();
            }
        });
    }
    for (int round = 0; round < 50; ++round) {
        proxy->Init(7, Sign("key"));
        proxy->Uninit();
        Settle();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(EnginesCreated(), created + 50);
    EXPECT_EQ(EnginesAlive(), 0);
}

TEST_F(LiveProxyLifecycle, TheSigningKeyIsCopiedBeforeInitReturns) {
    StartEngine();
    HoldWithPlay("s1");
    vaxo::stream sign = Sign("the key");
    proxy->Init(8, sign);
    sign[0] = 'X';
    sign.clear();
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("engine: "), Texts{"engine: Init(8, the key)"});
}

TEST_F(LiveProxyLifecycle, TheSigningKeyIsInNoLogLine) {
    const std::string key = "c0nf1dent1al";
    vaxo::stream sign = Sign(key.c_str());
    proxy->Init(7, sign);
    Settle();
    TheScript().status["Init"] = 5;
    proxy->Init(8, sign);
    Settle();
    livetest::PutWaiting(CmdJoin_InvalidateLater);
    proxy->Init(9, sign);
    proxy->Uninit();
    Settle();
    int inits = 0;
    for (const std::string& line : Take()) {
        if (line.compare(0, 4, "log ") == 0) {
            EXPECT_EQ(line.find(key), std::string::npos) << line;
        }
        inits += line.find("Init(") != std::string::npos && line.find(key) != std::string::npos;
    }
    EXPECT_EQ(inits, 2);  // by the engine: the key did travel
}
