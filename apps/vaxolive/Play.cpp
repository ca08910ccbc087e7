#include <CLI/CLI.hpp>
#include <algorithm>

#include "Arguments.h"
#include "Choices.h"
#include "Commands.h"
#include "Text.h"
#include "Windows.h"

namespace vaxoapp {

namespace {

constexpr double kListedSoon = 3;  // seconds: how long a stream may take to appear in the list

struct PlayOptions {
    Settings settings;
    std::vector<std::string> streams;
    std::vector<unsigned long> windows;
    std::string speaker;
    std::string snapshot;
    double duration = -1;
    double snapshotAfter = 1;
    bool noSound = false;
    bool window = false;
    bool interactive = false;
};

// The streams to play: those that were named, or the first by name that there is. Empty when there
// is none in time.
std::vector<std::string> Choose(Visit& visit, const PlayOptions& options) {
    Session& session = visit.GetSession();
    if (options.streams.empty()) {
        visit.Await("waiting for a stream", visit.Deadline(),
                    [](const SessionState& state) { return !state.streams.empty(); });
        visit.AwaitList();  // they come in any order
        return session.With([](const SessionState& state) {
            return state.streams.empty() ? std::vector<std::string>()
                                         : std::vector<std::string>{state.streams.begin()->first};
        });
    }
    // The engine has the last word on a stream that does not appear.
    visit.Await("waiting for the stream", std::min(visit.Deadline(), After(kListedSoon)),
                [&](const SessionState& state) {
                    return std::all_of(
                        options.streams.begin(), options.streams.end(),
                        [&](const auto& id) { return state.streams.count(id) != 0; });
                });
    return options.streams;
}

void SetViews(Visit& visit, const PlayOptions& options, const std::vector<std::string>& streams,
              Windows& windows) {
    std::vector<unsigned long> ids = options.windows;
    if (options.window) {
        std::vector<std::string> titles;
        titles.reserve(streams.size());
        for (const std::string& stream : streams) {
            titles.push_back("vaxolive: " + Printable(stream));
        }
        if (windows.Open(titles, 660, visit.SharedSession())) {
            ids.clear();
            for (std::size_t i = 0; i < titles.size(); ++i) {
                ids.push_back(windows.Id(i));
            }
        } else {
            visit.Tell("no-screen", {}, "there is no screen: nothing is shown", Hue::Warning);
        }
    }
    for (std::size_t i = 0; i < ids.size() && i < streams.size(); ++i) {
        visit.Live().SetView(ViewOf(ids[i]), static_cast<unsigned int>(i));
    }
}

void Start(Visit& visit, const std::vector<std::string>& streams, Console& console) {
    visit.GetSession().With([&](SessionState& state) {
        for (const std::string& stream : streams) {
            state.plays[stream].reset();
        }
    });
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const auto channel = static_cast<unsigned int>(i);
        visit.Tell("play-start", JsonObject().Text("stream", streams[i]).Number("view", channel),
                   "");
        console.AddPlay(streams[i], channel);
        visit.Live().PlayStream(ToVaxo(streams[i]), channel);
    }
}

bool AllOver(const SessionState& state) {
    return std::all_of(state.plays.begin(), state.plays.end(),
                       [](const auto& play) { return play.second && IsOver(*play.second); });
}

// Exit_Ok when each ended by itself or still runs, or somebody left before it could.
ExitCode Result(Visit& visit, bool isTimeUp) {
    return visit.GetSession().With([&](const SessionState& state) {
        ExitCode code = Exit_Ok;
        for (const auto& [id, play] : state.plays) {
            if (!play && isTimeUp) {
                code = Exit_Timeout;
            } else if (play && IsOver(*play) && *play != Mediq::AVStateEnd) {
                return Exit_Play;
            }
        }
        return code;
    });
}

// Waits until each has an answer.
ExitCode AwaitStart(Visit& visit) {
    const Wake wake = visit.Await(
        "waiting for the play to begin", visit.Deadline(), [](const SessionState& state) {
            return std::all_of(state.plays.begin(), state.plays.end(), [](const auto& play) {
                return play.second && *play.second != Mediq::TempBroken;
            });
        });
    const ExitCode code = Result(visit, wake == Wake::Late);
    if (code != Exit_Ok) {
        visit.Fail(code, code == Exit_Play ? "cannot play" : "no answer to the play");
    }
    return code;
}

ExitCode Inside(Visit& visit, const PlayOptions& options, Windows& windows) {
    const std::vector<std::string> streams = Choose(visit, options);
    if (visit.MustStop()) {
        return Exit_Ok;
    }
    if (streams.empty()) {
        return visit.Fail(Exit_Play, "there is no stream in the channel");
    }
    SetViews(visit, options, streams, windows);
    Console console(visit, false);
    Start(visit, streams, console);
    ExitCode code = AwaitStart(visit);
    if (code == Exit_Timeout) {
        return code;
    }
    const Visit::Clock::time_point end = After(options.duration);
    Console* const typed = options.interactive ? &console : nullptr;
    Attended attended = Attended::Time;
    if (!options.snapshot.empty() && !visit.GetSession().With(AllOver)) {
        attended = Attend(visit, typed, std::min(end, After(options.snapshotAfter)), AllOver);
        std::string error;
        if (!visit.TakeSnapshot(0U, options.snapshot, error)) {
            visit.Fail(Exit_Failed, error);
            code = code == Exit_Ok ? Exit_Failed : code;
        }
    }
    if (attended == Attended::Time) {
        Attend(visit, typed, end, AllOver);
    }
    const ExitCode later = Result(visit, false);
    return code == Exit_Ok ? later : code;
}

}  // namespace

Command AddPlay(CLI::App& app) {
    const auto options = std::make_shared<PlayOptions>();
    CLI::App* const command = app.add_subcommand("play", "Play streams of the channel");
    command
        ->add_option("--stream", options->streams,
                     "Stream to play, may be given again; else the channel's first by name")
        ->allow_extra_args(false)
        ->type_name("NAME")
        ->check([](const std::string& text) {
            return text.empty() ? std::string("a stream has a name") : std::string();
        });
    command
        ->add_option("--view-window", options->windows,
                     "X11 window to show it in, one for each stream in the same order")
        ->allow_extra_args(false)
        ->type_name("WINDOW")
        ->check(Between(1, 4294967295.0));
    command->add_flag("--window", options->window, "Show each in a window of its own");
    command->add_option("--speaker", options->speaker, "Sound output of \"vaxolive devices\"")
        ->type_name("DEVICE");
    command->add_flag("--no-sound", options->noSound, "Begin without sound");
    command->add_option("--duration", options->duration, "Leave after so many seconds")
        ->type_name("SECONDS")
        ->check(Between(0, 1e9));
    command
        ->add_option("--snapshot", options->snapshot,
                     "Write a picture of the first stream to this PNG file")
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
    return {
        command, [options] {
            auto& streams = options->streams;
            for (auto one = streams.begin(); one != streams.end();) {
                one = std::find(streams.begin(), one, *one) == one ? one + 1 : streams.erase(one);
            }
            Windows windows;  // open for as long as the engine may draw
            return RunInChannel(
                options->settings, Needs::Media, options->interactive,
                [&](Visit& visit) { return Inside(visit, *options, windows); },
                [&](Visit& visit) {
                    std::string error;
                    visit.Live().EnableSpk(!options->noSound);
                    return SetAudioDevice(visit.Live(), AudioKind_Output, options->speaker, error)
                               ? Exit_Ok
                               : visit.Fail(Exit_Usage, error);
                });
        }};
}

}  // namespace vaxoapp
