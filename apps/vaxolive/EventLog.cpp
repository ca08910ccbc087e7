#include "EventLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "Text.h"

namespace vaxoapp {

namespace {

long long MonotonicMillis() {
    struct timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

bool EventLog::Open(const std::string& path, std::string& error) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::FILE* const file = fd < 0 ? nullptr : ::fdopen(fd, "w");
    if (file == nullptr) {
        error = "events file " + Printable(path) + ": " + SystemError(errno);
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    m_file.reset(file);
    return true;
}

void EventLog::CopyToOutput() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isCopied = true;
}

void EventLog::Write(const char* kind, const JsonObject& fields) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_file && !m_isCopied) {
        return;
    }
    JsonObject whole;
    whole.Number("ms", MonotonicMillis()).Text("event", kind).Add(fields);
    const std::string line = whole.Line() + "\n";
    for (std::FILE* const file : {m_file.get(), m_isCopied ? stdout : nullptr}) {
        if (file != nullptr) {
            std::fwrite(line.data(), 1, line.size(), file);
            std::fflush(file);
        }
    }
}

}  // namespace vaxoapp
