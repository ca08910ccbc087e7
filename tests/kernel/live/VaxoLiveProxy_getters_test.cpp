// The four getters: they ask the engine on worker 0, past the command queue, and leave no
// line in the log.
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Text;
using livetest::Texts;
using livetest::TheScript;

typedef vaxostl::vector<Strova::VaxoLiveStream> Streams;

struct TextGetter {
    const char* operation;
    vaxo::strutf8 (Strova::IVaxoLive::*get)() const;
};

const TextGetter s_textGetters[] = {
    {"GetLiveChannel", &Strova::IVaxoLive::GetLiveChannel},
    {"GetCurrentPublishStreamID", &Strova::IVaxoLive::GetCurrentPublishStreamID},
    {"GetCurrentPublishStreamURL", &Strova::IVaxoLive::GetCurrentPublishStreamURL},
};

class LiveProxyGetters : public livetest::LiveProxyFixture {
protected:
    // All four, one after the other: what they answered.
    Texts AskAll() {
        Texts answered;
        for (const TextGetter& getter : s_textGetters) {
            answered.push_back(Text((live.*getter.get)()));
        }
        Streams streams;
        answered.push_back(std::to_string(live.GetStreamList(streams)));
        for (const Strova::VaxoLiveStream& stream : streams) {
            answered.push_back(Text(stream.streamID));
        }
        return answered;
    }

    // An engine that answers every getter.
    void StartTalkingEngine() {
        TheScript().text["GetLiveChannel"] = "room1";
        TheScript().text["GetCurrentPublishStreamID"] = "s1";
        TheScript().text["GetCurrentPublishStreamURL"] = "rtmp://host/s1";
        TheScript().status["GetStreams"] = 3;
        TheScript().streams = {Stream("s2"), Stream("s3")};
        StartEngine();
    }

    const Texts answers = {"room1", "s1", "rtmp://host/s1", "3", "s2", "s3"};
    const Texts calls = {"engine: GetLiveChannel()", "engine: GetCurrentPublishStreamID()",
                         "engine: GetCurrentPublishStreamURL()", "engine: GetStreams()"};
    Strova::IVaxoLive& live = *proxy;
};

}  // namespace

TEST_F(LiveProxyGetters, TheyAnswerWhatTheEngineAnswersAndLogNothing) {
    StartTalkingEngine();
    EXPECT_EQ(AskAll(), answers);
    EXPECT_EQ(Take(), calls);
}

TEST_F(LiveProxyGetters, TheEngineIsAskedOnWorker0) {
    StartTalkingEngine();
    AskAll();
    const vaxothread_id worker0 = livetest::Worker0();
    const std::vector<livetest::Line> lines = TakeLines();
    EXPECT_EQ(lines.size(), calls.size());
    for (const livetest::Line& line : lines) {
        EXPECT_EQ(line.thread, worker0) << line.text;
    }
}

TEST_F(LiveProxyGetters, WithoutAnEngineTheyAnswerNothingAndTouchNothing) {
    for (const TextGetter& getter : s_textGetters) {
        EXPECT_EQ((live.*getter.get)().length(), 0U) << getter.operation;
    }
    Streams streams;
    streams.Add(Stream("mine"));
    const Strova::VaxoLiveStream* const storage = streams.GetFirstItem();
    EXPECT_EQ(live.GetStreamList(streams), -1);
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(streams.GetFirstItem(), storage);
    EXPECT_EQ(Text(streams[0].streamID), "mine");
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveProxyGetters, AfterUninitThereIsNoEngineToAsk) {
    StartTalkingEngine();
    proxy->Uninit();
    Settle();
    Take();
    EXPECT_EQ(AskAll(), (Texts{"", "", "", "-1"}));
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveProxyGetters, AnEngineWithNothingToSayGivesEmptyTexts) {
    StartEngine();
    EXPECT_EQ(AskAll(), (Texts{"", "", "", "0"}));
    EXPECT_EQ(Take(), calls);
}

TEST_F(LiveProxyGetters, ATextComesWithItsZeroBytes) {
    TheScript().text["GetLiveChannel"] = std::string("a\0b", 3);
    StartEngine();
    EXPECT_EQ(Text(live.GetLiveChannel()), std::string("a\0b", 3));
}

TEST_F(LiveProxyGetters, TheEngineFillsTheCallersOwnList) {
    StartTalkingEngine();
    Streams streams;
    streams.Add(Stream("mine"));
    EXPECT_EQ(live.GetStreamList(streams), 3);
    ASSERT_EQ(streams.size(), 3U);
    EXPECT_EQ(Text(streams[0].streamID), "mine");
    EXPECT_EQ(Text(streams[1].streamID), "s2");
    EXPECT_EQ(Text(streams[2].streamID), "s3");
}

TEST_F(LiveProxyGetters, TheyOvertakeTheCommandsOfAHeldQueue) {
    StartTalkingEngine();
    HoldWithPlay("s1");
    proxy->StartPreview();
    Settle();
    Take();
    EXPECT_EQ(AskAll(), answers);
    EXPECT_EQ(Take(), calls);
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("engine: "), Texts{"engine: StartPreview()"});
}

// On worker 0 waiting for worker 0 would last for ever.
TEST_F(LiveProxyGetters, TheyMayBeAskedFromInsideAnEngineCall) {
    StartTalkingEngine();
    Texts got;
    TheScript().inside["StartPreview"] = [&] {
        got = AskAll();
        livetest::Note("engine: the preview runs");
    };
    proxy->StartPreview();
    Settle();
    EXPECT_EQ(got, answers);
    Texts expected = {"engine: StartPreview()"};
    expected.insert(expected.end(), calls.begin(), calls.end());
    expected.emplace_back("engine: the preview runs");
    EXPECT_EQ(TakeOnly("engine: "), expected);
}

TEST_F(LiveProxyGetters, TheyMayBeAskedFromInsideACallback) {
    StartTalkingEngine();
    Texts got;
    vaxothread_id asking = 0;
    app->hook = [&](const std::string& /*event*/) {
        asking = vaxothread_selfid();
        got = AskAll();
    };
    proxy->OnCountsUpdate(1, 2);
    Settle();
    EXPECT_EQ(asking, livetest::Worker2());
    EXPECT_EQ(got, answers);
}

TEST_F(LiveProxyGetters, TheyWaitForTheCommandThatRuns) {
    StartTalkingEngine();
    std::thread asker;
    std::promise<void> asking;
    Texts got;
    TheScript().inside["StartPreview"] = [&] {
        asker = std::thread([&] {
            asking.set_value();
            got = AskAll();
        });
        // Worker 0 is in here: however far the thread gets, the engine is asked later.
        asking.get_future().wait();
        livetest::Note("engine: the preview runs");
    };
    proxy->StartPreview();
    Settle();
    asker.join();
    EXPECT_EQ(got, answers);
    Texts expected = {"engine: StartPreview()", "engine: the preview runs"};
    expected.insert(expected.end(), calls.begin(), calls.end());
    EXPECT_EQ(TakeOnly("engine: "), expected);
}

TEST_F(LiveProxyGetters, ManyThreadsMayAskWhileTheEngineComesAndGoes) {
    StartTalkingEngine();
    const int rounds = 40;
    std::vector<std::thread> threads;
    for (int asker = 0; asker < 4; ++asker) {
        threads.emplace_back([this] {
            for (int round = 0; round < rounds; ++round) {
                const std::string room = Text(live.GetLiveChannel());
                EXPECT_TRUE(room.empty() || room == "room1") << room;
                Streams streams;
                const int status = live.GetStreamList(streams);
                EXPECT_TRUE((status == -1 && streams.empty()) ||
                            (status == 3 && streams.size() == 2));
            }
        });
    }
    for (int round = 0; round < rounds; ++round) {
        proxy->Uninit();
        proxy->Init(7, Sign("key"));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Settle();
    Take();
    EXPECT_EQ(AskAll(), answers);
}
