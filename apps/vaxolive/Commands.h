// The subcommands. Each adds its own to the command line; what it answers is how the process
// ends.
#ifndef VAXO_APPS_COMMANDS_H
#define VAXO_APPS_COMMANDS_H

#include <chrono>
#include <functional>
#include <memory>

#include "Console.h"
#include "Visit.h"

namespace CLI {
class App;
}

namespace vaxoapp {

struct Command {
    CLI::App* parsed = nullptr;  // true in a condition once it was named
    std::function<ExitCode()> run;
};

Command AddPublish(CLI::App& app);
Command AddPlay(CLI::App& app);
Command AddList(CLI::App& app);
Command AddDevices(CLI::App& app);
Command AddUploadLog(CLI::App& app);
Command AddCompare(CLI::App& app);
Command AddTrace(CLI::App& app);
// These two tell what the whole command line is, which must outlive them.
Command AddCompletion(CLI::App& app);
Command AddMan(CLI::App& app);

// What the commands share.

// Resolves the settings, enters the channel, lets `inside` do its work, and leaves. When
// leaving takes too long it ends the process: then nothing else would be safe.
ExitCode RunInChannel(Settings settings, Needs needs, bool readLines,
                      const std::function<ExitCode(Visit&)>& inside,
                      const std::function<ExitCode(Visit&)>& before = nullptr);

enum class Attended { Over, Leaving, Time };

// Keeps the status current and runs typed-in commands until `end`, until `isOver` (called
// under the session's lock), or until somebody wants to leave. `console` may be null.
Attended Attend(Visit& visit, Console* console, Visit::Clock::time_point end,
                const std::function<bool(const SessionState&)>& isOver);

// Now and so many seconds; for ever when negative.
Visit::Clock::time_point After(double seconds);

}  // namespace vaxoapp

#endif
