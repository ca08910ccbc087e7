#include <CLI/CLI.hpp>
#include <cstdio>

#include "Choices.h"
#include "Commands.h"
#include "Text.h"
#include "live/VaxoLiveProxy.h"

namespace vaxoapp {

namespace {

void Print(const char* kind, const Devices& devices, bool json) {
    for (const auto& [id, name] : devices) {
        const std::string line =
            json ? JsonObject().Text("kind", kind).Text("id", id).Text("name", name).Line()
                 : std::string(kind) + "\t" + Printable(id) + "\t" + Printable(name);
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
    }
}

// The engine tells its devices to anybody: identifier and key are made up and go nowhere.
ExitCode Run(bool json) {
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    vaxo::stream key;
    key.resize(32);
    live->Init(1, key);
    Print("video", VideoDevices(*live), json);
    Print("audio-in", AudioDevices(*live, AudioKind_Input), json);
    Print("audio-out", AudioDevices(*live, AudioKind_Output), json);
    live->Uninit();
    live->GetLiveChannel();  // a getter comes back after what was queued
    return Exit_Ok;
}

}  // namespace

Command AddDevices(CLI::App& app) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* const command = app.add_subcommand(
        "devices", "Print cameras, microphones and sound outputs: kind, identifier, name");
    command->add_flag("--json", *json, "One JSON object a line");
    return {command, [json] { return Run(*json); }};
}

}  // namespace vaxoapp
