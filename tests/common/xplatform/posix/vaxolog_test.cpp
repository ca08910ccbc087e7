#include "vaxolog.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"

// The thread sanitizer cannot start a thread in the child of a process that has
// threads. A macro because each compiler says it in its own way.
#if defined(__SANITIZE_THREAD__)
#define VAXO_TEST_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VAXO_TEST_TSAN 1
#endif
#endif

namespace {

namespace fs = std::filesystem;

// Where a re-executed child finds the files of its parent.
constexpr const char* kFolderVariable = "VAXOLOG_TEST_FOLDER";

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

std::string ThreadId() {
    return std::to_string(::syscall(SYS_gettid));
}

// The function under test without the compiler's check of the format, for the
// calls that the check would refuse; volatile, so that it does not see through.
void (*volatile g_logUnchecked)(int32, const char*, int32, const char*, ...) = syslog;

// The way out of a child process, with everything that a return from main does.
[[noreturn]] void ExitNormally(int status) {
    std::exit(status);  // NOLINT(concurrency-mt-unsafe): once a process
}

std::vector<std::string> LinesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The text behind time, thread, level, tag and line.
std::string TextOf(const std::string& line) {
    std::size_t at = 0;
    for (int blank = 0; blank < 5; ++blank) {
        at = line.find(' ', at) + 1;
    }
    return line.substr(at);
}

std::vector<std::string> TextsOf(const std::string& path) {
    std::vector<std::string> texts;
    for (const std::string& line : LinesOf(path)) {
        texts.push_back(TextOf(line));
    }
    return texts;
}

// Takes texts "THREAD NUMBER..." and returns how many each thread has; the
// numbers of each thread must count up from 0 without a gap.
std::vector<int> CountInOrder(const std::vector<std::string>& texts, std::size_t threads) {
    std::vector<int> counts(threads, 0);
    for (const std::string& text : texts) {
        std::size_t thread = threads;
        int number = -1;
        std::istringstream(text) >> thread >> number;
        if (thread >= threads || number != counts[thread]) {
            ADD_FAILURE() << "out of order: " << text.substr(0, 40);
            break;
        }
        ++counts[thread];
    }
    return counts;
}

void RunThreads(std::size_t count, const std::function<void(std::size_t)>& body) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(body, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A door that opens once.
class Gate {
public:
    void Open() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isOpen = true;
        m_opened.notify_all();
    }
    void Pass() {
        std::unique_lock<std::mutex> guard(m_lock);
        m_opened.wait(guard, [this] { return m_isOpen; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_opened;
    bool m_isOpen = false;
};

// A sink that keeps what it gets.
struct Capture {
    struct Line {
        int32 level;
        std::string tag;
        int32 line;
        std::string text;
        std::thread::id thread;
    };

    static void Sink(void* context, int32 level, const char* tag, int32 line, const char* text) {
        auto* capture = static_cast<Capture*>(context);
        const std::lock_guard<std::mutex> guard(capture->lock);
        capture->lines.push_back({level, tag, line, text, std::this_thread::get_id()});
    }

    std::mutex lock;
    std::vector<Line> lines;
};

// A sink made of a function.
struct FunctionSink {
    static void Sink(void* context, int32, const char*, int32, const char* text) {
        static_cast<FunctionSink*>(context)->function(text);
    }

    std::function<void(const char*)> function;
};

class VaxoLog : public testing::Test {
protected:
    ~VaxoLog() override {
        vaxolog_set_sink(nullptr, nullptr);
        vaxolog_set_level(esyslog_generic);
        if (!m_folder.empty()) {
            std::error_code ignored;
            fs::remove_all(m_folder, ignored);
        }
    }

    // A folder of this test's own; in a re-executed child, that of its parent.
    std::string Folder() {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment is set before threads log
        if (const char* given = std::getenv(kFolderVariable)) {
            return given;
        }
        if (m_folder.empty()) {
            m_folder = testing::TempDir() + "vaxolog_test.XXXXXX";
            EXPECT_NE(::mkdtemp(m_folder.data()), nullptr);
        }
        return m_folder;
    }

    std::string Path(const std::string& name = "a.log") { return Folder() + "/" + name; }

    std::string Opened(const std::string& name = "a.log") {
        std::string path = Path(name);
        EXPECT_EQ(vaxolog_open(path.c_str()), 0);
        return path;
    }

private:
    std::string m_folder;
};

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

// ---- the sink ----

TEST_F(VaxoLog, ALineReachesTheSinkAsItWasLogged) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_error, "CmdQueue", 88, "%s(%llu/%s)", "StartPublish", 7ULL, "stream");
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].level, 1);
    EXPECT_EQ(capture.lines[0].tag, "CmdQueue");
    EXPECT_EQ(capture.lines[0].line, 88);
    EXPECT_EQ(capture.lines[0].text, "StartPublish(7/stream)");
}

TEST_F(VaxoLog, TheSinkRunsOnTheLoggingThreadBeforeTheCallReturns) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    std::thread([&capture] {
        syslog(esyslog_generic, "T", 1, "other");
        const std::lock_guard<std::mutex> guard(capture.lock);
        ASSERT_EQ(capture.lines.size(), 1U);
        EXPECT_EQ(capture.lines[0].thread, std::this_thread::get_id());
    }).join();
}

TEST_F(VaxoLog, TheLevelsAreNumberedFromGrievousToDebug) {
    EXPECT_EQ(esyslog_grievous, 0);
    EXPECT_EQ(esyslog_error, 1);
    EXPECT_EQ(esyslog_warning, 2);
    EXPECT_EQ(esyslog_generic, 3);
    EXPECT_EQ(esyslog_debug, 4);
}

TEST_F(VaxoLog, NullTagNullFormatAndNullTextAreEmpty) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    g_logUnchecked(esyslog_error, nullptr, 1, "[%s]", nullptr);
    g_logUnchecked(esyslog_error, "T", 2, nullptr, nullptr);
    ASSERT_EQ(capture.lines.size(), 2U);
    EXPECT_EQ(capture.lines[0].tag, "");
    EXPECT_EQ(capture.lines[0].text, "[]");
    EXPECT_EQ(capture.lines[1].text, "");
}

TEST_F(VaxoLog, TheStoreConversionWritesNothing) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    int count = 5;
    g_logUnchecked(esyslog_error, "T", 1, "abc%n", &count);
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].text, "abc");
    EXPECT_EQ(count, 5);
}

TEST_F(VaxoLog, ALongLineReachesTheSinkWhole) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    const std::string text(kMebibyte, 'x');
    syslog(esyslog_generic, "T", 1, "<%s>", text.c_str());
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_TRUE(capture.lines[0].text == "<" + text + ">");
}

TEST_F(VaxoLog, LinesUpToTheLevelPassAndLinesAboveDoNot) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    const auto passed = [&capture](int32 limit) {
        vaxolog_set_level(limit);
        capture.lines.clear();
        for (const int32 level : {-1, 0, 1, 2, 3, 4, 5, INT_MAX}) {
            syslog(level, "T", 1, "line");
        }
        return capture.lines.size();
    };
    EXPECT_EQ(passed(esyslog_grievous), 2U);
    EXPECT_EQ(passed(esyslog_error), 3U);
    EXPECT_EQ(passed(esyslog_warning), 4U);
    EXPECT_EQ(passed(esyslog_generic), 5U);
    EXPECT_EQ(passed(esyslog_debug), 6U);
    EXPECT_EQ(passed(5), 8U) << "above the last level everything passes";
    EXPECT_EQ(passed(INT_MAX), 8U);
    EXPECT_EQ(passed(-1), 0U) << "below the first level nothing passes";
    EXPECT_EQ(passed(INT_MIN), 0U);
}

// A text that nobody can read: formatting it ends the process.
const char* Unreadable() {
    static void* const s_page =
        ::mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<const char*>(s_page);
}

TEST_F(VaxoLog, ALineAboveTheLevelIsNotFormatted) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_debug, "T", 1, "%s", Unreadable());
    EXPECT_TRUE(capture.lines.empty());
}

TEST_F(VaxoLog, ErrnoIsLeftAlone) {
    FunctionSink sink{[](const char*) { errno = EBADF; }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    errno = ENOENT;
    syslog(esyslog_error, "T", 1, "line");
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(VaxoLog, ASinkMayLogAndGetsThatLineNested) {
    std::vector<std::string> order;
    FunctionSink sink;
    sink.function = [&order](const char* text) {
        order.push_back(std::string("in ") + text);
        if (std::strcmp(text, "outer") == 0) {
            syslog(esyslog_error, "T", 2, "inner of %s", text);
        }
        order.push_back(std::string("out ") + text);
    };
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "outer");
    EXPECT_EQ(order, (std::vector<std::string>{"in outer", "in inner of outer",
                                               "out inner of outer", "out outer"}));
}

TEST_F(VaxoLog, ASinkMayReplaceItself) {
    Capture second;
    int calls = 0;
    FunctionSink first{[&](const char*) {
        ++calls;
        vaxolog_set_sink(Capture::Sink, &second);
        syslog(esyslog_error, "T", 2, "from inside");
    }};
    vaxolog_set_sink(FunctionSink::Sink, &first);
    syslog(esyslog_error, "T", 1, "one");
    syslog(esyslog_error, "T", 3, "two");
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(second.lines.size(), 2U);
    EXPECT_EQ(second.lines[0].text, "from inside");
    EXPECT_EQ(second.lines[1].text, "two");
}

TEST_F(VaxoLog, ASinkMayReplaceItselfFromANestedCall) {
    Capture second;
    FunctionSink first{[&](const char* text) {
        if (std::strcmp(text, "nested") == 0) {
            vaxolog_set_sink(Capture::Sink, &second);
        } else {
            syslog(esyslog_error, "T", 2, "nested");
        }
    }};
    vaxolog_set_sink(FunctionSink::Sink, &first);
    syslog(esyslog_error, "T", 1, "outer");
    syslog(esyslog_error, "T", 3, "after");
    ASSERT_EQ(second.lines.size(), 1U);
    EXPECT_EQ(second.lines[0].text, "after");
}

TEST_F(VaxoLog, ReplacingASinkWaitsForItsCallsOnOtherThreads) {
    Gate entered;
    Gate replacing;
    std::atomic<bool> left{false};
    FunctionSink sink{[&](const char*) {
        entered.Open();
        replacing.Pass();
        // Time for a call that does not wait to come back too early.
        for (int i = 0; i < 2000; ++i) {
            std::this_thread::yield();
        }
        left = true;
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    std::thread logger([] { syslog(esyslog_error, "T", 1, "line"); });
    entered.Pass();
    replacing.Open();
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_TRUE(left);
    logger.join();
}

TEST_F(VaxoLog, TwoThreadsInsideOneSinkMayBothReplaceIt) {
    for (int round = 0; round < 50; ++round) {
        Capture last;
        std::atomic<int> inside{0};
        FunctionSink sink{[&](const char*) {
            for (++inside; inside < 2;) {
                std::this_thread::yield();
            }
            vaxolog_set_sink(Capture::Sink, &last);
        }};
        vaxolog_set_sink(FunctionSink::Sink, &sink);
        RunThreads(2, [](std::size_t) { syslog(esyslog_error, "T", 1, "both"); });
        syslog(esyslog_error, "T", 2, "after");
        vaxolog_set_sink(nullptr, nullptr);
        ASSERT_EQ(last.lines.size(), 1U);
    }
}

TEST_F(VaxoLog, AThreadThatIsWaitedForMayReplaceTheNextSink) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> inside{0};
        std::atomic<bool> isDone{false};
        FunctionSink second{[&isDone](const char*) {
            vaxolog_set_sink(nullptr, nullptr);
            isDone = true;
        }};
        FunctionSink first{[&](const char* text) {
            if (std::strcmp(text, "probe") == 0) {
                return;
            }
            for (++inside; inside < 2;) {
                std::this_thread::yield();
            }
            if (std::strcmp(text, "0") == 0) {
                vaxolog_set_sink(FunctionSink::Sink, &second);  // waits for the other
            }
            while (!isDone) {
                syslog(esyslog_error, "T", 2, "probe");
            }
        }};
        vaxolog_set_sink(FunctionSink::Sink, &first);
        RunThreads(2, [](std::size_t i) { syslog(esyslog_error, "T", 1, "%zu", i); });
        EXPECT_TRUE(isDone);
    }
}

TEST_F(VaxoLog, NoCallReachesASinkAfterItWasReplacedWhileThreadsLog) {
    struct Context {
        std::atomic<int> running{0};
        std::atomic<int> calls{0};
    };
    const vaxolog_sink sink = [](void* context, int32, const char*, int32, const char*) {
        auto* counted = static_cast<Context*>(context);
        ++counted->running;
        ++counted->calls;
        --counted->running;
    };
    auto current = std::make_unique<Context>();
    vaxolog_set_sink(sink, current.get());
    std::atomic<bool> stop{false};
    std::thread loggers([&stop] {
        RunThreads(4, [&stop](std::size_t) {
            while (!stop) {
                syslog(esyslog_error, "T", 1, "line");
                std::this_thread::yield();
            }
        });
    });
    for (int i = 0; i < 100; ++i) {
        while (current->calls == 0) {
            std::this_thread::yield();
        }
        auto next = std::make_unique<Context>();
        vaxolog_set_sink(sink, next.get());
        EXPECT_EQ(current->running, 0);
        current = std::move(next);  // frees the former, whose use the sanitizers would see
    }
    stop = true;
    loggers.join();
}

TEST_F(VaxoLog, ASinkMayFlushAndOpenAndChangeTheLevel) {
    const std::string path = Path();
    std::vector<int32> results;
    FunctionSink sink{[&](const char*) {
        vaxolog_flush();
        results.push_back(vaxolog_open(path.c_str()));
        vaxolog_set_level(esyslog_grievous);
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "first");
    syslog(esyslog_error, "T", 1, "above the new level");
    EXPECT_EQ(results, std::vector<int32>{0});
}

// ---- the file ----

TEST_F(VaxoLog, ALineInTheFileHasTimeThreadLevelTagLineAndText) {
    const std::string path = Opened();
    syslog(esyslog_generic, "CmdQueue", 88, "text %d", 5);
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    const std::regex shape(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} )" + ThreadId() +
                           " 3 CmdQueue:88 text 5");
    EXPECT_TRUE(std::regex_match(lines[0], shape)) << lines[0];
}

TEST_F(VaxoLog, EveryThreadsLineHasItsOwnId) {
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

TEST_F(VaxoLog, NullTagAndNullTextAreEmptyInTheFile) {
    const std::string path = Opened();
    g_logUnchecked(esyslog_error, nullptr, -3, "[%s]", nullptr);
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" 1 :-3 []"), std::string::npos) << lines[0];
}

TEST_F(VaxoLog, LineEndsAreEscapedInTheFileAndNotInTheSink) {
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

TEST_F(VaxoLog, BracesAndPercentSignsOfTheTextStayInTheFile) {
    const std::string path = Opened();
    syslog(esyslog_error, "{}", 1, "{} {0} %s %%v", "%d %n {x}");
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" 1 {}:1 {} {0} %d %n {x} %v"), std::string::npos) << lines[0];
}

TEST_F(VaxoLog, TheLevelHoldsForTheFile) {
    const std::string path = Opened();
    syslog(esyslog_generic, "T", 1, "generic");
    syslog(esyslog_debug, "T", 1, "%s", Unreadable());
    vaxolog_set_level(esyslog_debug);
    syslog(esyslog_debug, "T", 1, "debug");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), (std::vector<std::string>{"generic", "debug"}));
}

TEST_F(VaxoLog, ALineOfAMebibyteIsWholeInTheFile) {
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

TEST_F(VaxoLog, ASinkTakesTheLinesFromTheFileUntilItGoes) {
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

TEST_F(VaxoLog, AFlushSeesTheLinesOfAllThreadsBeforeIt) {
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

TEST_F(VaxoLog, AFlushSeesALineThatAnotherThreadHandedOver) {
    const std::string path = Opened();
    for (int i = 0; i < 200; ++i) {
        std::thread([i] { syslog(esyslog_generic, "T", 1, "0 %d", i); }).join();
        vaxolog_flush();
        ASSERT_EQ(LinesOf(path).size(), static_cast<std::size_t>(i) + 1);
    }
}

TEST_F(VaxoLog, RotationLosesNoLineAndKeepsTheOrder) {
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

TEST_F(VaxoLog, TheOldestFileGoesAfterThreeFormerOnes) {
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

TEST_F(VaxoLog, ALineLongerThanAFileIsWhole) {
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

TEST_F(VaxoLog, OpeningSetsTheName) {
    const std::string path = Opened();
    EXPECT_STREQ(VAXO::g_strLogFileName__.c_str(), path.c_str());
}

TEST_F(VaxoLog, OpeningMakesTheFoldersThatAreMissing) {
    const std::string path = Opened("one/two/a.log");
    syslog(esyslog_error, "T", 1, "line");
    vaxolog_flush();
    EXPECT_EQ(TextsOf(path), std::vector<std::string>{"line"});
}

TEST_F(VaxoLog, OpeningAppendsToWhatIsInTheFile) {
    std::ofstream(Path()) << "kept\n";
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "line");
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "kept");
    EXPECT_EQ(TextOf(lines[1]), "line");
}

TEST_F(VaxoLog, OpeningAnotherFileWritesOutTheFormer) {
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

TEST_F(VaxoLog, OpeningTheSameFileAgainByItsOwnNameGoesOn) {
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

TEST_F(VaxoLog, OpeningTheSameFileWhileItIsBeingRotatedGoesOnInTheNewFile) {
    const std::string path = Opened();
    const std::string padding(3 * kMebibyte, 'o');  // one line a file
    for (int number = 0; number < 3; ++number) {
        syslog(esyslog_generic, "T", 1, "%d %s", number, padding.c_str());
    }
    EXPECT_EQ(vaxolog_open(path.c_str()), 0);
    syslog(esyslog_generic, "T", 2, "after");
    vaxolog_flush();
    const std::vector<std::string> texts = TextsOf(path);
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0].front(), '2');
    EXPECT_EQ(texts[1], "after");
}

#if defined(__GLIBC__)
TEST_F(VaxoLog, AThreadThatCannotBeHadRefusesTheFileAndTheFormerGoesOn) {
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "0 0");
    // No thread starts while each is to have half of the address space as stack.
    pthread_attr_t former;
    ASSERT_EQ(::pthread_getattr_default_np(&former), 0);
    pthread_attr_t huge;
    ASSERT_EQ(::pthread_attr_init(&huge), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&huge, SIZE_MAX / 2 / kMebibyte * kMebibyte), 0);
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

TEST_F(VaxoLog, FilesOpenedWhileThreadsLogHaveEveryLineOnce) {
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

TEST_F(VaxoLog, TwoThreadsMayOpenAtOnce) {
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

TEST_F(VaxoLog, APathThatCannotBeWrittenIsRefusedAndTheFormerFileGoesOn) {
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

TEST_F(VaxoLog, AFileThatWasTakenAwayDoesNotDisturbTheCaller) {
    const std::string path = Opened();
    syslog(esyslog_error, "T", 1, "before");
    vaxolog_flush();
    fs::remove(path);
    syslog(esyslog_error, "T", 2, "nowhere");
    vaxolog_flush();
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(VaxoLog, AFolderThatIsGoneAtARotationDropsLinesUntilItIsBack) {
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

TEST_F(VaxoLog, TheFilesThreadHasANameAndBlocksSignals) {
    Opened();
    vaxolog_flush();  // the thread has named itself when it has flushed
    const std::string blocked = BlockedSignalsOf("vaxolog");
    ASSERT_FALSE(blocked.empty());
    const unsigned long long mask = std::stoull(blocked, nullptr, 16);
    for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGUSR1, SIGALRM}) {
        EXPECT_NE(mask & (1ULL << (signal - 1)), 0U) << signal;
    }
}

TEST_F(VaxoLog, AProgramThatIsStartedDoesNotInheritTheFile) {
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

// ---- processes ----

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

// The exit status of a forked child that runs `body` and leaves with 17 unless
// that leaves by itself; -1 when it did not exit.
int StatusOfChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
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

TEST_F(VaxoLog, AForkedChildLogsNowhereAndExits) {
    const std::string path = Opened();
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

TEST_F(VaxoLog, AForkedChildHasNoCopyOfLinesThatStillWaited) {
    const std::string path = Opened();
    for (int number = 0; number < 1000; ++number) {
        syslog(esyslog_error, "T", 1, "0 %d", number);
    }
    EXPECT_EQ(StatusOfChild([] { ExitNormally(5); }), 5);
    vaxolog_flush();
    EXPECT_EQ(CountInOrder(TextsOf(path), 1), std::vector<int>{1000});
}

TEST_F(VaxoLog, AForkedChildDoesNotCallTheSink) {
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

TEST_F(VaxoLog, AForkedChildMaySetASinkWhileTheParentsWasRunning) {
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

TEST_F(VaxoLog, AForkInsideASinkLeavesTheSinkInTheChild) {
    int status = -1;
    FunctionSink sink{[&status](const char*) {
        status = StatusOfChild([] { syslog(esyslog_error, "T", 2, "nowhere"); });
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "line");
    EXPECT_EQ(status, 17);
}

TEST_F(VaxoLog, AForkedChildMayOpenAFileOfItsOwn) {
#if defined(VAXO_TEST_TSAN)
    GTEST_SKIP() << "the thread sanitizer starts no thread there";
#endif
    const std::string path = Opened();
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

TEST_F(VaxoLog, AFolderWithoutPermissionIsRefused) {
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

TEST_F(VaxoLog, ForksWhileThreadsLogHarmNeither) {
    constexpr std::size_t kThreads = 3;
    constexpr int kLines = 1500;
    const std::string path = Opened();
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
