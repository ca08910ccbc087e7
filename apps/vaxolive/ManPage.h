// The manual, vaxolive(1), made from the command line's own definitions and the tables beside
// them: options, examples, exit codes, JSON fields, environment.
#ifndef VAXO_APPS_MANPAGE_H
#define VAXO_APPS_MANPAGE_H

#include <string>

namespace CLI {
class App;
}

namespace vaxoapp {

// In roff, for the macros of man.
std::string ManPage(const CLI::App& app);

}  // namespace vaxoapp

#endif
