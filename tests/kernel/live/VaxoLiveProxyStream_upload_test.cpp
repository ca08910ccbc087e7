// The log's way to the HTTP connection: the upload that somebody asks for, and the one that
// comes with every channel entry.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveProxy.h"
#include "vaxolog.h"

namespace {

using livetest::HoldQueue;
using livetest::OfThread;
using livetest::Settle;
using livetest::Take;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

// The log has a file for the length of a test.
class LiveUpload : public livetest::LiveProxyFixture {
protected:
    LiveUpload() : m_former(VAXO::g_strLogFileName__) { VAXO::g_strLogFileName__ = "logs/app.log"; }
    ~LiveUpload() override {
        Settle();  // nobody may be reading the name, or the script that is reset next
        VAXO::g_strLogFileName__ = m_former;
    }

    static CVaxoAppSetting* Setting() { return CVaxoAppSetting::SharedInstance(); }

    // Lets an upload run through: what worker 0 wrote.
    Texts Upload() {
        Take();
        EXPECT_EQ(proxy->UploadLog(), 0);
        Settle();
        const std::vector<livetest::Line> lines = TakeLines();
        EXPECT_EQ(OfThread(lines, livetest::Worker2()), Texts());  // no event says anything
        return OfThread(lines, livetest::Worker0());
    }

    static Texts Ran(const Texts& between, const std::string& end) {
        Texts lines = {"log 3 CmdQueue: StartCmdExecuteInner",
                       "log 3 CmdQueue: PopCmd, cmd SyncCmd(100/) poped, final queue size: 0"};
        lines = livetest::Concat(lines, between);
        return livetest::Concat(lines, {end, "log 3 CmdQueue: > no cmd enqueued."});
    }

    static std::string Done() { return "log 3 CmdQueue: > executed SyncCmd(100/)"; }
    static std::string Failed() { return "log 1 unnamed: >>>>>> execute SyncCmd(100/) failed"; }

    // The record of an upload that waits in a held queue.
    livetest::CmdPtr UploadCmd() {
        HoldQueue(PlayStream, "held");
        return livetest::CommandOf([this] { proxy->UploadLog(); });
    }

private:
    const vaxo::strutf8 m_former;
};

}  // namespace

TEST_F(LiveUpload, TheCallerSeesASyncCommandWithTheNumberOfInit) {
    HoldQueue(PlayStream, "held");
    EXPECT_EQ(proxy->UploadLog(), 0);
    EXPECT_EQ(OfThread(TakeLines(), vaxothread_selfid()),
              (Texts{
                  "log 3 CmdProxy: AddCmd: SyncCmd(100/)",
                  "log 3 CmdQueue: AddCmd, going to add SyncCmd(100/), current queue size: 0 >>>>>",
                  "log 3 CmdQueue: >> added SyncCmd(100/), queue size: 1",
                  "log 4 CmdQueue: 0: SyncCmd(100/)",
              }));
}

TEST_F(LiveUpload, WithoutASignKeyNothingIsUploaded) {
    Setting()->SetUserID("u1");
    EXPECT_EQ(Upload(), Ran({}, Failed()));
    const livetest::CmdPtr cmd = UploadCmd();
    ASSERT_TRUE(cmd);
    EXPECT_EQ(livetest::StatusOf(cmd), -1);
}

TEST_F(LiveUpload, WithASignKeyTheFileGoesOutInTheUsersName) {
    Setting()->SetAppSign(Sign("key"));
    Setting()->SetUserID("u1");
    EXPECT_EQ(Upload(), Ran({"http: UploadLogFile(u1, logs/app.log, true)"}, Done()));
    const livetest::CmdPtr cmd = UploadCmd();
    ASSERT_TRUE(cmd);
    EXPECT_EQ(livetest::StatusOf(cmd), 0);
}

TEST_F(LiveUpload, AnUploadThatTheConnectionRefusesHasStatusOne) {
    Setting()->SetAppSign(Sign("key"));
    TheScript().status["http UploadLogFile"] = 0;
    EXPECT_EQ(Upload(), Ran({"http: UploadLogFile(, logs/app.log, true)"}, Failed()));
    const livetest::CmdPtr cmd = UploadCmd();
    ASSERT_TRUE(cmd);
    EXPECT_EQ(livetest::StatusOf(cmd), 1);
}

TEST_F(LiveUpload, KeyUserAndFileAreThoseOfTheMomentItRuns) {
    HoldQueue(PlayStream, "held");
    proxy->UploadLog();
    Setting()->SetAppSign(Sign("key"));
    Setting()->SetUserID("later");
    VAXO::g_strLogFileName__ = "later.log";
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("http: "), Texts{"http: UploadLogFile(later, later.log, true)"});
}

TEST_F(LiveUpload, TheEngineHasNoPartInIt) {
    Setting()->SetAppSign(Sign("key"));
    EXPECT_FALSE(proxy->GetLive());
    EXPECT_EQ(Upload(), Ran({"http: UploadLogFile(, logs/app.log, true)"}, Done()));
    StartEngine();
    EXPECT_EQ(Upload(), Ran({"http: UploadLogFile(, logs/app.log, true)"}, Done()));
}

TEST_F(LiveUpload, AKeyOfOneZeroByteIsAKey) {
    const uint8 zero = 0;
    Setting()->SetAppSign(vaxo::stream(&zero, 1));
    EXPECT_EQ(Upload(), Ran({"http: UploadLogFile(, logs/app.log, true)"}, Done()));
}

TEST_F(LiveUpload, EveryUploadRunsBecauseNoneRemovesAnother) {
    Setting()->SetAppSign(Sign("key"));
    HoldQueue(PlayStream, "held");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(proxy->UploadLog(), 0);
    }
    EXPECT_EQ(Waiting(), (Texts{"SyncCmd(100/)", "SyncCmd(100/)", "SyncCmd(100/)"}));
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("http: ").size(), 3U);
}

TEST_F(LiveUpload, EveryEntryRenewsTheCredentialsAndOffersTheLog) {
    StartEngine();
    Setting()->SetAppID(4000000000U);
    Setting()->SetAppSign(Sign("key"));
    Setting()->SetUserID("not this one");
    for (const int status : {0, 5}) {
        TheScript().status["GetStreamList"] = status;
        proxy->GetStreamList("u1", "name", "room1", 3);
        Settle();
        const Texts lines = OfThread(TakeLines(), livetest::Worker0());
        const std::size_t behind = status == 0 ? 3 : 5;  // the event releases the queue first
        ASSERT_GT(lines.size(), behind + 1);
        EXPECT_EQ(lines[2], "engine: GetStreamList(u1, name, room1, 3)");
        EXPECT_EQ(lines[behind], "http: Init(4000000000, key)");
        EXPECT_EQ(lines[behind + 1], "http: UploadLogFile(u1, logs/app.log, false)");
        if (status == 0) {
            CompleteExecuting();
            Take();
        }
    }
}

TEST_F(LiveUpload, AnEntryOffersTheLogWithoutAnEngineToo) {
    Setting()->SetAppID(9);
    Setting()->SetAppSign(Sign("key"));
    proxy->GetStreamList("u1", "name", "room1", 3);
    Settle();
    EXPECT_EQ(TakeOnly("http: "),
              (Texts{"http: Init(9, key)", "http: UploadLogFile(u1, logs/app.log, false)"}));
}

TEST_F(LiveUpload, AnEntryWithoutIdentifierAndKeyComplainsAndGoesOn) {
    StartEngine();
    proxy->GetStreamList("u1", "name", "room1", 3);
    Settle();
    const Texts lines = OfThread(TakeLines(), livetest::Worker0());
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[3], "log 1 AppSetting: GetAppID, app id is 0");
    EXPECT_EQ(lines[4], "http: Init(0, )");
    EXPECT_EQ(lines[5], "http: UploadLogFile(u1, logs/app.log, false)");
    EXPECT_EQ(lines[6], "log 3 CmdQueue: > executed GetInRoom, waiting for result");
}

TEST_F(LiveUpload, WhatTheConnectionAnswersIsNoMatterToAnEntry) {
    StartEngine();
    TheScript().status["http Init"] = -1;
    TheScript().status["http UploadLogFile"] = 0;
    proxy->GetStreamList("u1", "name", "room1", 3);
    Settle();
    EXPECT_EQ(TakeOnly("http: ").size(), 2U);
    EXPECT_EQ(Executing(), "GetInRoom(0/room1)");
    const livetest::CmdPtr cmd = queue->GetExecutingCmd();
    EXPECT_EQ(livetest::StatusOf(cmd), 0);
    EXPECT_EQ(TakeOnly("app: "), Texts());
}

TEST_F(LiveUpload, CredentialsAndFileOfAnEntryAreThoseOfTheMomentItRuns) {
    HoldQueue(PlayStream, "held");
    proxy->GetStreamList("u1", "name", "room1", 3);
    Setting()->SetAppID(11);
    Setting()->SetAppSign(Sign("later key"));
    VAXO::g_strLogFileName__ = "later.log";
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("http: "),
              (Texts{"http: Init(11, later key)", "http: UploadLogFile(u1, later.log, false)"}));
}

TEST_F(LiveUpload, TheConnectionIsTheProxysOwnAndMadeWithIt) {
    Take();
    {
        Strova::CVaxoLiveProxy own;
        EXPECT_EQ(Take(), Texts{"http: created"});
        EXPECT_NE(&own.GetConnHttp(), &proxy->GetConnHttp());
        Setting()->SetAppSign(Sign("key"));
        own.UploadLog();
        Settle();
        EXPECT_EQ(TakeOnly("http: ").size(), 1U);
    }
    EXPECT_EQ(Take(), Texts{"http: destroyed"});
}
