#include "vaxolog.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "vaxologtesting.h"

namespace vaxolog_testing {
namespace {

// Cases whose body runs in a process of its own, which starts as this one did.
class VaxoLogProcess : public VaxoLog {
protected:
    VaxoLogProcess() {
        testing::GTEST_FLAG(death_test_style) = "threadsafe";
        const std::string folder = Folder();
        // NOLINTNEXTLINE(concurrency-mt-unsafe): as above
        ::setenv(kFolderVariable, folder.c_str(), 1);
    }
    ~VaxoLogProcess() override {
        ::unsetenv(kFolderVariable);  // NOLINT(concurrency-mt-unsafe): as above
    }

    static testing::Matcher<const std::string&> Silence() { return testing::Eq(std::string()); }
};

TEST_F(VaxoLogProcess, WithoutSinkAndFileNothingIsFormatted) {
    EXPECT_EXIT(
        {
            syslog(esyslog_grievous, "T", 1, "%s", Unreadable());
            vaxolog_flush();
            const bool isNamed = VAXO::g_strLogFileName__.length() != 0;
            ExitNormally(isNamed ? 1 : 0);
        },
        testing::ExitedWithCode(0), Silence());
}

TEST_F(VaxoLogProcess, TheDefaultLevelIsGeneric) {
    EXPECT_EXIT(
        {
            Opened();
            syslog(esyslog_generic, "T", 1, "generic");
            syslog(esyslog_debug, "T", 1, "debug");
            ExitNormally(0);
        },
        testing::ExitedWithCode(0), Silence());
    EXPECT_EQ(TextsOf(Path()), std::vector<std::string>{"generic"});
}

TEST_F(VaxoLogProcess, AFailedFirstOpenLeavesTheNameEmptyAndLogsNowhere) {
    EXPECT_EXIT(
        {
            const int32 result = vaxolog_open((Folder() + "/").c_str());
            syslog(esyslog_grievous, "T", 1, "%s", Unreadable());
            ExitNormally(result == -1 && VAXO::g_strLogFileName__.length() == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), Silence());
}

TEST_F(VaxoLogProcess, AFullDiskDropsLinesSilently) {
    if (::access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "needs /dev/full";
    }
    EXPECT_EXIT(
        {
            const int32 result = vaxolog_open("/dev/full");
            const std::string padding(2 * kMebibyte, 'd');
            for (int i = 0; i < 5; ++i) {
                syslog(esyslog_error, "T", 1, "short");
                syslog(esyslog_error, "T", 2, "%s", padding.c_str());
                vaxolog_flush();
            }
            ExitNormally(result);
        },
        testing::ExitedWithCode(0), Silence());
}

// Logs when it is destroyed, if told to.
struct LateLogger {
    ~LateLogger() {
        if (text != nullptr) {
            syslog(esyslog_error, "T", 1, "%s", text);
        }
    }
    const char* text = nullptr;
};
LateLogger g_lateLogger;  // older than the log's exit handler, so destroyed after it

TEST_F(VaxoLogProcess, ANormalExitLosesNoLine) {
    EXPECT_EXIT(
        {
            Opened();
            static LateLogger s_earlyLogger;  // destroyed before the log's exit handler
            s_earlyLogger.text = "0 2000";
            g_lateLogger.text = "0 2001";
            for (int number = 0; number < 2000; ++number) {
                syslog(esyslog_generic, "T", 1, "0 %d", number);
            }
            ExitNormally(0);
        },
        testing::ExitedWithCode(0), Silence());
    EXPECT_EQ(CountInOrder(TextsOf(Path()), 1), std::vector<int>{2002});
}

// Opens, flushes and logs during exit.
struct LateUser {
    ~LateUser() {
        if (!path.empty()) {
            const int32 result = vaxolog_open(path.c_str());
            vaxolog_flush();
            syslog(esyslog_error, "T", 1, "open answered %d", result);
            vaxolog_flush();
        }
    }
    std::string path;
};
LateUser g_lateUser;

TEST_F(VaxoLogProcess, DuringExitAnOpenIsRefusedAndAFlushReturns) {
    EXPECT_EXIT(
        {
            Opened();
            g_lateUser.path = Path("late.log");
            ExitNormally(0);
        },
        testing::ExitedWithCode(0), Silence());
    EXPECT_EQ(TextsOf(Path()), std::vector<std::string>{"open answered -1"});
    EXPECT_FALSE(fs::exists(Path("late.log")));
}

// A number that parent and child both see.
std::atomic<int>* SharedNumber(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ::ftruncate(file, sizeof(std::atomic<int>)) != 0) {
        std::abort();
    }
    void* memory =
        ::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    static_cast<void>(::close(file));
    return static_cast<std::atomic<int>*>(memory);  // zero bytes: the number 0
}

TEST_F(VaxoLogProcess, AThreadThatStillLogsDuringExitLosesNoLine) {
    EXPECT_EXIT(
        {
            Opened();
            std::atomic<int>* const logged = SharedNumber(Path("number"));
            for (std::size_t thread = 0; thread < 2; ++thread) {
                std::thread([thread, logged] {
                    for (int number = 0;; ++number) {
                        syslog(esyslog_generic, "T", 1, "%zu %d", thread, number);
                        if (thread == 0) {
                            *logged = number + 1;
                        }
                    }
                }).detach();
            }
            while (*logged < 1000) {
                std::this_thread::yield();
            }
            ExitNormally(0);
        },
        testing::ExitedWithCode(0), Silence());
    std::vector<std::string> texts;
    for (const char* name : {"a.3.log", "a.2.log", "a.1.log", "a.log"}) {
        for (std::string& text : TextsOf(Path(name))) {
            texts.push_back(std::move(text));
        }
    }
    const int logged = *SharedNumber(Path("number"));
    EXPECT_GE(logged, 1000);
    EXPECT_GE(CountInOrder(texts, 2)[0], logged);
}

}  // namespace
}  // namespace vaxolog_testing
