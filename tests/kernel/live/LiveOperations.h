// The six operations that hold the queue, as a table: the call, the command as the log prints
// it, what reaches the engine, which event ends it, and which event stands for its failure.
#ifndef VAXO_TESTS_LIVE_LIVEOPERATIONS_H
#define VAXO_TESTS_LIVE_LIVEOPERATIONS_H

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "IVaxoLive.h"
#include "avmgr/VaxoAVMgrCmd.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveProxy.h"

namespace livetest {

struct Operation {
    const char* name;  // the engine's operation, as the script knows it
    VaxoAVMgrCmdType type;
    const char* text;  // the command's
    std::function<int(Strova::CVaxoLiveProxy&)> call;
    Texts engine;  // calls, in order
    Texts after;   // what follows the engine call in every case
    std::function<void(Strova::IVaxoLiveCallback&)> end;
    Texts failure;  // what worker 2 writes when the engine refuses
    Texts missing;  // the same when there is no engine

    std::string Cmd() const { return Printed(type, text); }
};

inline void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

inline Texts PublishEnds(const std::string& state, const std::string& name,
                         const std::string& stream) {
    return {
        "log 3 CmdProxy: OnPublishStateUpdate, call back state: " + name + ", stream: " + stream,
        "app: OnPublishStateUpdate(" + state + ", " + stream + ")"};
}

inline Texts PlayEnds(const std::string& stream) {
    return {"log 3 CmdProxy: OnPlayStateUpdate, call back state: FATAL_ERROR, stream ID: " + stream,
            "app: OnPlayStateUpdate(3, " + stream + ")"};
}

inline Operation PublishOperation() {
    return {"StartPublishing",
            StartPublish,
            "s1",
            [](Strova::CVaxoLiveProxy& p) { return p.StartPublishing("title", "s1", "room1"); },
            {"engine: StartPublishing(title, s1, room1)"},
            {},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnPublishStateUpdate(Mediq::TempBroken, "x"); },
            PublishEnds("3", "FATAL_ERROR", "s1"),
            PublishEnds("3", "FATAL_ERROR", "s1")};
}

inline Operation StopPublishOperation() {
    return {"StopPublishing",
            StopPublish,
            "",
            [](Strova::CVaxoLiveProxy& p) { return p.StopPublishing(); },
            {"engine: StopPublishing()", "engine: GetCurrentPublishStreamID()"},
            {},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnPublishStateUpdate(Mediq::AVStateEnd, "x"); },
            PublishEnds("1", "END", "current"),
            PublishEnds("1", "END", "")};
}

inline Operation EnterOperation() {
    return {"GetStreamList",
            GetInRoom,
            "room1",
            [](Strova::CVaxoLiveProxy& p) { return p.GetStreamList("user", "name", "room1", -2); },
            {"engine: GetStreamList(user, name, room1, -2)"},
            {"log 1 AppSetting: GetAppID, app id is 0", "http: Init(0, )",
             "http: UploadLogFile(user, , false)"},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnGetStreamList(0); },
            {"app: OnGetStreamList(4294967295)"},
            {"app: OnGetStreamList(4294967295)"}};
}

inline Operation PlayOperation() {
    return {"PlayStream",
            PlayStream,
            "s1",
            [](Strova::CVaxoLiveProxy& p) { return p.PlayStream("s1", 0xFFFFFFFF); },
            {"engine: PlayStream(s1, 4294967295)"},
            {},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "s1"); },
            PlayEnds("s1"),
            PlayEnds("s1")};
}

inline Operation StopPlayOperation() {
    return {"StopPlayStream",
            StopStream,
            "s1",
            [](Strova::CVaxoLiveProxy& p) { return p.StopPlayStream("s1"); },
            {"engine: StopPlayStream(s1)"},
            {},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnPlayStateUpdate(Mediq::AVStateEnd, "s1"); },
            PlayEnds("s1"),
            PlayEnds("s1")};
}

inline Operation LeaveOperation() {
    return {"Logout",
            LeaveRoom,
            "",
            [](Strova::CVaxoLiveProxy& p) { return p.Logout(); },
            {"engine: Logout()"},
            {},
            [](Strova::IVaxoLiveCallback& cb) { cb.OnLogout(0); },
            {"app: OnLogout(4294967295)"},
            {"app: OnLogout(4294967295)"}};
}

inline std::vector<Operation> Operations() {
    return {PublishOperation(), StopPublishOperation(), EnterOperation(),
            PlayOperation(),    StopPlayOperation(),    LeaveOperation()};
}

class LiveOperationFixture : public LiveProxyFixture {
protected:
    // Lets the operation wait in a held queue until everything before it has run, then run:
    // what was written from there on. With an engine a Logout puts a stop in front of itself.
    std::vector<Line> Run(const Operation& operation) {
        TheScript().text["GetCurrentPublishStreamID"] = "current";
        HoldQueue(PlayStream, "held");
        EXPECT_EQ(operation.call(*proxy), 0);
        if (operation.type == LeaveRoom && proxy->GetLive()) {
            CompleteExecuting();
            EXPECT_EQ(Executing(), "StopPublish(0/)");
        }
        Settle();
        Take();
        CompleteExecuting();
        return TakeLines();
    }

    // The lines of worker 0 for a command of this operation that fails.
    static Texts FailureOnWorker0(const Operation& operation, const Texts& engine) {
        const std::string cmd = operation.Cmd();
        Texts lines = {"log 3 CmdQueue: StartCmdExecuteInner",
                       "log 3 CmdQueue: PopCmd, cmd " + cmd + " poped, final queue size: 0"};
        lines = Concat(lines, engine);
        lines = Concat(lines, {std::string("log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: ") +
                                   VaxoDescription(operation.type),
                               "log 3 CmdQueue: >> current executing cmd: " + cmd});
        lines = Concat(lines, operation.after);
        return Concat(
            lines, {"log 1 unnamed: >>>>>> execute " + cmd + " failed",
                    "log 3 CmdQueue: StartCmdExecuteInner", "log 3 CmdQueue: > no cmd enqueued."});
    }
};

}  // namespace livetest

#endif
