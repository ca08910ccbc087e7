// What the command queue's tests share: a queue of their own, a recorded log, and
// commands that write down their runs.
#ifndef VAXO_TESTS_CMDQUEUEFIXTURE_H
#define VAXO_TESTS_CMDQUEUEFIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "support/LogRecorder.h"
#include "utils/VaxoQueueRunner.h"

typedef std::shared_ptr<VaxoAVMgrCmd> CmdPtr;

// Returns when every job posted to work queue 0 before has run.
inline void WaitForWorker0() {
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
}

class CmdQueueFixture : public ::testing::Test {
protected:
    ~CmdQueueFixture() override { WaitForWorker0(); }  // passes hold a plain pointer

    // A command that notes its text in `runs` when it runs.
    CmdPtr Make(VaxoAVMgrCmdType type, const char* text, int32 status = 0) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(type, [this, text, status] {
            runs.emplace_back(text);
            return status;
        });
        cmd->strExtraData = text;
        return cmd;
    }

    // A waiting command with a fixed answer to every newcomer, which it notes in
    // `joins`.
    CmdPtr MakeJoin(const char* text, VaxoAVMgrCmdJoinResult answer) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(
            SyncCmd,
            [this, text] {
                runs.emplace_back(text);
                return 0;
            },
            [this, text, answer](CmdPtr later) {
                joins.push_back(
                    std::string(text) + "<" +
                    std::string(later->strExtraData.c_str(), later->strExtraData.length()));
                return answer;
            });
        cmd->strExtraData = text;
        return cmd;
    }

    void Pass() {
        queue.StartCmdExecute();
        WaitForWorker0();
    }

    void Done(VaxoAVMgrCmdType type) {
        queue.SetCmdExecuteCmdDone(type);
        WaitForWorker0();
    }

    static LogLine Flow(std::string text) {
        return LogLine{esyslog_generic, "CmdQueue", std::move(text)};
    }
    static LogLine Listed(std::string text) {
        return LogLine{esyslog_debug, "CmdQueue", std::move(text)};
    }

    typedef std::vector<std::string> Texts;
    typedef std::vector<LogLine> Lines;

    LogRecorder log;
    Texts runs;   // written on worker 0, read after WaitForWorker0
    Texts joins;  // written on the thread of AddCmd
    CVaxoAVMgrCmdQueue queue;
};

#endif
