// vaxolive: publish to and play from channels, on the command line.
//
// Uses the library's public interface alone. Each subcommand has a source file of its own;
// CommandLine.h puts them together, Visit.h is the way in and out of a channel, Session.h what
// is heard there.
#include <cstdio>
#include <exception>

#include "CommandLine.h"

int main(int argc, char** argv) {
    try {
        return vaxoapp::CommandLine().Run(argc, argv);
    } catch (const std::exception& error) {  // memory, threads: what the standard library throws
        std::fprintf(stderr, "vaxolive: %s\n", error.what());
        return vaxoapp::Exit_Failed;
    }
}
