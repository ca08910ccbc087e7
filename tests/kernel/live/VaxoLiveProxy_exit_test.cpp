// A process that ends in the middle of the proxy's work ends as if nothing was: status 0,
// and not a word, a sanitizer's included. Each scenario runs in a process of its own,
// which is this program again with "--scenario NAME".
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "kernel/live/ExitScenarios.h"
#include "kernel/live/OwnProcess.h"

namespace {

using livetest::ExpectCleanEnd;
using livetest::RunScenario;

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
    if (livetest::IsScenario(argc, argv)) {
        return livetest::RunExitScenario(argv[2], argv[3]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
