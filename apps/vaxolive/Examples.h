// The examples of --help and of the man page. Each is a command that works as it is written,
// where "servers.env" is a settings file: a test reads every one, and runs it.
#ifndef VAXO_APPS_EXAMPLES_H
#define VAXO_APPS_EXAMPLES_H

#include <string>
#include <vector>

namespace vaxoapp {

struct Example {
    const char* command;    // the subcommand
    const char* arguments;  // behind it, between blanks
    const char* what;       // what it does, for people

    std::string Line() const;  // as one types it
};

// In the order in which they are shown.
const std::vector<Example>& Examples();

// Those of one subcommand, two lines each, below a heading; empty when it has none.
std::string ExamplesText(const std::string& command);

}  // namespace vaxoapp

#endif
