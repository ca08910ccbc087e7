#include "kernel/live/model/Program.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace livemodel {

const std::vector<Operation>& Operations() {
    static const auto& s_operations = *new std::vector<Operation>{
        {"Init", Kind::Call, "as"},
        {"Uninit", Kind::Call, ""},
        {"UploadLog", Kind::Call, ""},
        {"StartPublishing", Kind::Call, "ttt"},
        {"StopPublishing", Kind::Call, ""},
        {"GetStreamList", Kind::Call, "tttn"},
        {"PlayStream", Kind::Call, "tu"},
        {"StopPlayStream", Kind::Call, "t"},
        {"Logout", Kind::Call, ""},
        {"SetView", Kind::Control, "vu"},
        {"SetPreviewView", Kind::Control, "v"},
        {"SetViewMode", Kind::Control, "iu"},
        {"SetPreviewViewMode", Kind::Control, "i"},
        {"StartPreview", Kind::Control, ""},
        {"StopPreview", Kind::Control, ""},
        {"SetVideoBitrate", Kind::Control, "i"},
        {"SetVideoFPS", Kind::Control, "i"},
        {"SetVideoResolution", Kind::Control, "ii"},
        {"SetFrontCam", Kind::Control, "i"},
        {"SetVideoCaptureDeviceId", Kind::Control, "d"},
        {"SetAudioDevice", Kind::Control, "it"},
        {"EnableMic", Kind::Control, "b"},
        {"EnableCam", Kind::Control, "b"},
        {"SetSpeakerPhoneOn", Kind::Control, "b"},
        {"EnableSpk", Kind::Control, "b"},
        {"EnableTorch", Kind::Control, "b"},
        {"EnableBeautifying", Kind::Control, "i"},
        {"SetFilter", Kind::Control, "i"},
        {"SetCaptureRotation", Kind::Control, "i"},
        {"TakeSnapshotPreview", Kind::Control, ""},
        {"TakeSnapshotRender", Kind::Control, "i"},
        {"SetAuxCallback", Kind::Control, "x"},
        {"EnableAux", Kind::Control, "b"},
        {"GetLiveChannel", Kind::Getter, ""},
        {"GetCurrentPublishStreamID", Kind::Getter, ""},
        {"GetCurrentPublishStreamURL", Kind::Getter, ""},
        {"GetStreams", Kind::Getter, ""},
        {"GetVideoCaptureDevice", Kind::Getter, ""},
        {"GetAudioDeviceList", Kind::Getter, "i"},
        {"OnVideoSizeChanged", Kind::Event, "tii"},
        {"OnPreviewSnapshot", Kind::Event, "m"},
        {"OnRenderSnapshot", Kind::Event, "mi"},
        {"OnGetStreamList", Kind::Event, "e"},
        {"OnStreamUpdate", Kind::Event, "r"},
        {"OnCountsUpdate", Kind::Event, "uu"},
        {"OnPublishStateUpdate", Kind::Event, "St"},
        {"OnPlayStateUpdate", Kind::Event, "St"},
        {"OnLogout", Kind::Event, "e"},
        {"OnDisconnected", Kind::Event, "et"},
        {"OnReconnected", Kind::Event, "t"},
        {"OnPublishStateUpdate.number", Kind::Numbered, "Suu"},
        {"OnPlayStateUpdate.number", Kind::Numbered, "Suuu"},
        {"OnVideoSizeChanged.number", Kind::Numbered, "uii"},
        {"SetCallback", Kind::Callback, "c"},  // to app A, to B, to none, to one that is gone
        {"release", Kind::Callback, "C"},      // the application lets go of A or B
        {"status", Kind::Script, "oR"},        // what an engine operation answers
        {"text", Kind::Script, "gt"},          // what a getter of a text answers
        {"streams", Kind::Script, "l"},        // the engine's streams
        {"devices", Kind::Script, "L"},        // its devices, identifier and name
        {"setting", Kind::Script, "O"},        // app, sign, user or logfile, and its value
        {"AddCmd", Kind::Queue, "TNtjR"},      // type, number, text, how it joins, its status
        {"AddNull", Kind::Queue, ""},
        {"SetCmdExecuteCmdDone", Kind::Queue, "T"},
        {"answer", Kind::Queue, "S"},      // the event that the executing command waits for
        {"executing", Kind::Queue, ""},    // asks what executes
        {"mayCallBack", Kind::Queue, ""},  // asks whether events pass
        {"run", Kind::Run, "W"},           // 0, 2, or all until nothing is left
    };
    return s_operations;
}

const Operation* FindOperation(const std::string& name) {
    static const auto& s_byName = *[] {
        auto* const byName = new std::unordered_map<std::string, const Operation*>();
        for (const Operation& operation : Operations()) {
            byName->emplace(operation.name, &operation);
        }
        return byName;
    }();
    const auto it = s_byName.find(name);
    return it == s_byName.end() ? nullptr : it->second;
}

const Operation& OperationOf(const std::string& name) {
    return *FindOperation(name);
}

bool IsOfEngine(const std::string& op) {
    const Kind kind = OperationOf(op).kind;
    return kind == Kind::Event || kind == Kind::Numbered || op == "SetCmdExecuteCmdDone" ||
           op == "answer";
}

bool MayComplete(const std::string& op) {
    return op == "OnGetStreamList" || op == "OnLogout" || op == "OnPublishStateUpdate" ||
           op == "OnPlayStateUpdate" || op == "SetCmdExecuteCmdDone" || op == "answer";
}

const std::vector<std::string>& Places() {
    static const auto& s_places = *[] {
        auto* const places = new std::vector<std::string>();
        for (const Operation& operation : Operations()) {
            if (operation.kind <= Kind::Event && operation.name != "UploadLog") {
                places->push_back(operation.name);
            }
        }
        // An engine's; the connection's; a command of one's own; the end of an app object.
        for (const char* place :
             {"SetCallback", "http Init", "http UploadLogFile", "raw", "gone"}) {
            places->emplace_back(place);
        }
        return places;
    }();
    return s_places;
}

// ---- The written form ----------------------------------------------------------

namespace {

bool IsBare(const std::string& token) {
    return !token.empty() && std::all_of(token.begin(), token.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '-' || c == '.' || c == '_';
    });
}

std::string Token(const std::string& text) {
    return IsBare(text) ? text : "\"" + Escaped(text) + "\"";
}

// Takes a quoted token from `line` at `at`, which stands behind the first quote.
bool TakeQuoted(const std::string& line, std::size_t& at, std::string& token) {
    for (; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] != '\\') {
            token += line[at];
        } else if (line.compare(at, 2, "\\x") == 0 && at + 3 < line.size()) {
            token += static_cast<char>(std::strtol(line.substr(at + 2, 2).c_str(), nullptr, 16));
            at += 3;
        } else {
            return false;
        }
    }
    return at++ < line.size();
}

bool Split(const std::string& line, std::vector<std::string>& tokens) {
    std::size_t at = 0;
    while (at < line.size()) {
        std::string token;
        if (line[at] == '"') {
            if (!TakeQuoted(line, ++at, token)) {
                return false;
            }
        } else {
            const std::size_t end = std::min(line.find_first_of(" :", at), line.size());
            token = line.substr(at, end - at);
            at = end;
        }
        if (at < line.size() && line[at] == ':') {
            ++at;
        }
        at = std::min(line.find_first_not_of(' ', at), line.size());
        tokens.push_back(token);
    }
    return true;
}

bool ParseStep(const std::string& line, Step& step) {
    std::vector<std::string> tokens;
    if (!Split(line, tokens)) {
        return false;
    }
    std::size_t at = 0;
    if (tokens.size() > 2 && (tokens[0] == "in" || tokens[0] == "during")) {
        step.beside = tokens[0] == "during";
        step.place = tokens[1];
        at = 2;
        if (std::count(Places().begin(), Places().end(), step.place) == 0) {
            return false;
        }
    }
    step.op = tokens[at];
    if (FindOperation(step.op) == nullptr || (step.op == "run" && at != 0)) {
        return false;
    }
    step.args.assign(tokens.begin() + static_cast<std::ptrdiff_t>(at) + 1, tokens.end());
    // The letters l, L, r and O stand for several arguments.
    const std::string& args = OperationOf(step.op).args;
    return args.find_first_of("lLrO") != std::string::npos || args.size() == step.args.size();
}

}  // namespace

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c >= ' ' && c <= '~' && c != '\\' && c != '"') {
            escaped += c;
        } else {
            const char* const digits = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(c);
            escaped += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
        }
    }
    return escaped;
}

std::string Print(const Step& step) {
    std::string line;
    if (!step.place.empty()) {
        line = (step.beside ? "during " : "in ") + Token(step.place) + ": ";
    }
    line += step.op;
    for (const std::string& arg : step.args) {
        line += " " + Token(arg);
    }
    return line;
}

std::string Print(const Program& program) {
    std::string text;
    for (const Step& step : program) {
        text += Print(step) + "\n";
    }
    return text;
}

bool Parse(const std::string& text, Program& program, std::string& error) {
    program.clear();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        Step step;
        if (!ParseStep(line, step)) {
            error = line;
            return false;
        }
        program.push_back(std::move(step));
    }
    return true;
}

}  // namespace livemodel
