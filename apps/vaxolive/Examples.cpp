#include "Examples.h"

namespace vaxoapp {

std::string Example::Line() const {
    const std::string front = std::string("vaxolive ") + command;
    return *arguments == '\0' ? front : front + " " + arguments;
}

const std::vector<Example>& Examples() {
    static const std::vector<Example> s_examples = {
        {"publish", "--config servers.env --channel room --user ann",
         "Camera and microphone, until Ctrl-C:"},
        {"publish", "--config servers.env --channel room --video film.mp4 --audio film.mp4",
         "A film with its sound:"},
        {"publish",
         "--config servers.env --channel room --size 640x360 --fps 20 --bitrate 800k --window",
         "A smaller picture, shown in a window here too:"},
        {"publish", "--config servers.env --channel room --duration 60 --json",
         "For a minute, with what happens told to a program:"},
        {"play", "--config servers.env --channel room --window",
         "The channel's first stream, in a window:"},
        {"play",
         "--config servers.env --channel room --stream show --snapshot show.png "
         "--duration 10",
         "One stream for ten seconds, and a picture of it in a file:"},
        {"play", "--config servers.env --channel room --stream show --no-sound --json",
         "Without sound, with what happens told to a program:"},
        {"list", "--config servers.env --channel room", "The streams that there are now:"},
        {"list", "--config servers.env --channel room --follow --json",
         "These and all that changes, for a program, until Ctrl-C:"},
        {"devices", "", "What --video, --audio and --speaker can name:"},
        {"devices", "--json", "The same for a program:"},
        {"upload-log", "--config servers.env --channel room --log app.log",
         "The log of an earlier run, to the server:"},
        {"compare", "published.png played.png", "Is what was played what was published?"},
        {"compare", "--limit 25 --json published.png played.png",
         "More strictly, and for a program:"},
        {"trace", "app.log", "What a log tells about the calls of a run:"},
        {"trace", "--html page.html --chrome trace.json app.log",
         "The same as a page to look at, and for a trace viewer:"},
        {"completion", "bash",
         "The script that completes commands; eval \"$(vaxolive completion bash)\" loads it:"},
        {"man", "", "The manual; with | man -l - behind it, to read:"},
    };
    return s_examples;
}

std::string ExamplesText(const std::string& command) {
    std::string all;
    for (const Example& example : Examples()) {
        if (command == example.command) {
            all += std::string(all.empty() ? "Examples:" : "") + "\n  " + example.what + "\n    " +
                   example.Line();
        }
    }
    return all;
}

}  // namespace vaxoapp
