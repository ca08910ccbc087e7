// Linked into the tests that script/test-emulated runs. Under user-mode emulation a program
// that starts another one of its own kind hands it to the real kernel, which cannot run it.
// These two, which the tests and GoogleTest use, put the emulator in front. A shared library
// that stands before the C library, so that its functions are found first.
#include <spawn.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

// The emulator's command line; it takes the program's argv[0] from the path. (The cast is for
// the C interface, which changes no argument.)
std::vector<char*> Emulated(const char* path, char* const* arguments) {
    static std::string s_emulator = VAXO_EMULATOR;
    std::vector<char*> all = {s_emulator.data(), const_cast<char*>(path)};
    for (char* const* next = arguments + 1; *next != nullptr; ++next) {
        all.push_back(*next);
    }
    all.push_back(nullptr);
    return all;
}

}  // namespace

extern "C" int execv(const char* path, char* const* arguments) noexcept {
    return ::execvp(VAXO_EMULATOR, Emulated(path, arguments).data());
}

extern "C" int posix_spawn(pid_t* child, const char* path,
                           const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const* arguments,
                           char* const* environment) {
    return ::posix_spawnp(child, VAXO_EMULATOR, actions, attributes,
                          Emulated(path, arguments).data(), environment);
}
