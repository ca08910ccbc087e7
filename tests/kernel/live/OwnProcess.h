// Runs this program again as a process of its own, which does what its main makes of
// "--scenario NAME PATH", and tells how it ended. The process starts afresh, whatever
// threads the caller has.
#ifndef VAXO_TESTS_LIVE_OWNPROCESS_H
#define VAXO_TESTS_LIVE_OWNPROCESS_H

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace livetest {

struct FileCloser {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
typedef std::unique_ptr<std::FILE, FileCloser> File;

inline std::string Content(std::FILE* file) {
    std::string all;
    std::array<char, 4096> part{};
    std::rewind(file);
    for (std::size_t got = 1; got != 0;) {
        got = std::fread(part.data(), 1, part.size(), file);
        all.append(part.data(), got);
    }
    return all;
}

struct Ended {
    int status = -1;  // as waitpid tells it
    std::string out;
    std::string err;
};

// Runs a scenario to its end.
inline Ended RunScenario(const std::string& name, const std::string& path = "") {
    std::vector<std::string> texts = {std::filesystem::read_symlink("/proc/self/exe").string(),
                                      "--scenario", name, path};
    std::vector<char*> arguments;
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    const File out(std::tmpfile());
    const File err(std::tmpfile());
    Ended ended;
    posix_spawn_file_actions_t actions;
    if (!out || !err || ::posix_spawn_file_actions_init(&actions) != 0) {
        ADD_FAILURE() << "no files for the scenario's output";
        return ended;
    }
    ::posix_spawn_file_actions_adddup2(&actions, ::fileno(out.get()), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ::fileno(err.get()), STDERR_FILENO);
    pid_t child = 0;
    const int status =
        ::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(status, 0);
    if (status == 0) {
        EXPECT_EQ(::waitpid(child, &ended.status, 0), child);
        ended.out = Content(out.get());
        ended.err = Content(err.get());
    }
    return ended;
}

// Status 0, nothing on the standard error, and `words` is what the scenario printed.
inline void ExpectCleanEnd(const Ended& ended, const std::string& words) {
    EXPECT_TRUE(WIFEXITED(ended.status)) << "signal " << WTERMSIG(ended.status);
    EXPECT_EQ(WEXITSTATUS(ended.status), 0);
    EXPECT_EQ(ended.out, words);
    EXPECT_EQ(ended.err, "");
}

// For main: whether this is such a process.
inline bool IsScenario(int argc, char** argv) {
    return argc == 4 && std::string(argv[1]) == "--scenario";
}

}  // namespace livetest

#endif
