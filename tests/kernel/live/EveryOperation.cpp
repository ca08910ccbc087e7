#include "kernel/live/EveryOperation.h"

#include <algorithm>
#include <cstddef>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "vaxomap.h"

namespace livetest {

namespace {

typedef Strova::CVaxoLiveProxy P;
typedef vaxostl::map<vaxo::strutf8, vaxo::strutf8> Devices;
typedef vaxostl::vector<Strova::VaxoLiveStream> Streams;

// A row is read as one line.
// clang-format off
const std::vector<LiveOperation> s_operations = {
    {"SetView", [](P& proxy, const App&) { return proxy.SetView(nullptr, 1); },
     0, 0, "SyncCmd(102/)", "", "SetView(null, 1)", ""},
    {"SetPreviewView", [](P& proxy, const App&) { return proxy.SetPreviewView(nullptr); },
     0, 0, "SyncCmd(103/)", "", "SetPreviewView(null)", ""},
    {"SetViewMode", [](P& proxy, const App&) { return proxy.SetViewMode(4, 1); },
     0, 0, "SyncCmd(104/)", "", "SetViewMode(4, 1)", ""},
    {"SetPreviewViewMode", [](P& proxy, const App&) { return proxy.SetPreviewViewMode(5); },
     0, 0, "SyncCmd(105/)", "", "SetPreviewViewMode(5)", ""},
    {"StartPreview", [](P& proxy, const App&) { return proxy.StartPreview(); },
     0, 0, "SyncCmd(106/)", "", "StartPreview()", ""},
    {"StopPreview", [](P& proxy, const App&) { return proxy.StopPreview(); },
     0, 0, "SyncCmd(107/)", "", "StopPreview()", ""},
    {"SetVideoBitrate", [](P& proxy, const App&) { return proxy.SetVideoBitrate(8); },
     0, 0, "SyncCmd(108/)", "", "SetVideoBitrate(8)", ""},
    {"SetVideoFPS", [](P& proxy, const App&) { return proxy.SetVideoFPS(9); },
     0, 0, "SyncCmd(109/)", "", "SetVideoFPS(9)", ""},
    {"SetVideoResolution", [](P& proxy, const App&) { return proxy.SetVideoResolution(10, 1); },
     0, 0, "SyncCmd(110/)", "", "SetVideoResolution(10, 1)", ""},
    {"SetFrontCam", [](P& proxy, const App&) { return proxy.SetFrontCam(11); },
     0, 0, "SyncCmd(111/)", "", "SetFrontCam(11)", ""},
    {"GetVideoCaptureDevice", [](P& proxy, const App&) {
         Devices list; return proxy.GetVideoCaptureDevice(list);},
     0, -1, "", "GetVideoCaptureDevice()", "", ""},
    {"SetVideoCaptureDeviceId", [](P& proxy, const App&) {
         return proxy.SetVideoCaptureDeviceId(nullptr);},
     0, 0, "SyncCmd(112/)", "", "SetVideoCaptureDeviceId(null)", ""},
    {"GetAudioDeviceList", [](P& proxy, const App&) {
         Devices list; return proxy.GetAudioDeviceList(12, list);},
     0, -1, "", "GetAudioDeviceList(12)", "", ""},
    {"SetAudioDevice", [](P& proxy, const App&) {
         vaxo::strutf8 id("id"); return proxy.SetAudioDevice(13, id);},
     0, 0, "SyncCmd(113/)", "", "SetAudioDevice(13, id)", ""},
    {"EnableMic", [](P& proxy, const App&) { return proxy.EnableMic(true); },
     0, 0, "SyncCmd(114/)", "", "EnableMic(true)", ""},
    {"EnableCam", [](P& proxy, const App&) { return proxy.EnableCam(true); },
     0, 0, "SyncCmd(1114/)", "", "EnableCam(true)", ""},
    {"SetSpeakerPhoneOn", [](P& proxy, const App&) { return proxy.SetSpeakerPhoneOn(true); },
     0, 0, "SyncCmd(115/)", "", "SetSpeakerPhoneOn(true)", ""},
    {"EnableSpk", [](P& proxy, const App&) { return proxy.EnableSpk(true); },
     0, 0, "SyncCmd(116/)", "", "EnableSpk(true)", ""},
    {"EnableTorch", [](P& proxy, const App&) { return proxy.EnableTorch(true); },
     0, 0, "SyncCmd(117/)", "", "EnableTorch(true)", ""},
    {"EnableBeautifying", [](P& proxy, const App&) { return proxy.EnableBeautifying(18); },
     0, 0, "SyncCmd(118/)", "", "EnableBeautifying(18)", ""},
    {"SetFilter", [](P& proxy, const App&) { return proxy.SetFilter(19); },
     0, 0, "SyncCmd(119/)", "", "SetFilter(19)", ""},
    {"SetCaptureRotation", [](P& proxy, const App&) { return proxy.SetCaptureRotation(20); },
     0, 0, "SyncCmd(120/)", "", "SetCaptureRotation(20)", ""},
    {"TakeSnapshotPreview", [](P& proxy, const App&) { return proxy.TakeSnapshotPreview(); },
     0, 0, "SyncCmd(121/)", "", "TakeSnapshotPreview()", ""},
    {"TakeSnapshotRender", [](P& proxy, const App&) { return proxy.TakeSnapshotRender(22); },
     0, 0, "SyncCmd(122/)", "", "TakeSnapshotRender(22)", ""},
    {"SetAuxCallback", [](P& proxy, const App&) { return proxy.SetAuxCallback(nullptr); },
     0, 0, "SyncCmd(123/)", "", "SetAuxCallback(null)", ""},
    {"EnableAux", [](P& proxy, const App&) { return proxy.EnableAux(true); },
     0, 0, "SyncCmd(124/)", "", "EnableAux(true)", ""},
    {"Init", [](P& proxy, const App&) { return proxy.Init(26, vaxo::stream("key", 3)); },
     0, 0, "SyncCmd(100/)", "", "Init(26, key)", ""},
    {"UploadLog", [](P& proxy, const App&) { return proxy.UploadLog(); },
     0, 0, "SyncCmd(100/)", "", "", ""},
    {"SetCallback", [](P& proxy, const App& app) { return proxy.SetCallback(app); },
     0, 0, "", "", "", ""},
    {"StartPublishing", [](P& proxy, const App&) {
         return proxy.StartPublishing("title", "p1", "room1");},
     0, 0, "StartPublish(0/p1)", "",
     "StartPublishing(title, p1, room1)", "OnPublishStateUpdate(3, p1)"},
    {"GetLiveChannel", [](P& proxy, const App&) {
         return static_cast<int>(proxy.GetLiveChannel().length());},
     3, 0, "", "GetLiveChannel()", "", ""},
    {"GetCurrentPublishStreamID", [](P& proxy, const App&) {
         return static_cast<int>(proxy.GetCurrentPublishStreamID().length());},
     3, 0, "", "GetCurrentPublishStreamID()", "", ""},
    {"GetCurrentPublishStreamURL", [](P& proxy, const App&) {
         return static_cast<int>(proxy.GetCurrentPublishStreamURL().length());},
     3, 0, "", "GetCurrentPublishStreamURL()", "", ""},
    {"StopPublishing", [](P& proxy, const App&) { return proxy.StopPublishing(); },
     0, 0, "StopPublish(0/)", "",
     "StopPublishing()|GetCurrentPublishStreamID()", "OnPublishStateUpdate(1, )"},
    {"GetStreamList", [](P& proxy, const App&) {
         return proxy.GetStreamList("user", "name", "room1", 35);},
     0, 0, "GetInRoom(0/room1)", "",
     "GetStreamList(user, name, room1, 35)", "OnGetStreamList(4294967295)"},
    {"GetStreams", [](P& proxy, const App&) {
         Streams list; return proxy.GetStreamList(list);},
     0, -1, "", "GetStreams()", "", ""},
    {"PlayStream", [](P& proxy, const App&) { return proxy.PlayStream("s1", 37); },
     0, 0, "PlayStream(0/s1)", "", "PlayStream(s1, 37)", "OnPlayStateUpdate(3, s1)"},
    {"StopPlayStream", [](P& proxy, const App&) { return proxy.StopPlayStream("s2"); },
     0, 0, "StopStream(0/s2)", "", "StopPlayStream(s2)", "OnPlayStateUpdate(3, s2)"},
    {"Logout", [](P& proxy, const App&) { return proxy.Logout(); },
     0, 0, "StopStream(0/l1)|StopStream(0/l2)|StopPublish(0/)|LeaveRoom(0/)", "GetStreams()",
     "StopPlayStream(l1)|StopPlayStream(l2)|StopPublishing()|GetCurrentPublishStreamID()|Logout()",
     "OnLogout(4294967295)"},
    {"Uninit", [](P& proxy, const App&) { return proxy.Uninit(); },
     0, 0, "SyncCmd(101/)", "", "Uninit()", ""},
};
// clang-format on

typedef Strova::IVaxoLiveCallback C;

const std::vector<LiveEvent> s_events = {
    {"OnPreviewSnapshot", [](C& app) { app.OnPreviewSnapshot(nullptr); }, "OnPreviewSnapshot(null)",
     true},
    {"OnRenderSnapshot", [](C& app) { app.OnRenderSnapshot(nullptr, 3); },
     "OnRenderSnapshot(null, 3)", true},
    {"OnGetStreamList", [](C& app) { app.OnGetStreamList(5); }, "OnGetStreamList(5)", false},
    {"OnStreamUpdate",
     [](C& app) {
         Strova::VaxoLiveStream stream;
         stream.streamID = "e";
         app.OnStreamUpdate(stream, AddedStream);
     },
     "OnStreamUpdate(/e////0, 1)", false},
    {"OnCountsUpdate", [](C& app) { app.OnCountsUpdate(6, 7); }, "OnCountsUpdate(6, 7)", false},
    {"OnPublishStateUpdate", [](C& app) { app.OnPublishStateUpdate(Mediq::AVStateEnd, "e"); },
     "OnPublishStateUpdate(1, e)", false},
    {"OnPlayStateUpdate", [](C& app) { app.OnPlayStateUpdate(Mediq::TempBroken, "e"); },
     "OnPlayStateUpdate(2, e)", false},
    {"OnVideoSizeChanged", [](C& app) { app.OnVideoSizeChanged("e", 8, 9); },
     "OnVideoSizeChanged(e, 8, 9)", false},
    {"OnLogout", [](C& app) { app.OnLogout(10); }, "OnLogout(10)", false},
    {"OnDisconnected", [](C& app) { app.OnDisconnected(11, "room1"); }, "OnDisconnected(11, room1)",
     false},
    {"OnReconnected", [](C& app) { app.OnReconnected("room1"); }, "OnReconnected(room1)", false},
};

}  // namespace

const std::vector<LiveOperation>& EveryOperation() {
    return s_operations;
}

const std::vector<LiveEvent>& EveryEvent() {
    return s_events;
}

void AnswerWhatExecutes() {
    const auto cmd = CVaxoAVMgrCmdQueue::GetSharedInstance()->GetExecutingCmd();
    const auto callback = EngineCallback();
    if (!cmd || !callback) {
        ADD_FAILURE() << "nothing to answer, or nobody to tell";
        return;
    }
    switch (cmd->GetCmdType()) {
        case GetInRoom:
            callback->OnGetStreamList(0);
            break;
        case LeaveRoom:
            callback->OnLogout(0);
            break;
        case PlayStream:
        case StopStream:
            callback->OnPlayStateUpdate(Mediq::AVStateBegin, cmd->strExtraData);
            break;
        default:
            callback->OnPublishStateUpdate(Mediq::AVStateBegin, cmd->strExtraData);
            break;
    }
}

void ScriptEveryOperation() {
    EngineScript& script = TheScript();
    for (const char* const id : {"l1", "l2"}) {
        script.streams.emplace_back();
        script.streams.back().streamID = id;
    }
    for (const char* const getter :
         {"GetLiveChannel", "GetCurrentPublishStreamID", "GetCurrentPublishStreamURL"}) {
        script.text[getter] = "abc";
    }
    CVaxoAppSetting::SharedInstance()->SetAppSign(vaxo::stream("key", 3));
    for (const char* const operation : {"GetStreamList", "Logout", "PlayStream", "StopPlayStream",
                                        "StartPublishing", "StopPublishing"}) {
        script.inside[operation] = &AnswerWhatExecutes;
    }
}

Texts Split(const std::string& list, const std::string& start) {
    Texts all;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find('|', at), list.size());
        all.push_back(start + list.substr(at, end - at));
        at = end + 1;
    }
    return all;
}

Texts OnlyOf(const Texts& lines, const std::string& start) {
    Texts only;
    for (const std::string& line : lines) {
        if (line.compare(0, start.size(), start) == 0) {
            only.push_back(line);
        }
    }
    return only;
}

Texts PoppedOf(const Texts& lines) {
    const std::string start = "log 3 CmdQueue: PopCmd, cmd ";
    Texts popped = OnlyOf(lines, start);
    for (std::string& line : popped) {
        line = line.substr(start.size(), line.rfind(" poped, ") - start.size());
    }
    return popped;
}

}  // namespace livetest
