#include "vaxolog.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <condition_variable>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "vaxoformat.h"
#include "vaxologfile.h"
#include "vaxologlimit.h"

namespace VAXO {
vaxo::strutf8 g_strLogFileName__;
}  // namespace VAXO

namespace {

// Most lines fit, so that they cost one allocation.
constexpr std::size_t kUsualLine = 240;

std::atomic<int32> g_level{esyslog_generic};

// Tells the limit to those who ask before they log.
void Tell() {
    const int32 level = g_level.load(std::memory_order_relaxed);
    vaxolog_limit.store(level < esyslog_grievous ? INT_MIN : level, std::memory_order_relaxed);
}

// The usual level, unless another was set even before this.
const bool g_isTold = (Tell(), true);

// A sink from the vaxolog_set_sink that sets it to the one that replaces it.
struct Registration {
    vaxolog_sink sink;
    void* context;
    unsigned running;  // calls, on all threads; under Log::lock
    bool isReplaced;
};

// The sink calls that the current thread is in, innermost first.
struct Frame {
    const Registration* pRegistration;
    const Frame* pOuter;
};
thread_local const Frame* t_pFrame = nullptr;

struct Log {
    std::mutex lock;  // not held while a sink runs
    std::condition_variable left;
    std::shared_ptr<Registration> pSink;
    std::atomic<bool> hasSink{false};  // spares the lock
    CVAXOLogFile file;
};

Log& TheLog();

// The locks are taken in this order, so that the child finds them free and what
// they guard whole.
void BeforeFork() {
    TheLog().lock.lock();
    TheLog().file.BeforeFork();
}

void AfterForkInParent() {
    TheLog().file.AfterForkInParent();
    TheLog().lock.unlock();
}

// The sink goes too: it may need a lock that another thread held. Nobody waits
// for its calls, whose threads are not here.
void AfterForkInChild() {
    Log& log = TheLog();
    log.file.AfterForkInChild();
    log.hasSink.store(false, std::memory_order_relaxed);
    log.pSink.reset();
    log.lock.unlock();
}

// Never destroyed: threads may log until the very end of the process. The static
// reference keeps it reachable, so that it does not count as a leak.
Log& TheLog() {
    static Log& s_log = []() -> Log& {
        pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
        return *new Log;
    }();
    return s_log;
}

void ShutFile() {
    TheLog().file.Shut();
}

// Destroyed just before the name: vaxolog_open must not write it any more.
struct NameGuard {
    NameGuard() = default;
    ~NameGuard() { ShutFile(); }
    NameGuard(const NameGuard&) = delete;
    NameGuard& operator=(const NameGuard&) = delete;
};
const NameGuard g_nameGuard;

// Holds the sink in place for one call of it.
class SinkCall {
public:
    SinkCall() {
        Log& log = TheLog();
        if (!log.hasSink.load(std::memory_order_relaxed)) {
            return;
        }
        const std::lock_guard<std::mutex> guard(log.lock);
        m_pSink = log.pSink;
        if (m_pSink != nullptr) {
            ++m_pSink->running;
            m_frame = {m_pSink.get(), t_pFrame};
            t_pFrame = &m_frame;
        }
    }

    ~SinkCall() {
        if (m_pSink == nullptr) {
            return;
        }
        t_pFrame = m_frame.pOuter;
        Log& log = TheLog();
        const std::lock_guard<std::mutex> guard(log.lock);
        --m_pSink->running;
        if (m_pSink->isReplaced) {
            log.left.notify_all();
        }
    }

    SinkCall(const SinkCall&) = delete;
    SinkCall& operator=(const SinkCall&) = delete;

    bool HasSink() const { return m_pSink != nullptr; }

    void operator()(int32 level, const char* tag, int32 line, const char* text) const {
        m_pSink->sink(m_pSink->context, level, tag, line, text);
    }

private:
    std::shared_ptr<Registration> m_pSink;
    Frame m_frame{};
};

unsigned CallsOnThisThread(const Registration* pRegistration) {
    unsigned calls = 0;
    for (const Frame* pFrame = t_pFrame; pFrame != nullptr; pFrame = pFrame->pOuter) {
        if (pFrame->pRegistration == pRegistration) {
            ++calls;
        }
    }
    return calls;
}

// False when memory runs out; the line is dropped then.
bool Format(std::string& text, const char* format, va_list args) {
    try {
        text.reserve(kUsualLine);
        vaxo::format_append(text, format, args);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void AppendNumber(std::string& text, int32 number) {
    std::array<char, 12> digits;  // 32 bits need 10 and a sign
    char* const begin = digits.data();
    const char* const end = std::to_chars(begin, begin + digits.size(), number).ptr;
    text.append(begin, static_cast<std::size_t>(end - begin));
}

// As above, for the file: the level first.
bool FormatForFile(std::string& text, int32 level, const char* format, va_list args) {
    try {
        text.reserve(kUsualLine);
        AppendNumber(text, level);
        text.push_back(' ');
        vaxo::format_append(text, format, args);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void WriteLine(int32 level, const char* tag, int32 line, const char* format, va_list args) {
    // Local and not kept by the thread: threads log while they end, when their
    // own objects are gone, and sinks log in the middle of a line.
    std::string text;
    {
        const SinkCall call;
        if (call.HasSink()) {
            if (Format(text, format, args)) {
                call(level, tag, line, text.c_str());
            }
            return;
        }
    }
    CVAXOLogFile& file = TheLog().file;
    if (file.IsOpen() && FormatForFile(text, level, format, args)) {
        file.Write(tag, line, text);
    }
}

}  // namespace

void syslog(int32 level, const char* tag, int32 line, const char* format, ...) {
    const int32 limit = g_level.load(std::memory_order_relaxed);
    if (level > limit || limit < esyslog_grievous) {
        return;
    }
    const int formerErrno = errno;
    va_list args;
    va_start(args, format);
    WriteLine(level, tag == nullptr ? "" : tag, line, format, args);
    va_end(args);
    errno = formerErrno;
}

void vaxolog_set_sink(vaxolog_sink sink, void* context) {
    std::shared_ptr<Registration> pNew;
    if (sink != nullptr) {
        pNew = std::make_shared<Registration>(Registration{sink, context, 0, false});
    }
    Log& log = TheLog();
    std::unique_lock<std::mutex> guard(log.lock);
    const std::shared_ptr<Registration> pFormer = std::exchange(log.pSink, std::move(pNew));
    log.hasSink.store(sink != nullptr, std::memory_order_relaxed);
    if (pFormer == nullptr) {
        return;
    }
    pFormer->isReplaced = true;
    // Threads that replace sinks from inside sinks never wait in a circle. Say A
    // waits for B to leave the sink that A replaced, and B waits too. B entered
    // that sink before it replaced another, and one sink is current at a time, so
    // B's was the later one: along a chain of waiters the replacements get later.
    const unsigned own = CallsOnThisThread(pFormer.get());
    log.left.wait(guard, [&] { return pFormer->running == own; });
}

void vaxolog_set_level(int32 level) {
    g_level.store(level > esyslog_debug ? INT_MAX : level, std::memory_order_relaxed);
    Tell();
}

int32 vaxolog_open(const char* path) {
    const int32 result = TheLog().file.Open(path, VAXO::g_strLogFileName__);
    if (result == 0) {
        // From the first success on, so that what is destroyed after this point
        // of the exit logs synchronously. Where it cannot be registered, the
        // guard of the name does the same later.
        static const int s_registered = std::atexit(ShutFile);
        static_cast<void>(s_registered);
    }
    return result;
}

void vaxolog_flush() {
    TheLog().file.Flush();
}
