#include "runner/ThreadWatch.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vaxoengine {

namespace {

// The letter behind the thread's name, which stands in brackets and may hold any other
// character. 0 when there is none.
char StateIn(std::string_view stat) {
    const std::size_t bracket = stat.rfind(')');
    const std::size_t state = bracket + 2;
    return bracket != std::string_view::npos && state < stat.size() ? stat[state] : '\0';
}

}  // namespace

void AwaitGone(pid_t thread) {
    while (syscall(SYS_tgkill, getpid(), thread, 0) == 0) {
        sched_yield();
    }
}

SleepWatch::SleepWatch(pid_t thread)
    : m_file(open(("/proc/self/task/" + std::to_string(thread) + "/stat").c_str(),
                  O_RDONLY | O_CLOEXEC)) {
    if (m_file < 0) {
        throw std::runtime_error("no state of a thread to be had from /proc");
    }
}

SleepWatch::~SleepWatch() {
    close(m_file);
}

void SleepWatch::AwaitAsleep() {
    std::array<char, 512> stat;
    while (true) {
        const ssize_t length = pread(m_file, stat.data(), stat.size(), 0);
        if (length <= 0) {
            throw std::runtime_error("the watched thread has ended");
        }
        if (StateIn(std::string_view(stat.data(), static_cast<std::size_t>(length))) == 'S') {
            return;
        }
        sched_yield();
    }
}

}  // namespace vaxoengine
