#include "kernel/live/model/LibraryCalls.h"

#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "kernel/live/Journal.h"

namespace livemodel {

namespace {

using livetest::Text;
using Strova::IVaxoLive;
using Strova::IVaxoLiveCallback;

int Int(const std::string& text) {
    return std::atoi(text.c_str());
}

unsigned int Uint(const std::string& text) {
    return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, 10));
}

bool Bool(const std::string& text) {
    return text == "true";
}

Mediq::VaxoAVState State(const std::string& text) {
    return static_cast<Mediq::VaxoAVState>(Int(text));
}

// "view7" is a view that holds 7.
std::shared_ptr<int> View(const std::string& text) {
    return text == "null" ? nullptr : std::make_shared<int>(Int(text.substr(4)));
}

std::shared_ptr<vaxo::strutf8> Device(const std::string& text) {
    return text == "null" ? nullptr : std::make_shared<vaxo::strutf8>(Str(text));
}

Mediq::IVaxoAuxCallback* Aux(const std::string& text) {
    struct Silence : Mediq::IVaxoAuxCallback {
        void OnAuxCallback(unsigned char*, int*, int*, int*) override {}
    };
    static Silence s_aux;
    return text == "null" ? nullptr : &s_aux;
}

void* Image(const std::string& text) {
    static int s_image = 0;
    return text == "null" ? nullptr : &s_image;
}

// Five texts, the addresses with their kind in front, status and flag.
Strova::VaxoLiveStream Stream(const Args& args) {
    Strova::VaxoLiveStream stream = StreamNamed(args[1]);
    stream.streamGID = Str(args[0]);
    stream.userID = Str(args[2]);
    stream.userName = Str(args[3]);
    stream.title = Str(args[4]);
    for (std::size_t i = 5; i + 2 < args.size(); ++i) {
        const bool rtmp = args[i].compare(0, 5, "rtmp ") == 0;
        (rtmp ? stream.rtmpURLs : stream.hlsURLs).Add(Str(args[i].substr(rtmp ? 5 : 4)));
    }
    stream.status = Uint(args[args.size() - 2]);
    return stream;
}

// The caller's string changes as soon as the call is over: nobody must notice.
int SetAudioDevice(IVaxoLive& live, const Args& args) {
    vaxo::strutf8 deviceID = Str(args[1]);
    const int result = live.SetAudioDevice(Int(args[0]), deviceID);
    deviceID = "changed by the caller";
    return result;
}

typedef std::unordered_map<std::string, LibraryCall> Calls;
typedef std::unordered_map<std::string, LibraryEvent> Events;

// One row an operation, for each has its own signature.
const Calls& TheCalls() {
    static const auto& s_calls = *new Calls{
        {"Init", [](auto& p, auto& a) { return p.Init(Uint(a[0]), Bytes(a[1])); }},
        {"Uninit", [](auto& p, auto&) { return p.Uninit(); }},
        {"UploadLog", [](auto& p, auto&) { return p.UploadLog(); }},
        {"StartPublishing",
         [](auto& p, auto& a) { return p.StartPublishing(Str(a[0]), Str(a[1]), Str(a[2])); }},
        {"StopPublishing", [](auto& p, auto&) { return p.StopPublishing(); }},
        {"GetStreamList",
         [](auto& p, auto& a) {
             return p.GetStreamList(Str(a[0]), Str(a[1]), Str(a[2]), Int(a[3]));
         }},
        {"PlayStream", [](auto& p, auto& a) { return p.PlayStream(Str(a[0]), Uint(a[1])); }},
        {"StopPlayStream", [](auto& p, auto& a) { return p.StopPlayStream(Str(a[0])); }},
        {"Logout", [](auto& p, auto&) { return p.Logout(); }},
        {"SetView", [](auto& p, auto& a) { return p.SetView(View(a[0]), Uint(a[1])); }},
        {"SetPreviewView", [](auto& p, auto& a) { return p.SetPreviewView(View(a[0])); }},
        {"SetViewMode", [](auto& p, auto& a) { return p.SetViewMode(Int(a[0]), Uint(a[1])); }},
        {"SetPreviewViewMode", [](auto& p, auto& a) { return p.SetPreviewViewMode(Int(a[0])); }},
        {"StartPreview", [](auto& p, auto&) { return p.StartPreview(); }},
        {"StopPreview", [](auto& p, auto&) { return p.StopPreview(); }},
        {"SetVideoBitrate", [](auto& p, auto& a) { return p.SetVideoBitrate(Int(a[0])); }},
        {"SetVideoFPS", [](auto& p, auto& a) { return p.SetVideoFPS(Int(a[0])); }},
        {"SetVideoResolution",
         [](auto& p, auto& a) { return p.SetVideoResolution(Int(a[0]), Int(a[1])); }},
        {"SetFrontCam", [](auto& p, auto& a) { return p.SetFrontCam(Int(a[0])); }},
        {"SetVideoCaptureDeviceId",
         [](auto& p, auto& a) { return p.SetVideoCaptureDeviceId(Device(a[0])); }},
        {"SetAudioDevice", &SetAudioDevice},
        {"EnableMic", [](auto& p, auto& a) { return p.EnableMic(Bool(a[0])); }},
        {"EnableCam", [](auto& p, auto& a) { return p.EnableCam(Bool(a[0])); }},
        {"SetSpeakerPhoneOn", [](auto& p, auto& a) { return p.SetSpeakerPhoneOn(Bool(a[0])); }},
        {"EnableSpk", [](auto& p, auto& a) { return p.EnableSpk(Bool(a[0])); }},
        {"EnableTorch", [](auto& p, auto& a) { return p.EnableTorch(Bool(a[0])); }},
        {"EnableBeautifying", [](auto& p, auto& a) { return p.EnableBeautifying(Int(a[0])); }},
        {"SetFilter", [](auto& p, auto& a) { return p.SetFilter(Int(a[0])); }},
        {"SetCaptureRotation", [](auto& p, auto& a) { return p.SetCaptureRotation(Int(a[0])); }},
        {"TakeSnapshotPreview", [](auto& p, auto&) { return p.TakeSnapshotPreview(); }},
        {"TakeSnapshotRender", [](auto& p, auto& a) { return p.TakeSnapshotRender(Int(a[0])); }},
        {"SetAuxCallback", [](auto& p, auto& a) { return p.SetAuxCallback(Aux(a[0])); }},
        {"EnableAux", [](auto& p, auto& a) { return p.EnableAux(Bool(a[0])); }},
    };
    return s_calls;
}

const Events& TheEvents() {
    static const auto& s_events = *new Events{
        {"OnVideoSizeChanged",
         [](auto& c, auto& a) { c.OnVideoSizeChanged(Str(a[0]), Int(a[1]), Int(a[2])); }},
        {"OnPreviewSnapshot", [](auto& c, auto& a) { c.OnPreviewSnapshot(Image(a[0])); }},
        {"OnRenderSnapshot", [](auto& c, auto& a) { c.OnRenderSnapshot(Image(a[0]), Int(a[1])); }},
        {"OnGetStreamList", [](auto& c, auto& a) { c.OnGetStreamList(Uint(a[0])); }},
        {"OnStreamUpdate",
         [](auto& c, auto& a) {
             c.OnStreamUpdate(Stream(a), static_cast<VaxoAVStreamUpdateFlag>(Int(a.back())));
         }},
        {"OnCountsUpdate", [](auto& c, auto& a) { c.OnCountsUpdate(Uint(a[0]), Uint(a[1])); }},
        {"OnPublishStateUpdate",
         [](auto& c, auto& a) { c.OnPublishStateUpdate(State(a[0]), Str(a[1])); }},
        {"OnPlayStateUpdate",
         [](auto& c, auto& a) { c.OnPlayStateUpdate(State(a[0]), Str(a[1])); }},
        {"OnLogout", [](auto& c, auto& a) { c.OnLogout(Uint(a[0])); }},
        {"OnDisconnected", [](auto& c, auto& a) { c.OnDisconnected(Uint(a[0]), Str(a[1])); }},
        {"OnReconnected", [](auto& c, auto& a) { c.OnReconnected(Str(a[0])); }},
        {"OnPublishStateUpdate.number",
         [](auto& c, auto& a) { c.OnPublishStateUpdate(State(a[0]), Uint(a[1]), Uint(a[2])); }},
        {"OnPlayStateUpdate.number",
         [](auto& c, auto& a) {
             c.OnPlayStateUpdate(State(a[0]), Uint(a[1]), Uint(a[2]), Uint(a[3]));
         }},
        {"OnVideoSizeChanged.number",
         [](auto& c, auto& a) {
             c.OnVideoSizeChanged(static_cast<unsigned long long>(Uint(a[0])), Int(a[1]),
                                  Int(a[2]));
         }},
    };
    return s_events;
}

}  // namespace

const LibraryCall& CallOf(const std::string& name) {
    return TheCalls().at(name);
}

const LibraryEvent& EventOf(const std::string& name) {
    return TheEvents().at(name);
}

std::string Ask(IVaxoLive& live, const std::string& getter, const Args& args) {
    if (getter == "GetLiveChannel") {
        return Text(live.GetLiveChannel());
    }
    if (getter == "GetCurrentPublishStreamID") {
        return Text(live.GetCurrentPublishStreamID());
    }
    if (getter == "GetCurrentPublishStreamURL") {
        return Text(live.GetCurrentPublishStreamURL());
    }
    if (getter == "GetStreams") {
        vaxostl::vector<Strova::VaxoLiveStream> streams;
        streams.Add(StreamNamed("old"));
        std::string all = std::to_string(live.GetStreamList(streams));
        for (const Strova::VaxoLiveStream& stream : streams) {
            all += " " + Text(stream.streamID);
        }
        return all;
    }
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> list;
    list.set("old", "one");
    std::string all = std::to_string(getter == "GetVideoCaptureDevice"
                                         ? live.GetVideoCaptureDevice(list)
                                         : live.GetAudioDeviceList(Int(args[0]), list));
    for (auto it = list.begin(); it != list.end(); ++it) {
        all += " " + Text(it->first) + "=" + Text(it->second);
    }
    return all;
}

vaxo::strutf8 Str(const std::string& text) {
    return {text.data(), static_cast<uint32>(text.size())};
}

vaxo::stream Bytes(const std::string& text) {
    return {text.data(), static_cast<uint32>(text.size())};
}

Strova::VaxoLiveStream StreamNamed(const std::string& streamID) {
    Strova::VaxoLiveStream stream;
    stream.streamID = Str(streamID);
    return stream;
}

}  // namespace livemodel
