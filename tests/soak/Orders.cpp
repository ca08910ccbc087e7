#include "soak/Orders.h"

#include <functional>
#include <map>
#include <sstream>

namespace soak {

namespace {

constexpr int kNonsense = -1;

int SetSize(Strova::CVaxoLiveShow& engine, const std::string& value) {
    int width = 0;
    int height = 0;
    char between = 0;
    std::istringstream words(value);
    if (!(words >> width >> between >> height) || between != 'x') {
        return kNonsense;
    }
    return engine.SetVideoResolution(width, height);
}

}  // namespace

int Obey(Strova::CVaxoLiveShow& engine, const std::string& stream, const std::string& line) {
    std::istringstream words(line);
    std::string what;
    std::string value;
    words >> what >> value;
    const bool isOn = value == "on";
    if (isOn || value == "off") {
        const vaxo::strutf8 name(stream.c_str());
        const std::map<std::string, std::function<int()>> switches = {
            {"mic", [&] { return engine.EnableMic(isOn); }},
            {"cam", [&] { return engine.EnableCam(isOn); }},
            {"play",
             [&] { return isOn ? engine.PlayStream(name, 0) : engine.StopPlayStream(name); }}};
        const auto found = switches.find(what);
        return found == switches.end() ? kNonsense : found->second();
    }
    if (what == "size") {
        return SetSize(engine, value);
    }
    int number = 0;
    if (!(std::istringstream(value) >> number)) {
        return kNonsense;
    }
    const std::map<std::string, std::function<int()>> numbers = {
        {"bitrate", [&] { return engine.SetVideoBitrate(number); }},
        {"fps", [&] { return engine.SetVideoFPS(number); }},
        {"filter", [&] { return engine.SetFilter(number); }},
        {"beautify", [&] { return engine.EnableBeautifying(number); }},
        {"rotation", [&] { return engine.SetCaptureRotation(number); }}};
    const auto found = numbers.find(what);
    return found == numbers.end() ? kNonsense : found->second();
}

}  // namespace soak
