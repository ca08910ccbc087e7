#include "conformance/engine/KitProcess.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "kernel/live/OwnProcess.h"

namespace conformance {

namespace {

// This process' environment with the fault, and with times that suit an engine in memory.
std::vector<std::string> Surroundings(const std::string& fault) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (text.rfind("VAXO_CONFORMANCE_", 0) != 0 && text.rfind("GTEST_", 0) != 0) {
            all.push_back(text);
        }
    }
    all.push_back("VAXO_MEMORY_FAULT=" + fault);
    all.emplace_back("VAXO_CONFORMANCE_LIMIT_MS=3000");
    all.emplace_back("VAXO_CONFORMANCE_QUIET_MS=10");
    return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

KitRun RunKit(const std::string& fault, const std::string& filter) {
    std::vector<std::string> words = {VAXO_MEMORY_KIT, "--gtest_fail_fast",
                                      "--gtest_filter=" + filter};
    std::vector<std::string> surroundings = Surroundings(fault);
    const livetest::File out(std::tmpfile());
    posix_spawn_file_actions_t actions;
    KitRun run;
    if (!out || ::posix_spawn_file_actions_init(&actions) != 0) {
        ADD_FAILURE() << "no file for the kit's output";
        return run;
    }
    ::posix_spawn_file_actions_adddup2(&actions, ::fileno(out.get()), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ::fileno(out.get()), STDERR_FILENO);
    pid_t child = 0;
    int status = -1;
    const int started = ::posix_spawn(&child, VAXO_MEMORY_KIT, &actions, nullptr,
                                      Pointers(words).data(), Pointers(surroundings).data());
    ::posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(started, 0);
    if (started == 0) {
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        run.output = livetest::Content(out.get());
        run.passed = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    return run;
}

}  // namespace conformance
