// vaxolive: publish to and play from channels, on the command line.
//
// Uses the library's public interface alone. Each subcommand has a source file of its own;
// Visit.h is the way in and out of a channel, Session.h what is heard there.
#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <exception>

#include "Commands.h"
#include "Text.h"

namespace {

const char* const s_footer =
    "How it ends:\n"
    "  0  all went well, also after Ctrl-C\n"
    "  1  a file could not be read or written, a snapshot could not be taken, pictures differ\n"
    "  2  arguments, settings or sign key\n"
    "  3  the channel could not be entered\n"
    "  4  the publish failed\n"
    "  5  the play failed, no such stream\n"
    "  6  no answer in time\n"
    "  7  the log was not uploaded\n"
    "Ctrl-C leaves the channel properly; the second one ends at once (128 and the signal's\n"
    "number). Progress goes to the standard error, results to the standard output.\n"
    "Options win over environment variables, these over the --config file. The sign key comes\n"
    "from a file that only its owner can read, or from VAXO_SIGN_KEY; never from an option.";

// What is not understood, without values: somebody may have given a key that way.
int SayUnknown(const CLI::App& app) {
    std::string names;
    for (const std::string& word : app.remaining(true)) {
        if (word.size() > 1 && word[0] == '-') {
            names += " " + vaxoapp::Printable(word.substr(0, word.find('=')), 40);
        }
    }
    std::fprintf(stderr, "vaxolive: not understood:%s; see --help\n",
                 names.empty() ? " an argument too many" : names.c_str());
    return vaxoapp::Exit_Usage;
}

int Run(int argc, char** argv) {
    CLI::App app("Publishes to and plays from live channels.", "vaxolive");
    app.require_subcommand(1);
    app.footer(s_footer);
    const std::array<vaxoapp::Command, 7> commands = {
        vaxoapp::AddPublish(app), vaxoapp::AddPlay(app),      vaxoapp::AddList(app),
        vaxoapp::AddDevices(app), vaxoapp::AddUploadLog(app), vaxoapp::AddCompare(app),
        vaxoapp::AddTrace(app)};
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError&) {
        return SayUnknown(app);
    } catch (const CLI::Success& wish) {
        return app.exit(wish);  // help was asked for
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "vaxolive: %s; see --help\n", error.what());
        return vaxoapp::Exit_Usage;
    }
    for (const vaxoapp::Command& command : commands) {
        if (*command.parsed) {
            return command.run();
        }
    }
    return vaxoapp::Exit_Usage;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {  // memory, threads: what the standard library throws
        std::fprintf(stderr, "vaxolive: %s\n", error.what());
        return vaxoapp::Exit_Failed;
    }
}
