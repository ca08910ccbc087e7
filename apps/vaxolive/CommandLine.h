// The whole command line: every subcommand with its options, what is said about arguments that
// are not understood, and the run of the one that was named.
//
// What is said about an argument names options and never repeats a value: it may be a key.
#ifndef VAXO_APPS_COMMANDLINE_H
#define VAXO_APPS_COMMANDLINE_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "Commands.h"

namespace vaxoapp {

class CommandLine {
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // How the process is to end.
    int Run(int argc, const char* const* argv);

    CLI::App& App() { return m_app; }

private:
    int Refuse(const std::string& reason) const;
    int SayUnknown() const;
    int SayMissing(const std::string& reason) const;
    std::vector<std::string> Unknown() const;
    std::vector<std::string> OptionNames() const;
    void ChooseColours() const;

    CLI::App m_app;
    std::vector<Command> m_commands;
    std::string m_colour = "auto";
};

}  // namespace vaxoapp

#endif
