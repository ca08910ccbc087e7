#include "StatusLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>

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

StatusLine::StatusLine(bool quiet) : m_quiet(quiet), m_isTerminal(IsTerminal()) {}

StatusLine::~StatusLine() {
    if (!m_status.empty()) {
        Put("\n");
    }
}

void StatusLine::Draw() {
    // The cut leaves room for its three dots and keeps off the last column, where some
    // terminals wrap.
    Put("\r\033[K" + Painted(m_status, TerminalWidth() - 5));
}

void StatusLine::Print(const std::string& line) {
    if (m_status.empty()) {
        Put(line + "\n");
        return;
    }
    Put("\r\033[K" + line + "\n");
    Draw();
}

void StatusLine::Say(const std::string& line, Hue hue) {
    if (!m_quiet) {
        const std::lock_guard<std::mutex> guard(m_lock);
        Print(Painted(line, hue));
    }
}

void StatusLine::Error(const std::string& line) {
    const std::lock_guard<std::mutex> guard(m_lock);
    Print(Painted("vaxolive: " + line, Hue::Bad));
}

void StatusLine::Result(const std::string& line) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_status.empty()) {
        Put("\r\033[K");
    }
    const std::string whole = line + "\n";
    std::fwrite(whole.data(), 1, whole.size(), stdout);
    std::fflush(stdout);
    if (!m_status.empty()) {
        Draw();
    }
}

void StatusLine::Show(const std::vector<Piece>& status) {
    if (m_quiet || m_isTerminal) {
        ShowProgress(status);
        return;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    const Clock::time_point now = Clock::now();
    if (now >= m_nextPlain) {
        m_nextPlain = now + kPlainEvery;
        std::string line;
        for (const Piece& piece : status) {
            line += Painted(piece.text, piece.hue);
        }
        Print(line);
    }
}

void StatusLine::ShowProgress(const std::vector<Piece>& progress) {
    if (!IsLive()) {
        return;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (progress.empty() && !m_status.empty()) {
        Put("\r\033[K");
    }
    m_status = progress;
    if (!m_status.empty()) {
        Draw();
    }
}

}  // namespace vaxoapp
