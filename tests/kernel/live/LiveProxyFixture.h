// What the proxy's tests share: the shared proxy at rest, a scripted engine behind it, an
// application that writes its callbacks down, and the journal with the log in it.
//
// The proxy, its queue and its workers are process-wide: the fixture brings them back to
// rest before and after every test.
#ifndef VAXO_TESTS_LIVE_LIVEPROXYFIXTURE_H
#define VAXO_TESTS_LIVE_LIVEPROXYFIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "base/VaxoAppSetting.h"
#include "kernel/live/Journal.h"
#include "kernel/live/RecordingApp.h"
#include "kernel/live/ScriptedEngine.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"

namespace livetest {

typedef std::vector<std::string> Texts;

// Returns when both workers have nothing left to do. What the engine's own threads (a
// test's) do is not waited for.
inline void Settle() {
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    for (long before = -1; before != Written();) {
        before = Written();
        // Each worker may give the other something to do, and both write it down.
        for (int round = 0; round < 2; ++round) {
            runner->SyncRun([] {}, 0);
            runner->SyncRun([] {}, 2);
        }
    }
}

// The ids of the two workers.
inline vaxothread_id Worker0() {
    return CVaxoQueueRunner::GetSharedInstance()->GetDefaultTask()->getthreadid();
}
inline vaxothread_id Worker2() {
    vaxothread_id id = 0;
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([&] { id = vaxothread_selfid(); }, 2);
    return id;
}

class LiveProxyFixture : public ::testing::Test {
protected:
    LiveProxyFixture() {
        Rest();
        proxy->SetCallback(app);
        Take();
    }

    ~LiveProxyFixture() override { Rest(); }

    // Runs an Init through, so that there is an engine. Forgets the journal.
    void StartEngine() {
        proxy->Init(7, Sign("key"));
        Settle();
        Take();
    }

    static vaxo::stream Sign(const char* text) {
        vaxo::stream sign;
        sign = text;
        return sign;
    }

    static Strova::VaxoLiveStream Stream(const char* streamID) {
        Strova::VaxoLiveStream stream;
        stream.streamID = streamID;
        return stream;
    }

    // The command that holds the queue, as the log prints it; empty for none.
    std::string Executing() {
        const auto cmd = queue->GetExecutingCmd();
        return cmd ? std::string(cmd->GetDescription()) + "(" + std::to_string(cmd->ddwExtraData) +
                         "/" + Text(cmd->strExtraData) + ")"
                   : std::string();
    }

    // The event of the command that holds the queue, as an engine reports success.
    void CompleteExecuting() {
        const auto cmd = queue->GetExecutingCmd();
        ASSERT_TRUE(cmd);
        queue->SetCmdExecuteCmdDone(cmd->GetCmdType());
        Settle();
    }

    // Holds the queue with a play of `streamID`. Forgets the journal.
    void HoldWithPlay(const char* streamID) {
        proxy->PlayStream(streamID, 0);
        Settle();
        ASSERT_EQ(Executing(), std::string("PlayStream(0/") + streamID + ")");
        Take();
    }

    // The commands that wait, oldest first, as the log prints them: asks the queue by
    // offering it a command that the default join lets in, at level 4. Adds a SyncCmd(99/)
    // that does nothing. Only while the queue is held. Forgets the journal.
    Texts Waiting() {
        Take();
        queue->AddCmd([] {
            auto cmd = std::make_shared<VaxoAVMgrCmd>(SyncCmd, [] { return 0; });
            cmd->ddwExtraData = 99;
            return cmd;
        }());
        Texts waiting;
        for (const std::string& line : TakeOnly("log 4 CmdQueue: ")) {
            const std::string cmd = line.substr(line.find(": ", 16) + 2);
            if (cmd != "SyncCmd(99/)") {
                waiting.push_back(cmd);
            }
        }
        return waiting;
    }

    const std::shared_ptr<Strova::CVaxoLiveProxy> proxy = Strova::CVaxoLiveProxy::GetInstance();
    const std::shared_ptr<CVaxoAVMgrCmdQueue> queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    const std::shared_ptr<RecordingApp> app = std::make_shared<RecordingApp>();
    LogIntoJournal log;

private:
    // Nothing executes, nothing waits, no engine, no callback, settings empty.
    void Rest() {
        Settle();  // what is in flight reads the script
        ResetScript();
        proxy->SetCallback({});
        proxy->Uninit();
        Settle();
        while (const auto cmd = queue->GetExecutingCmd()) {
            queue->SetCmdExecuteCmdDone(cmd->GetCmdType());
            Settle();
        }
        auto* const setting = CVaxoAppSetting::SharedInstance();
        setting->SetAppID(0);
        setting->SetAppSign({});
        setting->SetUserID({});
        Take();
    }
};

}  // namespace livetest

#endif
