#include "StatusLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>

#include "Text.h"

namespace vaxoapp {

namespace {

constexpr std::chrono::seconds kPlainEvery{5};

std::size_t TerminalWidth() {
    struct winsize size = {};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 20;
    return isKnown ? size.ws_col : std::size_t{80};
}

void Put(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

StatusLine::StatusLine(bool quiet) : m_quiet(quiet), m_isTerminal(::isatty(STDERR_FILENO) == 1) {}

StatusLine::~StatusLine() {
    if (!m_status.empty()) {
        Put("\n");
    }
}

void StatusLine::Draw() {
    // The cut leaves room for its three dots and keeps off the last column, where some
    // terminals wrap.
    Put("\r\033[K" + Printable(m_status, TerminalWidth() - 5));
}

void StatusLine::Print(const std::string& line) {
    if (m_status.empty()) {
        Put(line + "\n");
        return;
    }
    Put("\r\033[K" + line + "\n");
    Draw();
}

void StatusLine::Say(const std::string& line) {
    if (!m_quiet) {
        const std::lock_guard<std::mutex> guard(m_lock);
        Print(line);
    }
}

void StatusLine::Error(const std::string& line) {
    const std::lock_guard<std::mutex> guard(m_lock);
    Print("vaxolive: " + line);
}

void StatusLine::Show(const std::string& status) {
    if (m_quiet) {
        return;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_isTerminal) {
        m_status = status;
        Draw();
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= m_nextPlain) {
        m_nextPlain = now + kPlainEvery;
        Print(status);
    }
}

}  // namespace vaxoapp
