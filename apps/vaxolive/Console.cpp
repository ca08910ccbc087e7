#include "Console.h"

#include <algorithm>
#include <functional>

#include "Choices.h"
#include "Text.h"
#include "Upload.h"

namespace vaxoapp {

struct Console::Command {
    const char* name;
    const char* arguments;
    std::size_t least;  // how many
    std::size_t most;
    std::function<std::string(Console&, const Arguments&)> run;
};

const std::vector<Console::Command>& Console::Commands() {
    typedef Strova::CVaxoLiveProxy Live;
    typedef const Arguments& Words;
    static const std::vector<Command> s_commands = {
        {"filter", "N", 1, 1,
         [](Console& c, Words w) { return c.Number(w[0], 0, 255, &Live::SetFilter); }},
        {"beautify", "0..7", 1, 1,
         [](Console& c, Words w) { return c.Number(w[0], 0, 7, &Live::EnableBeautifying); }},
        {"rotation", "0|90|180|270", 1, 1, [](Console& c, Words w) { return c.Rotation(w); }},
        {"mic", "on|off", 1, 1,
         [](Console& c, Words w) { return c.Switch(w[0], &Live::EnableMic); }},
        {"cam", "on|off", 1, 1,
         [](Console& c, Words w) { return c.Switch(w[0], &Live::EnableCam); }},
        {"sound", "on|off", 1, 1,
         [](Console& c, Words w) { return c.Switch(w[0], &Live::EnableSpk); }},
        {"size", "WxH", 1, 1, [](Console& c, Words w) { return c.Size(w); }},
        {"fps", "N", 1, 1,
         [](Console& c, Words w) { return c.Number(w[0], 1, 60, &Live::SetVideoFPS); }},
        {"bitrate", "BITS", 1, 1, [](Console& c, Words w) { return c.Bitrate(w); }},
        {"video", "DEVICE", 1, 1,
         [](Console& c, Words w) {
             std::string error;
             SetVideoDevice(c.m_visit.Live(), w[0], error);
             return error;
         }},
        {"audio", "DEVICE", 1, 1,
         [](Console& c, Words w) {
             std::string error;
             SetAudioDevice(c.m_visit.Live(), AudioKind_Input, w[0], error);
             return error;
         }},
        {"snapshot", "FILE.png [STREAM]", 1, 2, [](Console& c, Words w) { return c.Snapshot(w); }},
        {"upload", "", 0, 0, [](Console& c, Words w) { return c.Upload(w); }},
        {"play", "STREAM", 1, 1, [](Console& c, Words w) { return c.Play(w); }},
        {"end", "STREAM", 1, 1, [](Console& c, Words w) { return c.EndPlay(w); }},
        {"status", "", 0, 0, [](Console& c, Words w) { return c.Status(w); }},
        {"help", "", 0, 0,
         [](Console& c, Words) {
             c.Answer("help", JsonObject().Text("text", Help()), Help());
             return std::string();
         }},
        {"stop", "", 0, 0,
         [](Console& c, Words) {
             c.m_wantsToLeave = true;
             return std::string();
         }},
    };
    return s_commands;
}

std::string Console::Help() {
    std::string all = "Commands, one a line on the standard input:";
    for (const Command& command : Commands()) {
        all += std::string("\n  ") + command.name + " " + command.arguments;
    }
    return all;
}

void Console::AddPlay(const std::string& streamID, unsigned int channel) {
    m_plays[streamID] = channel;
    m_nextChannel = std::max(m_nextChannel, channel + 1);
}

bool Console::RunWaiting() {
    while (!m_wantsToLeave) {
        std::string line;
        bool isOver = false;
        const bool hasLine = m_visit.GetSession().With([&](SessionState& state) {
            isOver = state.lines.empty() && state.linesEnded;
            if (state.lines.empty()) {
                return false;
            }
            line = state.lines.front();
            state.lines.pop_front();
            return true;
        });
        if (!hasLine) {
            m_wantsToLeave = isOver;
            break;
        }
        Run(line);
    }
    return !m_wantsToLeave;
}

void Console::Run(const std::string& line) {
    Arguments words = Words(line);
    if (words.empty() || words[0][0] == '#') {
        return;
    }
    const std::string name = words[0];
    words.erase(words.begin());
    const auto& commands = Commands();
    const auto command = std::find_if(commands.begin(), commands.end(),
                                      [&](const Command& one) { return one.name == name; });
    std::string error;
    if (command == commands.end()) {
        error = "there is no such command; try help";
    } else if (words.size() < command->least || words.size() > command->most) {
        error = std::string("takes ") + (command->most == 0 ? "no arguments" : command->arguments);
    } else {
        error = command->run(*this, words);
    }
    const std::string shown = Printable(line);
    m_visit.Tell("command", JsonObject().Text("line", line).Text("error", error), "");
    if (!m_visit.GetSettings().json) {
        m_visit.Print(error.empty() ? "ok " + shown : "error " + shown + ": " + error);
    }
}

void Console::Answer(const char* kind, const JsonObject& fields, const std::string& line) {
    if (m_visit.GetSettings().json) {
        m_visit.Tell(kind, fields, "");
    } else {
        m_visit.Print(line);
    }
}

std::string Console::Number(const std::string& word, int least, int most,
                            int (Strova::CVaxoLiveProxy::*operation)(int)) {
    long long value = 0;
    if (!ParseNumber(word, least, most, value)) {
        return "takes a number from " + std::to_string(least) + " to " + std::to_string(most);
    }
    (m_visit.Live().*operation)(static_cast<int>(value));
    return {};
}

std::string Console::Switch(const std::string& word,
                            int (Strova::CVaxoLiveProxy::*operation)(bool)) {
    if (word != "on" && word != "off") {
        return "takes on or off";
    }
    (m_visit.Live().*operation)(word == "on");
    return {};
}

std::string Console::Rotation(const Arguments& words) {
    long long degrees = 0;
    if (!ParseNumber(words[0], 0, 270, degrees) || degrees % 90 != 0) {
        return "takes 0, 90, 180 or 270";
    }
    m_visit.Live().SetCaptureRotation(static_cast<int>(degrees));
    return {};
}

std::string Console::Size(const Arguments& words) {
    int width = 0;
    int height = 0;
    if (!ParseSize(words[0], width, height)) {
        return "takes a size such as 640x360, even numbers from 64 to 3840";
    }
    m_visit.Live().SetVideoResolution(width, height);
    return {};
}

std::string Console::Bitrate(const Arguments& words) {
    int bitrate = 0;
    if (!ParseBitrate(words[0], bitrate)) {
        return "takes bits a second, 32k to 20M";
    }
    m_visit.Live().SetVideoBitrate(bitrate);
    return {};
}

std::string Console::Snapshot(const Arguments& words) {
    std::optional<unsigned int> play;
    if (words.size() == 2) {
        const auto found = m_plays.find(words[1]);
        if (found == m_plays.end()) {
            return "this stream is not played";
        }
        play = found->second;
    } else if (!m_isPublisher) {
        play = 0;
    }
    std::string error;
    m_visit.TakeSnapshot(play, words[0], error);
    return error;
}

std::string Console::Upload(const Arguments&) {
    std::string error;
    unsigned long long sent = 0;
    UploadLog(m_visit, error, sent);
    return error;
}

std::string Console::Play(const Arguments& words) {
    if (m_plays.count(words[0]) == 0) {
        AddPlay(words[0], m_nextChannel);
    }
    m_visit.GetSession().With([&](SessionState& state) { state.plays[words[0]].reset(); });
    m_visit.Live().PlayStream(ToVaxo(words[0]), m_plays[words[0]]);
    return {};
}

std::string Console::EndPlay(const Arguments& words) {
    if (m_plays.count(words[0]) == 0) {
        return "this stream is not played";
    }
    m_visit.Live().StopPlayStream(ToVaxo(words[0]));
    return {};
}

std::string Console::Status(const Arguments&) {
    const JsonObject fields = m_visit.StatusFields();
    Answer("status", fields, fields.Line());
    return {};
}

}  // namespace vaxoapp
