// The script that completes commands in bash, made from the command line's own definitions:
// subcommands, options, words that an option takes, files.
#ifndef VAXO_APPS_COMPLETION_H
#define VAXO_APPS_COMPLETION_H

#include <string>

namespace CLI {
class App;
}

namespace vaxoapp {

// Needs bash 4 or later and nothing else.
std::string BashCompletion(const CLI::App& app);

}  // namespace vaxoapp

#endif
