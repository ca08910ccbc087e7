#include "vaxolog.h"

#include <fcntl.h>
#include <pthread.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "vaxologtesting.h"

namespace vaxolog_testing {
namespace {

using VaxoLogFile = VaxoLog;

TEST_F(VaxoLogFile, ALineInTheFileHasTimeThreadLevelTagLineAndText) {
    const std::string path = Opened();
    syslog(esyslog_generic, "CmdQueue", 88, "text %d", 5);
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    const std::regex shape(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} )" + ThreadId() +
                           " 3 CmdQueue:88 text 5");
    EXPECT_TRUE(std::regex_match(lines[0], shape)) << lines[0];
}

TEST_F(VaxoLogFile, EveryThreadsLineHasItsOwnId) {
    const std::string path = Opened();
    std::mutex lock;
    std::set<std::string> ids;
    RunThreads(4, [&](std::size_t) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            ids.insert(" " + ThreadId() + " 1 T:1 line");
        }
        syslog(esyslog_error, "T", 1, "line");
    });
    vaxolog_flush();
    std::set<std::string> found;
    for (const std::string& line : LinesOf(path)) {
        found.insert(line.substr(std::strlen("2026-11-21 10:11:12.123456")));
    }
    EXPECT_EQ(found, ids);
}

TEST_F(VaxoLogFile, NullTagAndNullTextAreEmptyInTheFile) {
    const std::string path = Opened();
    g_logUnchecked(esyslog_error, nullptr, -3, "[%s]", nullptr);
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" 1 :-3 []"), std::string::npos) << lines[0];
}

TEST_F(VaxoLogFile, LineEndsAreEscapedInTheFileAndNotInTheSink) {
    const std::string path = Opened();
    syslog(esyslog_error, "T\n", 1, "a\nb\r\nc%cd\n", 0);
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" 1 T\\n:1 a\\nb\\r\\nc\\0d\\n"), std::string::npos) << lines[0];

    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_error, "T", 1, "a\nb");
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].text, "a\nb");
}

TEST_F(VaxoLogFile, BracesAndPercentSignsOfTheTextStayInTheFile) {
    const std::string path = Opened();
    syslog(esyslog_error, "{}", 1, "{} {0} %s %%v", "%d %n {x}");
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" 1 {}:1 {} {0} %d %n {x} %v"), std::string::npos) << lines[0];
}

TEST_F(VaxoLogFile, TheLevelHoldsForTheFile) {
    const std::string path = Opened();
    syslog(esyslog_generic, "T", 1, "generic");
    syslog(esyslog_debug, "T", 1, "%s", Unreadable());
    vaxolog_set_level(esyslog_debug);
    syslog(esyslog_debug, "T", 1, "debug");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), (std::vector<std::string>{"generic", "debug"}));
}

TEST_F(VaxoLogFile, ALineOfAMebibyteIsWholeInTheFile) {
    const std::string path = Opened();
    const std::string text(kMebibyte, 'y');
    syslog(esyslog_generic, "T", 1, "<%s>", text.c_str());
    syslog(esyslog_generic, "T", 2, "after");
    vaxolog_flush();
    const std::vector<std::string> texts = TextsOf(path);
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_TRUE(texts[0] == "<" + text + ">");
    EXPECT_EQ(texts[1], "after");
}

TEST_F(VaxoLogFile, ASinkTakesTheLinesFromTheFileUntilItGoes) {
    const std::string path = Opened();
    Capture capture;
    syslog(esyslog_error, "T", 1, "one");
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_error, "T", 2, "two");
    vaxolog_set_sink(nullptr, nullptr);
    syslog(esyslog_error, "T", 3, "three");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), (std::vector<std::string>{"one", "three"}));
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].text, "two");
}

TEST_F(VaxoLogFile, AFlushSeesTheLinesOfAllThreadsBeforeIt) {
    constexpr std::size_t kThreads = 8;
    constexpr int kLines = 2000;
    const std::string path = Opened();
    RunThreads(kThreads, [&path](std::size_t thread) {
        for (int number = 0; number < kLines; ++number) {
            syslog(esyslog_generic, "T", 1, "%zu %d", thread, number);
            if (number % 97 == 0) {
                vaxolog_flush();
            }
            if (number % 1000 == 500) {
                vaxolog_flush();
                const std::vector<std::string> texts = TextsOf(path);
                int own = 0;
                for (const std::string& text : texts) {
                    own += text.compare(0, 2, std::to_string(thread) + " ") == 0 ? 1 : 0;
                }
                EXPECT_EQ(own, number + 1);
            }
        }
    });
    vaxolog_flush();
    EXPECT_EQ(CountInOrder(TextsOf(path), kThreads), std::vector<int>(kThreads, kLines));
}

TEST_F(VaxoLogFile, AFlushSeesALineThatAnotherThreadHandedOver) {
    const std::string path = Opened();
    for (int i = 0; i < 200; ++i) {
        std::thread([i] { syslog(esyslog_generic, "T", 1, "0 %d", i); }).join();
        vaxolog_flush();
        ASSERT_EQ(LinesOf(path).size(), static_cast<std::size_t>(i) + 1);
    }
}

TEST_F(VaxoLogFile, RotationLosesNoLineAndKeepsTheOrder) {
    constexpr std::size_t kThreads = 4;
    constexpr int kLines = 3200;  // of a kibibyte: more than two files full
    const std::string path = Opened("a.b.log");
    const std::string padding(1000, 'p');
    RunThreads(kThreads, [&padding](std::size_t thread) {
        for (int number = 0; number < kLines; ++number) {
            syslog(esyslog_generic, "T", 1, "%zu %d %s", thread, number, padding.c_str());
        }
    });
    vaxolog_flush();
    std::vector<std::string> texts;
    for (const char* name : {"a.b.2.log", "a.b.1.log", "a.b.log"}) {
        ASSERT_TRUE(fs::exists(Path(name))) << name;
        EXPECT_LE(fs::file_size(Path(name)), 5 * kMebibyte);
        for (std::string& text : TextsOf(Path(name))) {
            texts.push_back(std::move(text));
        }
    }
    EXPECT_FALSE(fs::exists(Path("a.b.3.log")));
    EXPECT_EQ(CountInOrder(texts, kThreads), std::vector<int>(kThreads, kLines));
}

TEST_F(VaxoLogFile, TheOldestFileGoesAfterThreeFormerOnes) {
    const std::string path = Opened();
    const std::string padding(3 * kMebibyte, 'q');  // one line a file
    for (int number = 0; number < 6; ++number) {
        syslog(esyslog_generic, "T", 1, "%d %s", number, padding.c_str());
    }
    vaxolog_flush();
    EXPECT_EQ(TextOf(LinesOf(path).at(0)).front(), '5');
    EXPECT_EQ(TextOf(LinesOf(Path("a.1.log")).at(0)).front(), '4');
    EXPECT_EQ(TextOf(LinesOf(Path("a.2.log")).at(0)).front(), '3');
    EXPECT_EQ(TextOf(LinesOf(Path("a.3.log")).at(0)).front(), '2');
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()), 4);
}

TEST_F(VaxoLogFile, ALineLongerThanAFileIsWhole) {
    const std::string path = Opened();
    const std::string text(6 * kMebibyte, 'z');
    syslog(esyslog_generic, "T", 1, "before");
    syslog(esyslog_generic, "T", 2, "%s", text.c_str());
    syslog(esyslog_generic, "T", 3, "after");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(Path("a.2.log")), std::vector<std::string>{"before"});
    EXPECT_TRUE(TextsOf(Path("a.1.log")) == std::vector<std::string>{text});
    EXPECT_EQ(TextsOf(path), std::vector<std::string>{"after"});
}

TEST_F(VaxoLogFile, OpeningSetsTheName) {
    const std::string path = Opened();
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), path.c_str());
}

TEST_F(VaxoLogFile, OpeningMakesTheFoldersThatAreMissing) {
    const std::string path = Opened("one/two/a.log");
    syslog(esyslog_error, "T", 1, "line");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), std::vector<std::string>{"line"});
}

TEST_F(VaxoLogFile, OpeningAppendsToWhatIsInTheFile) {
    std::ofstream(Path()) << "kept\n";
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "line");
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "kept");
    EXPECT_EQ(TextOf(lines[1]), "line");
}

TEST_F(VaxoLogFile, OpeningAnotherFileWritesOutTheFormer) {
    const std::string first = Opened("first.log");
    for (int number = 0; number < 500; ++number) {
        syslog(esyslog_error, "T", 1, "0 %d", number);
    }
    const std::string second = Opened("second.log");
    EXPECT_EQ(CountInOrder(TextsOf(first), 1), std::vector<int>{500});
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), second.c_str());
    syslog(esyslog_error, "T", 1, "next");
    vaxolog_flush();
    EXPECT_EQ(LinesOf(first).size(), 500U);
    EXPECT_EQ(TextsOf(second), std::vector<std::string>{"next"});
}

TEST_F(VaxoLogFile, OpeningTheSameFileAgainByItsOwnNameGoesOn) {
    const std::string path = Opened();
    for (int number = 0; number < 300; ++number) {
        syslog(esyslog_error, "T", 1, "0 %d", number);
        if (number % 50 == 0) {
            EXPECT_EQ(vaxolog_open(VAXO::g_strLogFileName__.c_str()), 0);
        }
    }
    vaxolog_flush();
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), path.c_str());
    EXPECT_EQ(CountInOrder(TextsOf(path), 1), std::vector<int>{300});
}

TEST_F(VaxoLogFile, OpeningTheSameFileAfterLinesThatRotateItGoesOnInTheNewFile) {
    constexpr std::size_t kLines = 1000;
    constexpr std::size_t kFitting = 990;
    const std::string text(1000, 'o');
    const std::size_t lineSize =
        ("2026-11-21 10:11:12.123456 " + ThreadId() + " 3 T:1 " + text + "\n").size();
    std::ofstream(Path()) << std::string(5 * kMebibyte - kFitting * lineSize - 1, 'x') << '\n';
    const std::string path = Opened();
    for (std::size_t i = 0; i < kLines; ++i) {
        syslog(esyslog_generic, "T", 1, "%s", text.c_str());
    }
    EXPECT_EQ(vaxolog_open(path.c_str()), 0);
    syslog(esyslog_generic, "T", 2, "after");
    vaxolog_flush();
    EXPECT_EQ(LinesOf(Path("a.1.log")).size(), 1 + kFitting);
    const std::vector<std::string> texts = TextsOf(path);
    ASSERT_EQ(texts.size(), kLines - kFitting + 1);
    EXPECT_EQ(texts.back(), "after");
}

#if defined(__GLIBC__)
TEST_F(VaxoLogFile, AThreadThatCannotBeHadRefusesTheFileAndTheFormerGoesOn) {
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "0 0");
    // No thread starts while each is to have most of the address space as its stack.
    pthread_attr_t former;
    ASSERT_EQ(::pthread_getattr_default_np(&former), 0);
    pthread_attr_t huge;
    ASSERT_EQ(::pthread_attr_init(&huge), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&huge, SIZE_MAX / 8 * 7 / kMebibyte * kMebibyte), 0);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
    EXPECT_EQ(vaxolog_open(Path("other.log").c_str()), -1);
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), path.c_str());
    syslog(esyslog_error, "T", 2, "0 1");
    EXPECT_EQ(LinesOf(path).size(), 2U) << "without a thread the caller writes";
    vaxolog_flush();
    ASSERT_EQ(::pthread_setattr_default_np(&former), 0);
    ::pthread_attr_destroy(&huge);
    ::pthread_attr_destroy(&former);
    EXPECT_EQ(vaxolog_open(path.c_str()), 0);
    syslog(esyslog_error, "T", 3, "0 2");
    vaxolog_flush();
    EXPECT_EQ(CountInOrder(TextsOf(path), 1), std::vector<int>{3});
    EXPECT_EQ(fs::file_size(Path("other.log")), 0U);
}
#endif

TEST_F(VaxoLogFile, FilesOpenedWhileThreadsLogHaveEveryLineOnce) {
    constexpr std::size_t kThreads = 4;
    constexpr int kLines = 1500;
    std::vector<std::string> paths{Opened("0.log")};
    std::thread opener([&] {
        for (int i = 1; i <= 20; ++i) {
            paths.push_back(Opened(std::to_string(i) + ".log"));
            vaxolog_flush();
        }
    });
    RunThreads(kThreads, [](std::size_t thread) {
        for (int number = 0; number < kLines; ++number) {
            syslog(esyslog_generic, "T", 1, "%zu %d", thread, number);
        }
    });
    opener.join();
    vaxolog_flush();
    std::vector<std::string> texts;
    for (const std::string& path : paths) {
        for (std::string& text : TextsOf(path)) {
            texts.push_back(std::move(text));
        }
    }
    EXPECT_EQ(CountInOrder(texts, kThreads), std::vector<int>(kThreads, kLines));
}

TEST_F(VaxoLogFile, TwoThreadsMayOpenAtOnce) {
    const std::string names[] = {Path("0.log"), Path("1.log")};
    RunThreads(2, [&names](std::size_t thread) {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(vaxolog_open(names[thread].c_str()), 0);
            syslog(esyslog_generic, "T", 1, "line");
        }
    });
    vaxolog_flush();
    EXPECT_EQ(LinesOf(names[0]).size() + LinesOf(names[1]).size(), 40U);
    const std::string last = VAXO::g_strLogFileName__.c_str();
    EXPECT_TRUE(last == names[0] || last == names[1]);
}

TEST_F(VaxoLogFile, APathThatCannotBeWrittenIsRefusedAndTheFormerFileGoesOn) {
    const std::string path = Opened();
    std::ofstream(Path("file")) << "not a folder";
    fs::create_directory(Path("folder"));
    syslog(esyslog_error, "T", 1, "before");
    EXPECT_EQ(vaxolog_open(nullptr), -1);
    EXPECT_EQ(vaxolog_open(""), -1);
    EXPECT_EQ(vaxolog_open(Path("folder").c_str()), -1);
    EXPECT_EQ(vaxolog_open(Path("folder/").c_str()), -1);
    EXPECT_EQ(vaxolog_open(Path("file/a.log").c_str()), -1);
    EXPECT_EQ(vaxolog_open("/proc/no/such/folder/a.log"), -1);
    EXPECT_EQ(vaxolog_open(Path(std::string(300, 'n')).c_str()), -1);
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), path.c_str());
    syslog(esyslog_error, "T", 2, "after");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), (std::vector<std::string>{"before", "after"}));
}

TEST_F(VaxoLogFile, AFileThatWasTakenAwayDoesNotDisturbTheCaller) {
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "before");
    vaxolog_flush();
    fs::remove(path);
    syslog(esyslog_error, "T", 2, "nowhere");
    vaxolog_flush();
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(VaxoLogFile, AFolderThatIsGoneAtARotationDropsLinesUntilItIsBack) {
    const std::string path = Opened("sub/a.log");
    const std::string padding(4 * kMebibyte, 'f');
    syslog(esyslog_generic, "T", 1, "%s", padding.c_str());
    vaxolog_flush();
    fs::rename(Path("sub"), Path("away"));
    std::ofstream(Path("sub")) << "no folder can be made here";
    syslog(esyslog_generic, "T", 2, "%s", padding.c_str());  // wants a new file
    syslog(esyslog_generic, "T", 3, "short");                // would fit into the former
    vaxolog_flush();
    fs::remove(Path("sub"));
    fs::rename(Path("away"), Path("sub"));
    vaxolog_flush();
    syslog(esyslog_generic, "T", 4, "back");
    vaxolog_flush();
    const std::vector<std::string> texts = TextsOf(path);
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.back(), "back");
}

#if defined(__linux__)
// The "Name:" and "SigBlk:" of the thread's status, by the thread's name.
std::string BlockedSignalsOf(const std::string& name) {
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
        const std::vector<std::string> status = LinesOf(task.path().string() + "/status");
        if (status.empty() || status[0] != "Name:\t" + name) {
            continue;
        }
        for (const std::string& line : status) {
            if (line.compare(0, 7, "SigBlk:") == 0) {
                return line.substr(8);
            }
        }
    }
    return {};
}

TEST_F(VaxoLogFile, TheFilesThreadHasANameAndBlocksSignals) {
    Opened();
    vaxolog_flush();  // the thread has named itself when it has flushed
    const std::string blocked = BlockedSignalsOf("vaxolog");
    ASSERT_FALSE(blocked.empty());
    const unsigned long long mask = std::stoull(blocked, nullptr, 16);
    for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGUSR1, SIGALRM}) {
        EXPECT_NE(mask & (1ULL << (signal - 1)), 0U) << signal;
    }
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        EXPECT_EQ(mask & (1ULL << (fault - 1)), 0U) << "for the crash reporter: " << fault;
    }
}

TEST_F(VaxoLogFile, AProgramThatIsStartedDoesNotInheritTheFile) {
    const std::string path = Opened();
    int found = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (fs::read_symlink(entry.path(), ignored) == path) {
            ++found;
            const int descriptor = std::stoi(entry.path().filename().string());
            EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
        }
    }
    EXPECT_EQ(found, 1);
}
#endif

}  // namespace
}  // namespace vaxolog_testing
