#include "vaxologfile.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <new>
#include <string>
#include <utility>

// Set before spdlog is read, and macros because it reads macros: the thread id is
// ours, which a forked child does not have from its parent and which costs no
// system call, and the file is not handed on to programs that the process starts.
#define SPDLOG_NO_THREAD_ID
#define SPDLOG_PREVENT_CHILD_FD

#include "spdlog/async_logger.h"
#include "spdlog/details/os.h"
#include "spdlog/details/thread_pool.h"
#include "spdlog/sinks/rotating_file_sink.h"
#include "vaxocacheline.h"
#include "vaxologline.h"
#include "vaxosignals.h"
#include "vaxothread.h"

namespace {

using spdlog::details::thread_pool;
using Clock = spdlog::log_clock;

// Small enough to upload over a phone's connection and to keep on its storage,
// large enough for hours of lines at the default level.
constexpr std::size_t kMaxFileBytes = std::size_t{5} * 1024 * 1024;
constexpr std::size_t kFormerFiles = 3;

// A line in waiting takes about 400 bytes of memory that is held while the file
// is open; the lines of a burst fit in.
constexpr std::size_t kQueuedLines = 1024;

// What is given to the system in one go while further lines wait.
constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;

// How long lines are dropped before a file that was taken away is tried again:
// a try costs tens of milliseconds.
constexpr std::chrono::seconds kRetryAfter{1};

// The end of the road: writes lines to the rotating file and counts flushes.
//
// Lines are gathered while further ones wait, and given to the system by the last
// of them: a line on its own is in the file when log returns. So a crash loses no
// more than the lines of a burst, a forked child has no copy of any (Freeze), and
// nothing is gathered when the C library cleans up at exit (Shut).
//
// Called by the queue's thread or, without a queue, by the logging threads. It
// catches everything: nobody behind it could do better than to drop the line.
class FileSink final : public spdlog::sinks::sink {
public:
    // Throws when the file cannot be opened.
    explicit FileSink(std::string path)
        : m_path(std::move(path)), m_pBuffer(std::make_unique<char[]>(kBufferBytes)) {
        OpenFile();
    }

    // Before each line that will come to log. Any thread.
    void Announce() { m_announced.fetch_add(1, std::memory_order_relaxed); }
    // It will not come after all.
    void Withdraw() { m_announced.fetch_sub(1, std::memory_order_relaxed); }

    void log(const spdlog::details::log_msg& msg) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_logged;
        try {
            if (!m_isOpen && msg.time >= m_retryAt) {
                OpenFile();
            }
            if (m_isOpen) {
                m_pFile->log(msg);
            }
            if (m_isOpen && m_announced.load(std::memory_order_relaxed) == m_logged) {
                m_pFile->flush();
            }
        } catch (...) {
            m_retryAt = msg.time + kRetryAfter;
        }
    }

    // Called once for every flush that File counts, and counts along, whatever
    // happens: somebody waits for the count. Also tries a lost file again.
    void flush() override {
        const std::lock_guard<std::mutex> guard(m_lock);
        try {
            if (!m_isOpen) {
                OpenFile();
            }
            m_pFile->flush();
        } catch (...) {
            m_retryAt = Clock::now() + kRetryAfter;
        }
        ++m_flushes;
        m_flushed.notify_all();
    }

    void WaitForFlushes(uint64 count) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_flushed.wait(guard, [&] { return m_flushes >= count; });
    }

    // Between the two nobody is in the middle of a line, and none is gathered.
    void Freeze() {
        m_lock.lock();
        try {
            if (m_isOpen) {
                m_pFile->flush();
            }
        } catch (...) {  // the line is lost
        }
    }
    void Unfreeze() { m_lock.unlock(); }

    // Before the C library cleans up: it writes out what files have gathered, and does so
    // without a file's lock when another thread keeps it for long. Then that thread's line came
    // twice. From here on nothing is gathered.
    void StopGathering() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_gathers = false;
        try {
            OpenFile();
        } catch (...) {
            m_retryAt = Clock::now() + kRetryAfter;
        }
    }

    void set_pattern(const std::string&) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

private:
    using RotatingFile = spdlog::sinks::rotating_file_sink_st;

    // The rotating file must not be used while it has no file: after a rotation
    // that could not make the new one it would write through a null pointer.
    // Its own events tell whether it has.
    void OpenFile() {
        m_pFile.reset();
        spdlog::file_event_handlers events;
        events.after_open = [this](const std::string&, std::FILE* pFile) {
            static_cast<void>(m_gathers ? std::setvbuf(pFile, m_pBuffer.get(), _IOFBF, kBufferBytes)
                                        : std::setvbuf(pFile, nullptr, _IONBF, 0));
            m_isOpen = true;
        };
        events.after_close = [this](const std::string&) { m_isOpen = false; };
        m_pFile =
            std::make_unique<RotatingFile>(m_path, kMaxFileBytes, kFormerFiles, false, events);
        m_pFile->set_formatter(std::make_unique<CVAXOLogLine>());
    }

    // Logging threads write the first, the queue's thread all others: apart, so that they do not
    // hand the same bytes to and fro for every line.
    alignas(vaxo_cache_line) std::atomic<uint64> m_announced{0};
    alignas(vaxo_cache_line) std::mutex m_lock;
    std::condition_variable m_flushed;
    uint64 m_flushes = 0;
    uint64 m_logged = 0;
    const std::string m_path;
    const std::unique_ptr<char[]> m_pBuffer;  // there for as long as the file uses it
    bool m_isOpen = false;
    bool m_gathers = true;
    Clock::time_point m_retryAt;
    std::unique_ptr<RotatingFile> m_pFile;
};

// Whether `path` can be appended to. The rotating file would find out as well,
// but it tries for 50 milliseconds.
bool CanAppend(const std::string& path) {
    spdlog::details::os::create_dir(spdlog::details::os::dir_name(path));
    std::FILE* pFile = nullptr;
    if (spdlog::details::os::fopen_s(&pFile, path, "ab")) {
        return false;
    }
    static_cast<void>(std::fclose(pFile));
    return true;
}

}  // namespace

// One open file. Used under the owner's lock.
struct CVAXOLogFile::File {
    // Throws when the file cannot be opened or the thread cannot be had.
    explicit File(const std::string& path) : pSink(std::make_shared<FileSink>(path)) {
        StartQueue();
    }

    void StartQueue();
    void StopQueue();
    void Write(std::string_view tag, int32 line, std::string_view text) const;
    uint64 Flush();

    std::shared_ptr<FileSink> pSink;
    std::shared_ptr<thread_pool> pQueue;  // null: lines are written by their callers
    std::shared_ptr<spdlog::async_logger> pLogger;
    uint64 flushes = 0;
    std::unique_ptr<File> pLostBefore;
};

// The logger is not registered with spdlog, whose registry dies at exit.
void CVAXOLogFile::File::StartQueue() {
    const CVAXOSignalsBlocked blocked;
    auto pNewQueue =
        std::make_shared<thread_pool>(kQueuedLines, 1, [] { vaxothread_set_name("vaxolog"); });
    pLogger = std::make_shared<spdlog::async_logger>("", pSink, pNewQueue,
                                                     spdlog::async_overflow_policy::block);
    pLogger->set_error_handler([](const std::string&) {});  // the default prints
    pQueue = std::move(pNewQueue);
}

// Returns when all that waited is in the file.
void CVAXOLogFile::File::StopQueue() {
    pQueue.reset();  // joins its thread
    pLogger.reset();
}

void CVAXOLogFile::File::Write(std::string_view tag, int32 line, std::string_view text) const {
    const auto view = [](std::string_view of) {
        return spdlog::string_view_t(of.data(), of.size());
    };
    spdlog::details::log_msg message(spdlog::source_loc{nullptr, line, nullptr}, view(tag),
                                     spdlog::level::info, view(text));
    message.thread_id = static_cast<std::size_t>(vaxothread_selfid());
    pSink->Announce();
    if (pQueue == nullptr) {
        pSink->log(message);
        return;
    }
    try {
        // Uncounted: the logger outlives the queue (StopQueue), and a count that two threads
        // change for every line costs as much as the copy of the line.
        pQueue->post_log(
            std::shared_ptr<spdlog::async_logger>(std::shared_ptr<void>(), pLogger.get()), message,
            spdlog::async_overflow_policy::block);
    } catch (...) {
        pSink->Withdraw();
        throw;
    }
}

// What to wait for: the sink's count when this flush is done.
uint64 CVAXOLogFile::File::Flush() {
    if (pQueue != nullptr) {
        pLogger->flush();
    } else {
        pSink->flush();
    }
    return ++flushes;
}

CVAXOLogFile::CVAXOLogFile() = default;
CVAXOLogFile::~CVAXOLogFile() = default;

int32 CVAXOLogFile::Open(const char* path, vaxo::strutf8& name) noexcept {
    if (path == nullptr || *path == '\0') {
        return -1;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    try {
        const std::string copy(path);  // `path` may be the text of `name`
        if (m_isShut || !CanAppend(copy)) {
            return -1;
        }
        // The two may be the same file, so the former writes all it has before
        // the new one looks at the size.
        if (m_pFile != nullptr) {
            m_pFile->StopQueue();
        }
        auto pFile = std::make_unique<File>(copy);
        name = copy.c_str();
        m_pFile = std::move(pFile);
        m_isOpen.store(true, std::memory_order_relaxed);
        return 0;
    } catch (...) {
        Resume();
        return -1;
    }
}

// Lets the file that Open stopped go on.
void CVAXOLogFile::Resume() noexcept {
    try {
        if (m_pFile != nullptr && m_pFile->pQueue == nullptr) {
            m_pFile->StartQueue();
        }
    } catch (...) {  // without a thread its callers write
    }
}

void CVAXOLogFile::Write(std::string_view tag, int32 line, std::string_view text) noexcept {
    const std::lock_guard<std::mutex> guard(m_lock);
    try {
        if (m_pFile != nullptr) {
            m_pFile->Write(tag, line, text);
        }
    } catch (...) {  // out of memory, the line is dropped
    }
}

void CVAXOLogFile::Flush() noexcept {
    std::shared_ptr<FileSink> pSink;
    uint64 count = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_pFile == nullptr) {
            return;
        }
        count = m_pFile->Flush();
        pSink = m_pFile->pSink;
    }
    pSink->WaitForFlushes(count);
}

void CVAXOLogFile::Shut() noexcept {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isShut = true;
    if (m_pFile != nullptr) {
        m_pFile->StopQueue();
        m_pFile->pSink->StopGathering();
    }
}

void CVAXOLogFile::BeforeFork() noexcept {
    m_lock.lock();
    if (m_pFile != nullptr) {
        m_pFile->pSink->Freeze();
    }
}

void CVAXOLogFile::AfterForkInParent() noexcept {
    if (m_pFile != nullptr) {
        m_pFile->pSink->Unfreeze();
    }
    m_lock.unlock();
}

// The file stays reachable and is never used or destroyed: its queue may be
// locked by a thread that is not here.
void CVAXOLogFile::AfterForkInChild() noexcept {
    m_isOpen.store(false, std::memory_order_relaxed);
    if (m_pFile != nullptr) {
        m_pFile->pSink->Unfreeze();
        m_pFile->pLostBefore = std::move(m_pLost);
        m_pLost = std::move(m_pFile);
    }
    m_lock.unlock();
}
