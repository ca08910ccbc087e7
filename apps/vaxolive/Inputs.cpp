#include "Inputs.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace vaxoapp {

namespace {

constexpr std::size_t kMostLine = 4096;
constexpr std::size_t kMostWaiting = 100;  // lines; the rest waits in the pipe

bool IsIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

Inputs::Inputs(std::shared_ptr<Session> session, bool readLines)
    : m_session(std::move(session)), m_readLines(readLines) {
    sigset_t wanted;
    ::sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!IsIgnored(signal)) {
            ::sigaddset(&wanted, signal);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &wanted, &m_before);
    ::signal(SIGPIPE, SIG_IGN);
    m_signals = ::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    m_end = ::eventfd(0, EFD_CLOEXEC);
    m_thread = std::thread([this] { Run(); });
}

Inputs::~Inputs() {
    const std::uint64_t one = 1;
    static_cast<void>(::write(m_end, &one, sizeof(one)) == sizeof(one));
    m_thread.join();
    ::close(m_signals);
    ::close(m_end);
    // What is left of the process can be ended as any other.
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void Inputs::Run() {
    for (;;) {
        const bool isFull = m_readLines && m_session->LinesWaiting() >= kMostWaiting;
        const bool listens = m_readLines && !isFull;
        std::array<struct pollfd, 3> fds = {
            {{m_end, POLLIN, 0}, {m_signals, POLLIN, 0}, {listens ? STDIN_FILENO : -1, POLLIN, 0}}};
        if (::poll(fds.data(), fds.size(), isFull ? 50 : -1) < 0 && errno != EINTR) {
            return;
        }
        if (fds[0].revents != 0) {
            return;
        }
        if (fds[1].revents != 0) {
            OnSignal();
        }
        if (fds[2].revents != 0 && !OnInput()) {
            m_readLines = false;
            if (!m_line.empty()) {
                OnText("\n", 1);
            }
            m_session->PostLinesEnd();
        }
    }
}

void Inputs::OnSignal() {
    struct signalfd_siginfo info = {};
    if (::read(m_signals, &info, sizeof(info)) != static_cast<ssize_t>(sizeof(info))) {
        return;
    }
    if (m_wasAsked) {
        std::_Exit(128 + static_cast<int>(info.ssi_signo));
    }
    m_wasAsked = true;
    m_session->AskToLeave();
}

bool Inputs::OnInput() {
    std::array<char, 1024> part{};
    const ssize_t got = ::read(STDIN_FILENO, part.data(), part.size());
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
        return true;
    }
    if (got <= 0) {
        return false;
    }
    OnText(part.data(), static_cast<std::size_t>(got));
    return true;
}

// A line that is too long becomes one that no command has.
void Inputs::OnText(const char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        if (text[i] != '\n') {
            m_isTooLong = m_isTooLong || m_line.size() >= kMostLine;
            if (!m_isTooLong) {
                m_line += text[i];
            }
            continue;
        }
        m_session->PostLine(m_isTooLong ? "(a line that is too long)" : m_line);
        m_line.clear();
        m_isTooLong = false;
    }
}

}  // namespace vaxoapp
