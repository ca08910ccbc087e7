// What the join tests share: a queue held without an engine, commands of each type put into
// it through the proxy's calls, and the lines that an offering writes.
//
// Without an engine every command that comes to run ends by itself, so a test drains the
// queue by letting go of it.
#ifndef VAXO_TESTS_LIVE_LIVEJOINSTEPS_H
#define VAXO_TESTS_LIVE_LIVEJOINSTEPS_H

#include <memory>
#include <string>

#include "avmgr/VaxoAVMgrCmd.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"

namespace livetest {

class LiveJoinFixture : public LiveProxyFixture {
protected:
    // A play of the stream that most tests use: joins must not look at it.
    void HoldQueue() { livetest::HoldQueue(PlayStream, "room1"); }
    static std::string HeldBy() { return "PlayStream(0/room1)"; }

    // Lets everything that waits run out.
    void Drain() {
        while (queue->GetExecutingCmd()) {
            CompleteExecuting();
        }
        Take();
    }

    // Offers a command by the call that makes this type. `text` is what others compare.
    int Offer(VaxoAVMgrCmdType type, const vaxo::strutf8& text) {
        switch (type) {
            case GetInRoom:
                return proxy->GetStreamList("user", "name", text, 1);
            case LeaveRoom:
                return proxy->Logout();
            case PlayStream:
                return proxy->PlayStream(text, 1);
            case StopStream:
                return proxy->StopPlayStream(text);
            case StartPublish:
                return proxy->StartPublishing("title", text, "another channel");
            case StopPublish:
                return proxy->StopPublishing();
            case SyncCmd:
                return proxy->UploadLog();
        }
        return -1;
    }

    // How the log prints the command that Offer makes.
    static std::string OfferedAs(VaxoAVMgrCmdType type, const std::string& text) {
        const bool named = type != LeaveRoom && type != StopPublish && type != SyncCmd;
        return Printed(type, named ? text : "", type == SyncCmd ? 100 : 0);
    }

    // Puts a command into the queue that compares others with `text`. Forgets the journal.
    void Wait(VaxoAVMgrCmdType type, const vaxo::strutf8& text) {
        const int accepted = type == StartPublish
                                 ? proxy->StartPublishing("title", "another stream", text)
                                 : Offer(type, text);
        EXPECT_EQ(accepted, 0);
        Settle();
        Take();
    }

    static std::string WaitingAs(VaxoAVMgrCmdType type, const std::string& text) {
        return OfferedAs(type, type == StartPublish ? "another stream" : text);
    }

    // A command of any type that must never run.
    static CmdPtr Unrun(VaxoAVMgrCmdType type, const vaxo::strutf8& text, uint64 number) {
        CmdPtr cmd(new VaxoAVMgrCmd(type, [] {
            Note("a refused command ran");
            return 0;
        }));
        cmd->strExtraData = text;
        cmd->ddwExtraData = number;
        return cmd;
    }

    // The lines of an offering that is accepted, on the caller's thread.
    static Texts Offering(const std::string& later, int size, const Texts& joins,
                          const Texts& waiting) {
        Texts lines = {
            "log 3 CmdProxy: AddCmd: " + later,
            "log 3 CmdQueue: AddCmd, going to add " + later +
                ", current queue size: " + std::to_string(size) + " >>>>>",
        };
        for (const std::string& join : joins) {
            lines.push_back("log 3 CmdQueue: " + join);
        }
        lines.push_back("log 3 CmdQueue: >> added " + later +
                        ", queue size: " + std::to_string(waiting.size()));
        return Concat(lines, Listing(waiting));
    }

    // The lines of an offering that the only waiting command refuses.
    static Texts Refusal(const std::string& later, const std::string& encounter,
                         const std::string& former) {
        return {
            "log 3 CmdProxy: AddCmd: " + later,
            "log 3 CmdQueue: AddCmd, going to add " + later + ", current queue size: 1 >>>>>",
            "log 1 CmdProxy: " + encounter,
            "log 3 CmdQueue: >> join result by " + former + ", InvalidateLater",
            "log 4 CmdQueue: 0: " + former,
            "log 3 CmdProxy: AddCmd, cmd invalid!",
        };
    }

    static Texts Listing(const Texts& waiting) {
        Texts lines;
        for (const std::string& cmd : waiting) {
            lines.push_back("log 4 CmdQueue: " + std::to_string(lines.size()) + ": " + cmd);
        }
        return lines;
    }
};

}  // namespace livetest

#endif
