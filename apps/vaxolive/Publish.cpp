#include <CLI/CLI.hpp>

#include "Arguments.h"
#include "Choices.h"
#include "Commands.h"
#include "Text.h"
#include "Windows.h"

namespace vaxoapp {

namespace {

struct PublishOptions {
    Settings settings;
    std::string stream;
    std::string title;
    std::string video;
    std::string audio;
    std::string sizeText;
    std::string bitrateText;
    std::string snapshot;
    int fps = 0;
    int rotation = 0;
    int filter = 0;
    int beautify = 0;
    unsigned long previewWindow = 0;
    double duration = -1;
    double snapshotAfter = 1;
    bool noMic = false;
    bool noCam = false;
    bool window = false;
    bool interactive = false;
};

ExitCode ApplyVideo(Visit& visit, const PublishOptions& options) {
    Strova::CVaxoLiveProxy& live = visit.Live();
    int width = 0;
    int height = 0;
    int bitrate = 0;
    if (!options.sizeText.empty() && ParseSize(options.sizeText, width, height)) {
        live.SetVideoResolution(width, height);
    }
    if (!options.bitrateText.empty() && ParseBitrate(options.bitrateText, bitrate)) {
        live.SetVideoBitrate(bitrate);
    }
    if (options.fps != 0) {
        live.SetVideoFPS(options.fps);
    }
    live.SetCaptureRotation(options.rotation);
    live.SetFilter(options.filter);
    live.EnableBeautifying(options.beautify);
    live.EnableMic(!options.noMic);
    live.EnableCam(!options.noCam);
    std::string error;
    if (!SetVideoDevice(live, options.video, error) ||
        !SetAudioDevice(live, AudioKind_Input, options.audio, error)) {
        return visit.Fail(Exit_Usage, error);
    }
    return Exit_Ok;
}

void ShowPreview(Visit& visit, const PublishOptions& options, Windows& windows) {
    unsigned long window = options.previewWindow;
    if (options.window && window == 0) {
        if (windows.Open({"vaxolive: preview"}, 0, visit.SharedSession())) {
            window = windows.Id(0);
        } else {
            visit.Tell("no-screen", {}, "there is no screen: no preview", Hue::Warning);
        }
    }
    if (window != 0) {
        visit.Live().SetPreviewView(ViewOf(window));
        visit.Live().StartPreview();
    }
}

bool IsPublishOver(const SessionState& state) {
    return state.publish && IsOver(*state.publish);
}

// Starts and waits for what becomes of it.
ExitCode Start(Visit& visit, const std::string& stream, const std::string& title) {
    visit.Tell("publish-start", JsonObject().Text("stream", stream), "");
    visit.GetSession().With([](SessionState& state) { state.isPublishAsked = true; });
    visit.Live().StartPublishing(ToVaxo(title), ToVaxo(stream),
                                 ToVaxo(visit.GetSettings().channel));
    const Wake wake = visit.Await("waiting for the publish to begin", visit.Deadline(),
                                  [](const SessionState& state) {
                                      return state.publish && *state.publish != Mediq::TempBroken;
                                  });
    if (wake == Wake::Late) {
        return visit.Fail(Exit_Timeout, "no answer to the publish");
    }
    const auto state =
        visit.GetSession().With([](const SessionState& known) { return known.publish; });
    if (state && IsOver(*state)) {
        return visit.Fail(Exit_Publish, "cannot publish: " + StateText(*state));
    }
    return Exit_Ok;
}

ExitCode Inside(Visit& visit, const PublishOptions& options) {
    const std::string stream = options.stream.empty() ? visit.GetSettings().user : options.stream;
    const ExitCode started = Start(visit, stream, options.title.empty() ? stream : options.title);
    if (started != Exit_Ok || visit.MustStop()) {
        return started;
    }
    const Visit::Clock::time_point end = After(options.duration);
    visit.Tell(
        "published",
        JsonObject().Text("address", Unsigned(ToStd(visit.Live().GetCurrentPublishStreamURL()))),
        "published; Ctrl-C leaves", Hue::Good);
    Console console(visit, true);
    Console* const typed = options.interactive ? &console : nullptr;
    ExitCode code = Exit_Ok;
    Attended attended = Attended::Time;
    if (!options.snapshot.empty()) {
        attended = Attend(visit, typed, std::min(end, After(options.snapshotAfter)), IsPublishOver);
        std::string error;
        if (!visit.TakeSnapshot(std::nullopt, options.snapshot, error)) {
            code = visit.Fail(Exit_Failed, error);
        }
    }
    if (attended == Attended::Time) {
        attended = Attend(visit, typed, end, IsPublishOver);
    }
    if (attended == Attended::Over) {
        return visit.Fail(Exit_Publish, "the publish is over");
    }
    return code;
}

void AddPictureOptions(CLI::App& command, PublishOptions& options) {
    command.add_option("--video", options.video, "Camera of \"vaxolive devices\", or a file")
        ->type_name("DEVICE|FILE");
    command.add_option("--audio", options.audio, "Microphone of \"vaxolive devices\", or a file")
        ->type_name("DEVICE|FILE");
    command.add_option("--size", options.sizeText, "Such as 640x360")
        ->type_name("WxH")
        ->check([](const std::string& text) {
            int width = 0;
            int height = 0;
            return ParseSize(text, width, height)
                       ? std::string()
                       : std::string("not a size such as 640x360, even numbers from 64 to 3840");
        });
    command.add_option("--bitrate", options.bitrateText, "Bits a second: 800000, 800k, 2M")
        ->type_name("BITS")
        ->check([](const std::string& text) {
            int bitrate = 0;
            return ParseBitrate(text, bitrate) ? std::string()
                                               : std::string("not a bit rate from 32k to 20M");
        });
    command.add_option("--fps", options.fps, "Pictures a second")
        ->type_name("NUMBER")
        ->check(Between(1, 60));
    command.add_option("--rotation", options.rotation, "Degrees clockwise: 0, 90, 180 or 270")
        ->type_name("DEGREES")
        ->check(OneOf({"0", "90", "180", "270"}));
    command.add_option("--filter", options.filter, "Number of a filter, 0 for none")
        ->type_name("NUMBER")
        ->check(Between(0, 255));
    command
        .add_option("--beautify", options.beautify,
                    "Sum of 1 (smooth skin), 2 (white skin), 4 (sharp outlines); 0: off")
        ->type_name("SUM")
        ->check(Between(0, 7));
    command.add_flag("--no-mic", options.noMic, "Begin with silence");
    command.add_flag("--no-cam", options.noCam, "Begin with a black picture");
}

}  // namespace

Command AddPublish(CLI::App& app) {
    const auto options = std::make_shared<PublishOptions>();
    CLI::App* const command = app.add_subcommand("publish", "Publish camera and microphone");
    command->add_option("--stream", options->stream, "Name of the stream; else the user's")
        ->type_name("NAME");
    command->add_option("--title", options->title, "Title for others to see")->type_name("TEXT");
    AddPictureOptions(*command, *options);
    command->add_option("--preview-window", options->previewWindow, "X11 window to show it in")
        ->type_name("WINDOW")
        ->check(Between(1, 4294967295.0));
    command->add_flag("--window", options->window, "Show it in a window of its own");
    command->add_option("--duration", options->duration, "Leave after so many seconds")
        ->type_name("SECONDS")
        ->check(Between(0, 1e9));
    command->add_option("--snapshot", options->snapshot, "Write a picture to this PNG file")
        ->type_name("FILE");
    command
        ->add_option("--snapshot-after", options->snapshotAfter,
                     "Seconds after the start (default 1)")
        ->type_name("SECONDS")
        ->check(Between(0, 1e6));
    command->add_flag("--json", options->settings.json,
                      "Events on the standard output, one JSON object a line, in place of lines "
                      "for people");
    command->add_flag("--interactive", options->interactive,
                      "Take commands from the standard input; see \"help\" there");
    command->footer(Console::Help());
    AddSettingsOptions(*command, options->settings);
    return {command, [options] {
                Windows windows;  // open for as long as the engine may draw
                return RunInChannel(
                    options->settings, Needs::Media, options->interactive,
                    [&](Visit& visit) { return Inside(visit, *options); },
                    [&](Visit& visit) {
                        const ExitCode code = ApplyVideo(visit, *options);
                        if (code == Exit_Ok) {
                            ShowPreview(visit, *options, windows);
                        }
                        return code;
                    });
            }};
}

}  // namespace vaxoapp
