// What the tests of the proxy's calls share: the lines that one queued call leaves
// behind, and a waiting command that meets the newcomers.
#ifndef VAXO_TESTS_LIVE_PROXYCALLS_H
#define VAXO_TESTS_LIVE_PROXYCALLS_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "kernel/live/LiveProxyFixture.h"

namespace livetest {

// A command of the given call number, as the log prints it.
inline std::string Printed(uint64 number) {
    return "SyncCmd(" + std::to_string(number) + "/)";
}

// What the caller's thread writes when a call is accepted into the empty queue.
inline Texts Accepted(uint64 number) {
    const std::string cmd = Printed(number);
    return {
        "log 3 CmdProxy: AddCmd: " + cmd,
        "log 3 CmdQueue: AddCmd, going to add " + cmd + ", current queue size: 0 >>>>>",
        "log 3 CmdQueue: >> added " + cmd + ", queue size: 1",
        "log 4 CmdQueue: 0: " + cmd,
    };
}

// What worker 0 writes when it runs the call and finds nothing behind it; `during` is
// what the call itself writes.
inline Texts Ran(uint64 number, const Texts& during, bool succeeds) {
    const std::string cmd = Printed(number);
    Texts lines = {
        "log 3 CmdQueue: StartCmdExecuteInner",
        "log 3 CmdQueue: PopCmd, cmd " + cmd + " poped, final queue size: 0",
    };
    lines.insert(lines.end(), during.begin(), during.end());
    lines.push_back(succeeds ? "log 3 CmdQueue: > executed " + cmd
                             : "log 1 unnamed: >>>>>> execute " + cmd + " failed");
    lines.emplace_back("log 3 CmdQueue: > no cmd enqueued.");
    return lines;
}

// Lets the workers finish, then expects that since the journal was last taken this thread
// made the one call, on the queue at rest, that worker 0 ran it, and that nothing else
// happened.
inline void ExpectOneCall(uint64 number, const Texts& during, bool succeeds) {
    Settle();
    const vaxothread_id worker0 = Worker0();
    Texts here;
    Texts there;
    Texts elsewhere;
    for (const Line& line : TakeLines()) {
        Texts& side = line.thread == vaxothread_selfid() ? here
                      : line.thread == worker0           ? there
                                                         : elsewhere;
        side.push_back(line.text);
    }
    EXPECT_EQ(here, Accepted(number));
    EXPECT_EQ(there, Ran(number, during, succeeds));
    EXPECT_EQ(elsewhere, Texts());
}

// What a waiting command has met. Written on the newcomer's thread and on worker 0; read
// it when the workers have settled.
struct Encounter {
    std::shared_ptr<VaxoAVMgrCmd> newcomer;  // the latest
    bool ran = false;                        // the waiting command itself
};

// Puts a command, printed as SyncCmd(98/), into the shared queue that gives every newcomer
// the same answer. No pass is started: the next call on the proxy does that.
inline std::shared_ptr<Encounter> PutWaiting(VaxoAVMgrCmdJoinResult answer) {
    auto encounter = std::make_shared<Encounter>();
    const auto cmd = std::make_shared<VaxoAVMgrCmd>(
        SyncCmd,
        [encounter] {
            encounter->ran = true;
            return 0;
        },
        [encounter, answer](std::shared_ptr<VaxoAVMgrCmd> later) {
            encounter->newcomer = std::move(later);
            return answer;
        });
    cmd->ddwExtraData = 98;
    CVaxoAVMgrCmdQueue::GetSharedInstance()->AddCmd(cmd);
    return encounter;
}

// Runs the command on worker 0, where commands run, apart from the queue.
inline int RunOnWorker0(const std::shared_ptr<VaxoAVMgrCmd>& cmd) {
    int status = 0;
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([&] { status = cmd->Execute(); }, 0);
    return status;
}

}  // namespace livetest

#endif
