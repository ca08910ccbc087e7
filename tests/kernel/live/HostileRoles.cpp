// The commands of a hostile run as the journal shows them.
#include <map>
#include <sstream>

#include "kernel/live/HostileEngine.h"

namespace livetest {

namespace {

const std::string s_queue = "log 3 CmdQueue: ";
const std::string s_proxy = "log 3 CmdProxy: ";

// What a command of a kind looks like when its texts end with `number` and its numbers
// are that.
HostileRole MakeRole(unsigned kind, int number) {
    const std::string n = std::to_string(number);
    const std::string stream = "s" + n;
    const std::string room = "room" + n;
    const std::string play = "OnPlayStateUpdate";
    const std::string publish = "OnPublishStateUpdate";
    const int fatal = Mediq::FatalError;
    switch (kind) {
        case HoldEnter:
            return {kind,
                    "GetInRoom(0/" + room + ")",
                    "GetInRoom",
                    "GetStreamList",
                    "engine: GetStreamList(user" + n + ", name" + n + ", " + room + ", " + n + ")",
                    "OnGetStreamList",
                    "",
                    -1,
                    number};
        case HoldLogout:
            return {
                kind, "LeaveRoom(0/)", "LeaveRoom", "Logout", "engine: Logout()", "OnLogout", "",
                -1,   number};
        case HoldPlay:
            return {kind,
                    "PlayStream(0/" + stream + ")",
                    "PlayStream",
                    "PlayStream",
                    "engine: PlayStream(" + stream + ", " + n + ")",
                    play,
                    stream,
                    fatal,
                    number};
        case HoldStopPlay:
            return {kind,
                    "StopStream(0/" + stream + ")",
                    "StopStream",
                    "StopPlayStream",
                    "engine: StopPlayStream(" + stream + ")",
                    play,
                    stream,
                    fatal,
                    number};
        case HoldPublish:
            return {kind,
                    "StartPublish(0/" + stream + ")",
                    "StartPublish",
                    "StartPublishing",
                    "engine: StartPublishing(title" + n + ", " + stream + ", " + room + ")",
                    publish,
                    stream,
                    fatal,
                    number};
        default:
            return {kind,
                    "StopPublish(0/)",
                    "StopPublish",
                    "StopPublishing",
                    "engine: StopPublishing()",
                    publish,
                    stream,
                    Mediq::AVStateEnd,
                    number};
    }
}

HostileRole MakeOther(unsigned kind, int number) {
    return MakeRole((kind & HoldPlays) != 0 ? HoldPublish : HoldPlay, number);
}

HostileRole MakeForeign(unsigned kind) {
    if ((kind & HoldEnterOrLogout) != 0) {
        return MakeRole(kind == HoldEnter ? HoldLogout : HoldEnter, 1);
    }
    return MakeOther(kind, 1);
}

HostileRole MakeCounterpart(unsigned kind) {
    static const std::map<unsigned, unsigned> s_counterparts = {
        {HoldEnter, HoldLogout},  {HoldLogout, HoldEnter},        {HoldPlay, HoldStopPlay},
        {HoldStopPlay, HoldPlay}, {HoldPublish, HoldStopPublish}, {HoldStopPublish, HoldPublish}};
    return MakeRole(s_counterparts.at(kind), 1);
}

HostileRole MakeNext(unsigned kind, Behind behind) {
    switch (behind) {
        case BehindSame:
            return MakeRole(kind, 9);
        case BehindSameStream:
            return MakeRole(kind, 1);
        case BehindCounterpart:
            return MakeCounterpart(kind);
        case BehindLogout:
            return MakeRole(HoldLogout, 9);
        default:
            return MakeOther(kind, 9);
    }
}

std::string StateName(int state) {
    static const std::map<int, std::string> s_names = {{0, "BEGIN"},
                                                       {1, "END"},
                                                       {2, "TEMP_BROKEN"},
                                                       {3, "FATAL_ERROR"},
                                                       {4, "CREATE_STREAM_ERROR"},
                                                       {5, "FETCH_STREAM_ERROR"},
                                                       {6, "NO_STREAM_ERROR"}};
    const auto it = s_names.find(state);
    return it == s_names.end() ? std::string() : it->second;
}

// The application hears of a state after a line of the log; of an error without.
void AddHeard(const HostileRole& role, const std::string& code, std::string stream, Texts& lines) {
    const int value = code == "fail" ? role.failure : std::stoi(code);
    if ((role.kind & HoldEnterOrLogout) != 0) {
        const auto error = static_cast<unsigned int>(value);
        lines.push_back("app: " + role.event + "(" + std::to_string(error) + ")");
        return;
    }
    stream = stream.empty() ? role.stream : stream == "''" ? std::string() : stream;
    const char* const label = (role.kind & HoldPlays) != 0 ? "stream ID: " : "stream: ";
    lines.push_back(s_proxy + role.event + ", call back state: " + StateName(value) + ", " + label +
                    stream);
    lines.push_back("app: " + role.event + "(" + std::to_string(value) + ", " + stream + ")");
}

}  // namespace

const HostileRole& HostileCast::operator[](char letter) const {
    switch (letter) {
        case 'A':
            return first;
        case 'N':
            return next;
        case 'S':
            return stopPublish;
        case 'F':
            return foreign;
        case 'M':
            return marker;
        default:
            return uninit;
    }
}

HostileCast CastFor(unsigned kind, Behind behind) {
    HostileCast cast;
    cast.first = MakeRole(kind, 1);
    cast.next = MakeNext(kind, behind);
    cast.stopPublish = MakeRole(HoldStopPublish, 0);
    cast.foreign = MakeForeign(kind);
    cast.marker.printed = "SyncCmd(119/)";
    cast.marker.call = "engine: SetFilter(9)";
    cast.uninit.printed = "SyncCmd(101/)";
    cast.uninit.call = "engine: Uninit()";
    return cast;
}

int Ask(Strova::CVaxoLiveProxy& proxy, const HostileRole& role) {
    const std::string n = std::to_string(role.number);
    const auto text = [&](const char* start) { return vaxo::strutf8((start + n).c_str()); };
    int result = -1;
    switch (role.kind) {
        case HoldEnter:
            result = proxy.GetStreamList(text("user"), text("name"), text("room"), role.number);
            break;
        case HoldLogout:
            result = proxy.Logout();
            break;
        case HoldPlay:
            result = proxy.PlayStream(text("s"), static_cast<unsigned int>(role.number));
            break;
        case HoldStopPlay:
            result = proxy.StopPlayStream(text("s"));
            break;
        case HoldPublish:
            result = proxy.StartPublishing(text("title"), text("s"), text("room"));
            break;
        default:
            result = proxy.StopPublishing();
            break;
    }
    EXPECT_EQ(result, 0);
    return role.kind == HoldLogout ? 2 : 1;  // with an engine it stops publishing first
}

void Report(const HostileRole& role, int code, const char* stream) {
    const auto callback = EngineCallback();
    const vaxo::strutf8 named(stream == nullptr ? role.stream.c_str() : stream);
    const auto state = static_cast<Mediq::VaxoAVState>(code);
    if (role.kind == HoldEnter) {
        callback->OnGetStreamList(static_cast<unsigned int>(code));
    } else if (role.kind == HoldLogout) {
        callback->OnLogout(static_cast<unsigned int>(code));
    } else if ((role.kind & HoldPlays) != 0) {
        callback->OnPlayStateUpdate(state, named);
    } else {
        callback->OnPublishStateUpdate(state, named);
    }
}

Texts LinesOf(const HostileCast& cast, const std::string& words) {
    Texts lines;
    std::istringstream all(words);
    for (std::string some; std::getline(all, some, ',');) {
        std::istringstream one(some);
        std::string verb, object, stream;
        one >> verb >> object >> stream;
        const HostileRole& role = cast[object.empty() ? 'U' : object[0]];
        if (verb == "gone") {
            lines.emplace_back("engine: destroyed");
        } else if (verb == "call") {
            lines.push_back(role.call);
        } else if (verb == "waits") {
            lines.push_back(s_queue + "> executed " + role.description + ", waiting for result");
        } else if (verb == "fails") {
            lines.push_back("log 1 unnamed: >>>>>> execute " + role.printed + " failed");
        } else if (verb == "report") {
            lines.push_back(s_queue + "SetCmdExecuteCmdDone, cmd type: " + role.description);
        } else if (verb == "done") {
            lines.push_back(s_queue + ">> current executing cmd: " + role.printed);
        } else if (verb == "abandon") {
            lines.push_back(s_proxy + role.event + ", abandon callbak");
        } else if (verb == "notfor") {
            lines.push_back(s_proxy + role.event + ", not callback for this cmd");
        } else {
            AddHeard(cast[verb[0]], object, stream, lines);
        }
    }
    return lines;
}

}  // namespace livetest
