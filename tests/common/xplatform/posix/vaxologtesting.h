// What the log's tests share: sinks that watch, files that are read back, and a
// fixture that gives each case a folder of its own and the log its defaults back.
#ifndef VAXO_VAXOLOGTESTING_H
#define VAXO_VAXOLOGTESTING_H

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "vaxolog.h"

namespace vaxolog_testing {

namespace fs = std::filesystem;

// Where a re-executed child finds the files of its parent.
inline constexpr const char* kFolderVariable = "VAXOLOG_TEST_FOLDER";

inline constexpr std::size_t kMebibyte = std::size_t{1} << 20;

inline std::string ThreadId() {
    return std::to_string(::syscall(SYS_gettid));
}

// The way out of a child process, with everything that a return from main does.
[[noreturn]] inline void ExitNormally(int status) {
    std::exit(status);  // NOLINT(concurrency-mt-unsafe): once a process
}

inline std::vector<std::string> LinesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The text behind time, thread, level, tag and line.
inline std::string TextOf(const std::string& line) {
    std::size_t at = 0;
    for (int blank = 0; blank < 5; ++blank) {
        at = line.find(' ', at) + 1;
    }
    return line.substr(at);
}

inline std::vector<std::string> TextsOf(const std::string& path) {
    std::vector<std::string> texts;
    for (const std::string& line : LinesOf(path)) {
        texts.push_back(TextOf(line));
    }
    return texts;
}

// Takes texts "THREAD NUMBER..." and returns how many each thread has; the
// numbers of each thread must count up from 0 without a gap.
inline std::vector<int> CountInOrder(const std::vector<std::string>& texts, std::size_t threads) {
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

inline void RunThreads(std::size_t count, const std::function<void(std::size_t)>& body) {
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

// A text that nobody can read: formatting it ends the process.
inline const char* Unreadable() {
    static void* const s_page =
        ::mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<const char*>(s_page);
}

// The function under test without the compiler's check of the format, for the
// calls that the check would refuse; volatile, so that it does not see through.
inline void (*volatile g_logUnchecked)(int32, const char*, int32, const char*, ...) = syslog;

}  // namespace vaxolog_testing

#endif
