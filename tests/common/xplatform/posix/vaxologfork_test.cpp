#include "vaxolog.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "vaxologtesting.h"

namespace {

// In a forked child what the parent's threads held is a leak, and rightly so.
bool s_isForkedChild = false;

}  // namespace

// The leak sanitizer asks it at the exit, where there is one; it chose the name.
extern "C" VAXO_API int __lsan_is_turned_off();
extern "C" VAXO_API int __lsan_is_turned_off() {
    return s_isForkedChild ? 1 : 0;
}

namespace vaxolog_testing {
namespace {

class VaxoLogFork : public VaxoLog {
protected:
    // An open log file whose thread has started up and waits. Memory of a child that
    // is forked while another thread is inside the allocator is only safe where the
    // allocator sees to it; the address sanitizer's does not.
    std::string OpenedAndIdle() {
        std::string path = Opened();
        vaxolog_flush();
        return path;
    }
};

// The exit status of a forked child that runs `body` and leaves with 17 unless
// that leaves by itself; -1 when it did not exit.
int StatusOfChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        s_isForkedChild = true;
        ::alarm(60);  // ends a child that hangs, which fails the test
        body();
        ::_exit(17);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

TEST_F(VaxoLogFork, AForkedChildLogsNowhereAndExits) {
    const std::string path = OpenedAndIdle();
    syslog(esyslog_error, "T", 1, "before");
    EXPECT_EQ(StatusOfChild([] {
                  syslog(esyslog_error, "T", 2, "in the child");
                  vaxolog_flush();
                  ExitNormally(5);
              }),
              5);
    syslog(esyslog_error, "T", 3, "after");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), (std::vector<std::string>{"before", "after"}));
}

TEST_F(VaxoLogFork, AForkedChildHasNoCopyOfLinesThatStillWaited) {
    const std::string path = OpenedAndIdle();
    for (int number = 0; number < 1000; ++number) {
        syslog(esyslog_error, "T", 1, "0 %d", number);
    }
    EXPECT_EQ(StatusOfChild([] { ExitNormally(5); }), 5);
    vaxolog_flush();
    EXPECT_EQ(CountInOrder(TextsOf(path), 1), std::vector<int>{1000});
}

TEST_F(VaxoLogFork, AForkedChildDoesNotCallTheSink) {
    int calls = 0;
    FunctionSink sink{[&calls](const char*) { ++calls; }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    EXPECT_EQ(StatusOfChild([&calls] {
                  syslog(esyslog_error, "T", 1, "in the child");
                  ::_exit(calls);
              }),
              0);
    syslog(esyslog_error, "T", 2, "in the parent");
    EXPECT_EQ(calls, 1);
}

TEST_F(VaxoLogFork, AForkedChildMaySetASinkWhileTheParentsWasRunning) {
    Gate entered;
    Gate leave;
    FunctionSink sink{[&](const char*) {
        entered.Open();
        leave.Pass();
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    std::thread logger([] { syslog(esyslog_error, "T", 1, "line"); });
    entered.Pass();
    EXPECT_EQ(StatusOfChild([] {
                  int calls = 0;
                  FunctionSink own{[&calls](const char*) { ++calls; }};
                  vaxolog_set_sink(FunctionSink::Sink, &own);
                  syslog(esyslog_error, "T", 2, "in the child");
                  vaxolog_set_sink(nullptr, nullptr);
                  ::_exit(calls == 1 ? 0 : 1);
              }),
              0);
    leave.Open();
    logger.join();
}

TEST_F(VaxoLogFork, AForkInsideASinkLeavesTheSinkInTheChild) {
    int status = -1;
    FunctionSink sink{[&status](const char*) {
        status = StatusOfChild([] { syslog(esyslog_error, "T", 2, "nowhere"); });
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "line");
    EXPECT_EQ(status, 17);
}

TEST_F(VaxoLogFork, AForkedChildMayOpenAFileOfItsOwn) {
    const std::string path = OpenedAndIdle();
    const std::string own = Path("child.log");
    syslog(esyslog_error, "T", 1, "parent");
    const std::string parentId = ThreadId();
    EXPECT_EQ(StatusOfChild([&own, &parentId] {
                  if (vaxolog_open(own.c_str()) != 0 || ThreadId() == parentId) {
                      ::_exit(1);
                  }
                  syslog(esyslog_error, ThreadId().c_str(), 2, "child");
                  // A child of the child is a child all the same. This exit is the
                  // log's own, which writes what waits.
                  ExitNormally(StatusOfChild([] { syslog(esyslog_error, "T", 3, "grandchild"); }));
              }),
              17);
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), std::vector<std::string>{"parent"});
    const std::vector<std::string> lines = LinesOf(own);
    ASSERT_EQ(lines.size(), 1U);
    const std::regex shape("[^ ]+ [^ ]+ (\\d+) 1 (\\d+):2 child");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(lines[0], match, shape)) << lines[0];
    EXPECT_EQ(match[1], match[2]) << "the child's own thread id";
}

TEST_F(VaxoLogFork, AFolderWithoutPermissionIsRefused) {
    const fs::path folder = Path("closed");
    fs::create_directory(folder);
    fs::permissions(Folder(), fs::perms::all);
    fs::permissions(folder, fs::perms::all & ~fs::perms::owner_write & ~fs::perms::group_write &
                                ~fs::perms::others_write);
    // In a child, because the superuser may write everywhere and must step down.
    EXPECT_EQ(StatusOfChild([&folder] {
                  constexpr uid_t kNobody = 65534;
                  if (::geteuid() == 0 && ::seteuid(kNobody) != 0) {
                      ::_exit(2);
                  }
                  ::_exit(vaxolog_open((folder / "a.log").c_str()) == -1 ? 0 : 1);
              }),
              0);
}

TEST_F(VaxoLogFork, ForksWhileThreadsLogHarmNeither) {
    constexpr std::size_t kThreads = 3;
    constexpr int kLines = 1500;
    const std::string path = OpenedAndIdle();
    std::thread forker([] {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(StatusOfChild([] {
                          syslog(esyslog_error, "T", 2, "in the child");
                          vaxolog_flush();
                      }),
                      17);
        }
    });
    RunThreads(kThreads, [](std::size_t thread) {
        for (int number = 0; number < kLines; ++number) {
            syslog(esyslog_generic, "T", 1, "%zu %d", thread, number);
        }
    });
    forker.join();
    vaxolog_flush();
    EXPECT_EQ(CountInOrder(TextsOf(path), kThreads), std::vector<int>(kThreads, kLines));
}

}  // namespace
}  // namespace vaxolog_testing
