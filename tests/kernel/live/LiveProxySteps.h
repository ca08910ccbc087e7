// Steps that the tests of commands and events take: a thread such as an engine has, a worker
// kept busy, a queue held by a command of the test's own.
//
// None of them waits for a clock, and none leaves a thread behind.
#ifndef VAXO_TESTS_LIVE_LIVEPROXYSTEPS_H
#define VAXO_TESTS_LIVE_LIVEPROXYSTEPS_H

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "avmgr/VaxoAVMgrCmd.h"
#include "kernel/live/LiveProxyFixture.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxoevent.h"
#include "vaxothread.h"

namespace livetest {

typedef std::shared_ptr<VaxoAVMgrCmd> CmdPtr;

// The lines that one thread wrote, in order.
inline Texts OfThread(const std::vector<Line>& lines, vaxothread_id thread) {
    Texts texts;
    for (const Line& line : lines) {
        if (line.thread == thread) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

// The lines that begin with `prefix`, in order.
inline std::vector<Line> Beginning(const std::vector<Line>& lines, const std::string& prefix) {
    std::vector<Line> some;
    for (const Line& line : lines) {
        if (line.text.compare(0, prefix.size(), prefix) == 0) {
            some.push_back(line);
        }
    }
    return some;
}

inline Texts Concat(Texts first, const Texts& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// Gives the engine's callback to `body` on a thread of its own, and returns when that has
// ended: the thread's id. There must be an engine.
template <class Body>
vaxothread_id OnEngineThread(Body body) {
    const std::shared_ptr<Strova::IVaxoLiveCallback> callback = EngineCallback();
    vaxothread_id id = 0;
    std::thread engine([&] {
        id = vaxothread_selfid();
        body(*callback);
    });
    engine.join();
    return id;
}

// One thread waits here until another one opens. Stays open.
class Gate {
public:
    void Open() const { m_event->Post(); }
    void Pass() const { m_event->Wait(-1); }

private:
    // Shared with whoever still passes while the test is over.
    std::shared_ptr<CVAXOEvent> m_event = std::make_shared<CVAXOEvent>(false, false);
};

// Keeps a worker from its jobs until it is released. Settle() and the getters would wait
// for it.
class WorkerHeld {
public:
    explicit WorkerHeld(int id) {
        const Gate begun;
        CVaxoQueueRunner::GetSharedInstance()->AsyncRun(
            [begun, go = m_go] {
                begun.Open();
                go.Pass();
            },
            id);
        begun.Pass();
    }
    ~WorkerHeld() { Release(); }
    WorkerHeld(const WorkerHeld&) = delete;
    WorkerHeld& operator=(const WorkerHeld&) = delete;

    void Release() { m_go.Open(); }

private:
    const Gate m_go;
};

// Holds the queue, with or without an engine, by a command of this type that does nothing.
// Forgets the journal.
inline CmdPtr HoldQueue(VaxoAVMgrCmdType type, const vaxo::strutf8& text) {
    const auto cmd = std::make_shared<VaxoAVMgrCmd>(type, [] { return 0; });
    cmd->strExtraData = text;
    Strova::CVaxoLiveProxy::GetInstance()->AddCmd(cmd);
    Settle();
    EXPECT_EQ(CVaxoAVMgrCmdQueue::GetSharedInstance()->GetExecutingCmd(), cmd);
    Take();
    return cmd;
}

// The last command that `call` puts into a held queue, taken from the waiting list by being
// asked about it; empty if there was none. The command stays there.
template <class Call>
CmdPtr CommandOf(Call call) {
    struct Seen {
        CmdPtr latest;
        bool over = false;
    };
    const auto seen = std::make_shared<Seen>();
    CVaxoAVMgrCmdQueue::GetSharedInstance()->AddCmd(std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [seen](CmdPtr later) {
            if (seen->over) {
                return CmdJoin_InvalidateFormer;  // with the next newcomer, out of the way
            }
            seen->latest = later;
            return CmdJoin_CoExist;
        }));
    call();
    seen->over = true;
    const CmdPtr cmd = seen->latest;
    seen->latest.reset();
    return cmd;
}

// Runs a command's function once more, where commands run: its status.
inline int32 StatusOf(const CmdPtr& cmd) {
    int32 status = 0;
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([&] { status = cmd->Execute(); }, 0);
    return status;
}

// A command as the log prints it.
inline std::string Printed(VaxoAVMgrCmdType type, const std::string& text, int number = 0) {
    return std::string(VaxoDescription(type)) + "(" + std::to_string(number) + "/" + text + ")";
}

}  // namespace livetest

#endif
