#include "kernel/live/model/LiveModel.h"

#include <algorithm>
#include <iterator>

namespace livemodel {

namespace {

const std::string s_failed = "4294967295";  // -1 in an unsigned error

// The setters, in the order of the interface, have the numbers from 102 on; but one
// came later.
std::uint64_t NumberOf(const std::string& op) {
    static const char* const s_setters[] = {"SetView",
                                            "SetPreviewView",
                                            "SetViewMode",
                                            "SetPreviewViewMode",
                                            "StartPreview",
                                            "StopPreview",
                                            "SetVideoBitrate",
                                            "SetVideoFPS",
                                            "SetVideoResolution",
                                            "SetFrontCam",
                                            "SetVideoCaptureDeviceId",
                                            "SetAudioDevice",
                                            "EnableMic",
                                            "SetSpeakerPhoneOn",
                                            "EnableSpk",
                                            "EnableTorch",
                                            "EnableBeautifying",
                                            "SetFilter",
                                            "SetCaptureRotation",
                                            "TakeSnapshotPreview",
                                            "TakeSnapshotRender",
                                            "SetAuxCallback",
                                            "EnableAux"};
    const auto* const end = std::end(s_setters);
    const auto* const it = std::find(std::begin(s_setters), end, op);
    const bool late = op == "EnableCam";
    return late ? 1114 : it == end ? 0 : 102 + static_cast<std::uint64_t>(it - s_setters);
}

std::string StateName(const std::string& state) {
    static const char* const s_names[] = {"BEGIN",
                                          "END",
                                          "TEMP_BROKEN",
                                          "FATAL_ERROR",
                                          "CREATE_STREAM_ERROR",
                                          "FETCH_STREAM_ERROR",
                                          "NO_STREAM_ERROR"};
    return state.size() == 1 && state >= "0" && state <= "6" ? s_names[state[0] - '0'] : "";
}

}  // namespace

// ---- Operations of the application -----------------------------------------------

int LiveModel::Call(const std::string& op, const Args& args) {
    if (op == "Init") {
        return Queue(SyncCmd, 100, "", "", [=] { return RunInit(args); });
    }
    if (op == "Uninit") {
        return Queue(SyncCmd, 101, "", "", [=] { return RunUninit(); });
    }
    if (op == "UploadLog") {
        return Queue(SyncCmd, 100, "", "", [=] { return RunUploadLog(); });
    }
    if (const std::uint64_t number = NumberOf(op)) {
        const int without = op == "SetAuxCallback" || op == "EnableAux" ? 1 : -1;
        return Queue(SyncCmd, number, "", "", [=] { return Engine(op, args, without); });
    }
    return CallStream(op, args);
}

// These hold the queue. A failure is reported by the event that each waits for.
int LiveModel::CallStream(const std::string& op, const Args& args) {
    if (op == "GetStreamList") {
        return Queue(GetInRoom, 0, args[2], args[2], [=] { return RunGetStreamList(args); });
    }
    if (op == "StartPublishing") {  // shows its stream, but compares with its channel
        return Queue(StartPublish, 0, args[1], args[2], [=] {
            return EngineOr(op, args, "OnPublishStateUpdate", {"3", args[1]});
        });
    }
    if (op == "StopPublishing") {
        return Queue(StopPublish, 0, "", "", [=] { return RunStopPublishing(); });
    }
    if (op == "Logout") {
        return Logout();
    }
    const CmdType type = op == "PlayStream" ? PlayStream : StopStream;
    return Queue(type, 0, args[0], args[0], [=] {
        return EngineOr(op, args, "OnPlayStateUpdate", {"3", args[0]});
    });
}

int LiveModel::Queue(int type, std::uint64_t number, const std::string& text,
                     const std::string& compared, std::function<int()> run) {
    const auto cmd = std::make_shared<Cmd>();
    cmd->type = cmd->rule = type;
    cmd->number = number;
    cmd->text = text;
    cmd->compared = compared;
    cmd->run = std::move(run);
    return AddCmd(cmd) == Refuses ? 1 : 0;
}

// On the caller's thread, before the command is made: stops everything.
int LiveModel::Logout() {
    if (auto engine = m_engine) {
        Args streams;
        m_world.EngineStreams(streams);
        engine.reset();
        for (const std::string& stream : streams) {
            Call("StopPlayStream", {stream});
        }
        Call("StopPublishing", {});
    }
    return Queue(LeaveRoom, 0, "", "",
                 [=] { return EngineOr("Logout", {}, "OnLogout", {s_failed}); });
}

// Past the queued commands, but on the thread that runs them.
void LiveModel::AskEngine(const std::function<void()>& ask) {
    bool done = false;
    const Job job = [&] {
        if (m_engine) {
            ask();
        }
        done = true;
    };
    if (m_world.thread == '0') {
        return job();
    }
    Post('0', job);
    while (!done) {
        RunOne('0');
    }
}

// ---- What the commands do, on worker 0 ----------------------------------------------

int LiveModel::Engine(const std::string& op, const Args& args, int without) {
    return m_engine ? m_world.Engine(op, args) : without;
}

int LiveModel::EngineOr(const std::string& op, const Args& args, const std::string& event,
                        const Args& eventArgs) {
    const int status = Engine(op, args);
    if (status != 0) {
        Event(event, eventArgs);
    }
    return status;
}

int LiveModel::RunInit(const Args& args) {
    if (!m_engine) {
        m_engine = std::make_shared<LiveEngine>(m_world);
        Engine("SetCallback", {});
    }
    return Engine("Init", args);
}

int LiveModel::RunUninit() {
    const int status = Engine("Uninit", {});
    m_engine.reset();
    return status;
}

int LiveModel::RunGetStreamList(const Args& args) {
    const int status = EngineOr("GetStreamList", args, "OnGetStreamList", {s_failed});
    if (m_world.appID == 0) {
        Say("log 1 AppSetting: GetAppID, app id is 0");
    }
    m_world.Http("Init", {std::to_string(m_world.appID), m_world.sign});
    m_world.Http("UploadLogFile", {args[0], m_world.logFile, "false"});
    return status;
}

// A failed stop is an end too.
int LiveModel::RunStopPublishing() {
    const int status = Engine("StopPublishing", {});
    const std::string stream = m_engine ? m_world.EngineText("GetCurrentPublishStreamID") : "";
    if (status != 0) {
        Event("OnPublishStateUpdate", {"1", stream});
    }
    return status;
}

int LiveModel::RunUploadLog() {
    if (m_world.sign.empty()) {
        return -1;
    }
    return m_world.Http("UploadLogFile", {m_world.user, m_world.logFile, "true"}) != 0 ? 0 : 1;
}

// ---- Events of the engine ------------------------------------------------------------

// Ends the command that waits for the event. Answers whether the application may hear of it.
bool LiveModel::Forwards(const std::string& op, const Args& args) {
    const bool publish = op == "OnPublishStateUpdate";
    const bool play = op == "OnPlayStateUpdate";
    if (op == "OnGetStreamList" || op == "OnLogout") {
        Done(op == "OnLogout" ? LeaveRoom : GetInRoom);
    } else if (!publish && !play) {
        return true;
    }
    const bool forwards = MayCallBack();
    if (!forwards) {
        Say("log 3 CmdProxy: " + op + ", abandon callbak");
    }
    const int type = executing ? executing->type : -1;
    if (publish && (type == StartPublish || type == StopPublish)) {
        Done(type);
    }
    if (play && (type == PlayStream || type == StopStream)) {
        if (executing->text == args[1]) {
            Done(type);
        } else {
            Say("log 3 CmdProxy: OnPlayStateUpdate, not callback for this cmd");
        }
    }
    return forwards;
}

void LiveModel::Event(const std::string& op, const Args& args) {
    const bool byNumber = op.find(".number") != std::string::npos;
    const bool forwards = !byNumber && Forwards(op, args);
    const std::shared_ptr<App> app = m_app.lock();
    if (!forwards || !app) {
        return;
    }
    if (op == "OnPreviewSnapshot" || op == "OnRenderSnapshot") {
        return m_world.Tell(*app, op, args);  // at once, on the engine's thread
    }
    Post('2', [=] {
        const bool publish = op == "OnPublishStateUpdate";
        if (publish || op == "OnPlayStateUpdate") {
            Say("log 3 CmdProxy: " + op + ", call back state: " + StateName(args[0]) +
                (publish ? ", stream: " : ", stream ID: ") + args[1].c_str());
        }
        m_world.Tell(*app, op, args);
    });
}

}  // namespace livemodel
