// The events that the proxy relays, as a table: how an engine gives each one, which command
// it asks the queue to complete, and what the application's side of it writes.
#ifndef VAXO_TESTS_LIVE_LIVEEVENTCASES_H
#define VAXO_TESTS_LIVE_LIVEEVENTCASES_H

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "IVaxoLive.h"
#include "avmgr/VaxoAVMgrCmd.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"

namespace livetest {

struct EventCase {
    const char* name;
    const char* method;
    std::function<void(Strova::IVaxoLiveCallback&)> fire;
    // The type whose completion is asked for, by the executing type, 0 for none.
    int asks[7];
    Texts delivered;  // what the delivery writes
    bool direct;      // delivered on the engine's thread, else on worker 2
    bool held;        // kept back while a leave waits
};

inline void PrintTo(const EventCase& event, std::ostream* out) {
    *out << event.name;
}

inline std::string NameOf(const ::testing::TestParamInfo<EventCase>& made) {
    return made.param.name;
}

inline Strova::VaxoLiveStream WholeStream() {
    Strova::VaxoLiveStream stream;
    stream.streamGID = "gid";
    stream.streamID = "s1";
    stream.userID = "user";
    stream.userName = "name";
    stream.title = "title";
    stream.rtmpURLs.Add("r1");
    stream.rtmpURLs.Add("r2");
    stream.hlsURLs.Add("h1");
    stream.status = 4000000000U;
    return stream;
}

// The events that answer a command. Publish and play are of stream "s1".
inline std::vector<EventCase> AnsweringEvents() {
    typedef Strova::IVaxoLiveCallback Callback;
    return {
        {"OnGetStreamList",
         "OnGetStreamList",
         [](Callback& cb) { cb.OnGetStreamList(4000000000U); },
         {GetInRoom, GetInRoom, GetInRoom, GetInRoom, GetInRoom, GetInRoom, GetInRoom},
         {"app: OnGetStreamList(4000000000)"},
         false,
         true},
        {"OnLogout",
         "OnLogout",
         [](Callback& cb) { cb.OnLogout(4000000001U); },
         {LeaveRoom, LeaveRoom, LeaveRoom, LeaveRoom, LeaveRoom, LeaveRoom, LeaveRoom},
         {"app: OnLogout(4000000001)"},
         false,
         true},
        {"OnPublishStateUpdate",
         "OnPublishStateUpdate",
         [](Callback& cb) { cb.OnPublishStateUpdate(Mediq::TempBroken, "s1"); },
         {0, 0, 0, 0, 0, StartPublish, StopPublish},
         {"log 3 CmdProxy: OnPublishStateUpdate, call back state: TEMP_BROKEN, stream: s1",
          "app: OnPublishStateUpdate(2, s1)"},
         false,
         true},
        {"OnPublishStateUpdateOfAnotherStream",
         "OnPublishStateUpdate",
         [](Callback& cb) { cb.OnPublishStateUpdate(Mediq::AVStateEnd, "s2"); },
         {0, 0, 0, 0, 0, StartPublish, StopPublish},
         {"log 3 CmdProxy: OnPublishStateUpdate, call back state: END, stream: s2",
          "app: OnPublishStateUpdate(1, s2)"},
         false,
         true},
        {"OnPlayStateUpdate",
         "OnPlayStateUpdate",
         [](Callback& cb) { cb.OnPlayStateUpdate(Mediq::FetchStreamError, "s1"); },
         {0, 0, 0, PlayStream, StopStream, 0, 0},
         {"log 3 CmdProxy: OnPlayStateUpdate, call back state: FETCH_STREAM_ERROR, stream ID: s1",
          "app: OnPlayStateUpdate(5, s1)"},
         false,
         true},
        {"OnPlayStateUpdateOfAnotherStream",
         "OnPlayStateUpdate",
         [](Callback& cb) { cb.OnPlayStateUpdate(Mediq::AVStateBegin, "s2"); },
         {0, 0, 0, 0, 0, 0, 0},
         {"log 3 CmdProxy: OnPlayStateUpdate, call back state: BEGIN, stream ID: s2",
          "app: OnPlayStateUpdate(0, s2)"},
         false,
         true},
    };
}

// The events that only tell.
inline EventCase Telling(const char* method, std::function<void(Strova::IVaxoLiveCallback&)> fire,
                         const char* delivered, bool direct) {
    return {method, method, std::move(fire), {}, {delivered}, direct, false};
}

inline std::vector<EventCase> TellingEvents() {
    typedef Strova::IVaxoLiveCallback Callback;
    static int s_image = 0;
    return {
        Telling(
            "OnVideoSizeChanged", [](Callback& cb) { cb.OnVideoSizeChanged("s1", -1, 1080); },
            "app: OnVideoSizeChanged(s1, -1, 1080)", false),
        Telling(
            "OnPreviewSnapshot", [](Callback& cb) { cb.OnPreviewSnapshot(&s_image); },
            "app: OnPreviewSnapshot(image)", true),
        Telling(
            "OnRenderSnapshot", [](Callback& cb) { cb.OnRenderSnapshot(&s_image, -3); },
            "app: OnRenderSnapshot(image, -3)", true),
        Telling(
            "OnStreamUpdate", [](Callback& cb) { cb.OnStreamUpdate(WholeStream(), DeletedStream); },
            "app: OnStreamUpdate(gid/s1/user/name/title/rtmp r1/rtmp r2/hls h1/4000000000, 2)",
            false),
        Telling(
            "OnCountsUpdate", [](Callback& cb) { cb.OnCountsUpdate(4000000002U, 7); },
            "app: OnCountsUpdate(4000000002, 7)", false),
        Telling(
            "OnDisconnected", [](Callback& cb) { cb.OnDisconnected(4000000003U, "room1"); },
            "app: OnDisconnected(4000000003, room1)", false),
        Telling(
            "OnReconnected", [](Callback& cb) { cb.OnReconnected("room1"); },
            "app: OnReconnected(room1)", false),
    };
}

inline std::vector<EventCase> AllEvents() {
    std::vector<EventCase> all = AnsweringEvents();
    for (const EventCase& event : TellingEvents()) {
        all.push_back(event);
    }
    return all;
}

// Those that complete a command of some type.
inline std::vector<EventCase> CompletingEvents() {
    std::vector<EventCase> completing;
    for (const EventCase& event : AnsweringEvents()) {
        for (int type = 1; type <= 6; ++type) {
            if (event.asks[type] == type) {
                completing.push_back(event);
                break;
            }
        }
    }
    return completing;
}

inline std::vector<EventCase> PostedEvents() {
    std::vector<EventCase> posted;
    for (const EventCase& event : AllEvents()) {
        if (!event.direct) {
            posted.push_back(event);
        }
    }
    return posted;
}

// What the engine's thread writes to complete a command, with "s1" as its text.
inline Texts Completion(const EventCase& event, int executing) {
    const int asked = event.asks[executing];
    if (asked == 0) {
        return {};
    }
    const auto type = static_cast<VaxoAVMgrCmdType>(asked);
    Texts lines = {std::string("log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: ") +
                   VaxoDescription(type)};
    if (asked == executing) {
        lines.push_back("log 3 CmdQueue: >> current executing cmd: " + Printed(type, "s1"));
    }
    return lines;
}

// What it writes about a play that is not the one waited for.
inline Texts NotForThis(const EventCase& event, int executing) {
    const bool play = std::string(event.method) == "OnPlayStateUpdate";
    return play && (executing == PlayStream || executing == StopStream) &&
                   event.asks[executing] == 0
               ? Texts{"log 3 CmdProxy: OnPlayStateUpdate, not callback for this cmd"}
               : Texts();
}

// An engine behind the proxy, and a queue that a command of any type holds.
class LiveEventFixture : public LiveProxyFixture {
protected:
    LiveEventFixture() { StartEngine(); }

    // Runs `body` with one event after the other, each time on a proxy at rest, with an engine
    // and the fixture's application.
    template <class Body>
    void ForEach(const std::vector<EventCase>& events, Body body) {
        for (const EventCase& event : events) {
            SCOPED_TRACE(event.name);
            body(event);
            queue->StartCmdExecute();  // a test may have left commands without a pass
            Settle();
            while (!Executing().empty()) {
                CompleteExecuting();
            }
            proxy->SetCallback(app);
            StartEngine();
        }
    }

    // Holds the queue by a command with the text "s1"; type 0 leaves it free.
    void Execute(int type) {
        if (type != 0) {
            HoldQueue(static_cast<VaxoAVMgrCmdType>(type), "s1");
        }
    }

    static std::string ExecutingAs(int type) {
        return type == 0 ? std::string() : Printed(static_cast<VaxoAVMgrCmdType>(type), "s1");
    }

    void Free() {
        if (!Executing().empty()) {
            CompleteExecuting();
        }
        Take();
    }
};

}  // namespace livetest

#endif
