// A process that ends in the middle of the proxy's work ends as if nothing was: status 0,
// and not a word, a sanitizer's included. Each scenario runs in a process of its own,
// which is this program again with "--scenario NAME".
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "kernel/live/ExitScenarios.h"

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
typedef std::unique_ptr<std::FILE, FileCloser> File;

std::string Content(std::FILE* file) {
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
Ended RunScenario(const std::string& name, const std::string& path = "") {
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

// `words`: what the scenario printed on its way.
void ExpectCleanEnd(const Ended& ended, const std::string& words) {
    EXPECT_TRUE(WIFEXITED(ended.status)) << "signal " << WTERMSIG(ended.status);
    EXPECT_EQ(WEXITSTATUS(ended.status), 0);
    EXPECT_EQ(ended.out, words);
    EXPECT_EQ(ended.err, "");
}

}  // namespace

TEST(LiveProxyExit, MainReturnsWhileAnEngineCallBlocks) {
    ExpectCleanEnd(RunScenario("EngineCallBlocks"), "");
}

TEST(LiveProxyExit, AnEngineCallGoesOnAfterMainAndIsAnswered) {
    ExpectCleanEnd(RunScenario("EngineCallGoesOn"), "went on\n");
}

TEST(LiveProxyExit, MainReturnsWhileACallbackBlocks) {
    ExpectCleanEnd(RunScenario("CallbackBlocks"), "");
}

TEST(LiveProxyExit, ACallbackGoesOnAfterMainAndCallsTheProxy) {
    ExpectCleanEnd(RunScenario("CallbackGoesOn"), "went on\n");
}

TEST(LiveProxyExit, MainReturnsWhileAThousandCommandsWaitAndNoneIsDestroyed) {
    ExpectCleanEnd(RunScenario("ThousandWait"), "waiting\n");
}

TEST(LiveProxyExit, EventsGoOnWhileStaticObjectsAreDestroyed) {
    ExpectCleanEnd(RunScenario("EventsGoOn"), "events\n");
}

TEST(LiveProxyExit, EventsGoOnAndEveryLogLineIsWhole) {
    std::string folder = testing::TempDir() + "vaxoexit_test.XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/a.log";
    ExpectCleanEnd(RunScenario("EventsGoOnIntoALog", path), "events\n");
    std::ifstream file(path, std::ios::binary);
    const std::string log((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_NE(log.find(" 3 CmdProxy:"), std::string::npos);
    EXPECT_EQ(log.empty() ? '\0' : log.back(), '\n');
    std::filesystem::remove_all(folder);
}

TEST(LiveProxyExit, ACallbackCallsExit) {
    ExpectCleanEnd(RunScenario("ExitInACallback"), "left\n");
}

TEST(LiveProxyExit, AnEngineCallCallsExit) {
    ExpectCleanEnd(RunScenario("ExitInAnEngineCall"), "left\n");
}

TEST(LiveProxyExit, ASnapshotCallsExitOnTheEnginesThread) {
    ExpectCleanEnd(RunScenario("ExitInASnapshot"), "left\n");
}

TEST(LiveProxyExit, HandlersAndStaticObjectsUseItAfterMain) {
    ExpectCleanEnd(RunScenario("UseAfterMain"),
                   "main\nhandler after\nobject after\nobject before\nhandler before\nlate\n");
}

TEST(LiveProxyExit, ItIsFirstUsedAfterMain) {
    ExpectCleanEnd(RunScenario("FirstUseAfterMain"), "handler\nlate\n");
}

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--scenario") {
        return livetest::RunExitScenario(argv[2], argv[3]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
