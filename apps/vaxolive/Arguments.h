// What the options of all commands have in common: checks whose complaints never show what was
// given, because somebody may have put a key there, and lists of words that help, completion and
// man page read again.
#ifndef VAXO_APPS_ARGUMENTS_H
#define VAXO_APPS_ARGUMENTS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vaxoapp {

// A number within these.
CLI::Validator Between(double least, double most);

// One of these words.
CLI::Validator OneOf(const std::vector<std::string>& words);

// Takes no value.
bool IsFlag(const CLI::Option& option);
// What an option takes, for people: its type's name without what the checks add ("LEVEL").
// Empty for a flag.
std::string TakenBy(const CLI::Option& option);
// The words of OneOf; empty when it has none.
std::vector<std::string> ChoicesOf(const CLI::Option& option);
// Files are among what it takes: "FILE" stands in its type's name.
bool TakesFile(const CLI::Option& option);

// Every way the options can be written that do not stand by their place: "--json", "-h".
std::vector<std::string> NamesOf(const CLI::Option& option);
std::vector<const CLI::Option*> NamedOptions(const CLI::App& command);
std::vector<const CLI::Option*> PlacedOptions(const CLI::App& command);
std::vector<const CLI::App*> CommandsOf(const CLI::App& app);

// The word that was probably meant: at most a third of its letters are wrong. Empty: none is
// near.
std::string Nearest(const std::string& word, const std::vector<std::string>& words);

}  // namespace vaxoapp

#endif
