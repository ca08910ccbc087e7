#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "conformance/platform/toy/Fault.h"
#include "vaxoformat.h"
#include "vaxolog.h"
#include "vaxothread.h"

namespace VAXO {
vaxo::strutf8 g_strLogFileName__;
}  // namespace VAXO

namespace {

struct Sink {
    vaxolog_sink function;
    void* context;
    int running = 0;  // calls, on all threads
};

struct Log {
    std::mutex mutex;
    std::condition_variable left;
    std::shared_ptr<Sink> sink;
    std::FILE* file = nullptr;
};

Log& TheLog() {
    static auto& s_log = *new Log();
    return s_log;
}

std::atomic<int32> g_level{esyslog_generic};
thread_local std::vector<const Sink*> t_inside;  // the sinks that this thread is in

void Give(const Sink& sink, int32 level, const char* tag, int32 line, const std::string& text) {
    const auto call = [&](const std::string& part) {
        sink.function(sink.context, level, tag, line, part.c_str());
    };
    const std::size_t most = toy::Is("log-splits-lines") ? 256 : std::string::npos;
    std::size_t at = 0;
    do {
        const std::string part = text.substr(at, most);
        if (toy::Is("log-other-thread")) {
            std::thread(call, part).join();
        } else {
            call(part);
        }
        at = most == std::string::npos ? text.size() : at + most;
    } while (at < text.size());
}

// False when there is no sink.
bool GiveToSink(int32 level, const char* tag, int32 line, const std::string& text) {
    Log& log = TheLog();
    std::unique_lock<std::mutex> guard(log.mutex);
    const std::shared_ptr<Sink> sink = log.sink;
    if (sink == nullptr) {
        return false;
    }
    ++sink->running;
    guard.unlock();
    t_inside.push_back(sink.get());
    Give(*sink, level, tag, line, text);
    t_inside.pop_back();
    guard.lock();
    --sink->running;
    log.left.notify_all();
    return true;
}

void WriteToFile(int32 level, const char* tag, int32 line, const std::string& text) {
    std::string whole = "0000-00-00 00:00:00.000000 " + std::to_string(vaxothread_selfid()) + " " +
                        std::to_string(level) + " " + tag + ":" + std::to_string(line) + " ";
    for (const char each : text) {
        whole += each == '\n' ? "\\n" : std::string(1, each);
    }
    whole += '\n';
    const std::lock_guard<std::mutex> guard(TheLog().mutex);
    if (TheLog().file != nullptr) {
        std::fwrite(whole.data(), 1, whole.size(), TheLog().file);
    }
}

}  // namespace

void syslog(int32 level, const char* tag, int32 line, const char* format, ...) {
    const int32 limit = g_level;
    if (!toy::Is("log-ignores-the-level") && (level > limit || limit < esyslog_grievous)) {
        return;
    }
    const int former = errno;
    std::string text;
    std::va_list args;
    va_start(args, format);
    vaxo::format_append(text, format, args);
    va_end(args);
    if (toy::Is("log-prints-null") && text == "[]") {
        text = "[(null)]";
    }
    const char* const name = tag == nullptr ? "" : tag;
    if (!GiveToSink(level, name, line, text)) {
        WriteToFile(level, name, line, text);
    }
    errno = former;
}

void vaxolog_set_sink(vaxolog_sink function, void* context) {
    std::shared_ptr<Sink> sink;
    if (function != nullptr) {
        sink = std::make_shared<Sink>(Sink{function, context});
    }
    Log& log = TheLog();
    std::unique_lock<std::mutex> guard(log.mutex);
    const std::shared_ptr<Sink> former = std::exchange(log.sink, sink);
    if (former != nullptr) {
        const auto own = std::count(t_inside.begin(), t_inside.end(), former.get());
        log.left.wait(guard, [&] { return former->running == own; });
    }
}

void vaxolog_set_level(int32 level) {
    g_level = level > esyslog_debug ? INT32_MAX : level;
}

int32 vaxolog_open(const char* path) {
    if (path == nullptr || *path == '\0') {
        return -1;
    }
    std::error_code refused;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), refused);
    std::FILE* const file = std::fopen(path, "ae");
    if (file == nullptr) {
        return -1;
    }
    const std::lock_guard<std::mutex> guard(TheLog().mutex);
    if (TheLog().file != nullptr) {
        static_cast<void>(std::fclose(TheLog().file));
    }
    TheLog().file = file;
    VAXO::g_strLogFileName__ = path;
    return 0;
}

void vaxolog_flush() {
    const std::lock_guard<std::mutex> guard(TheLog().mutex);
    if (TheLog().file != nullptr && !toy::Is("log-flush-does-nothing")) {
        static_cast<void>(std::fflush(TheLog().file));
    }
}
