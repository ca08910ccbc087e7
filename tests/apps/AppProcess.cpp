#include "AppProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <utility>

namespace apptest {

namespace {

typedef std::chrono::steady_clock Clock;
constexpr std::chrono::seconds kLimit{30};

struct Pipe {
    int reading = -1;
    int writing = -1;
    Pipe(int readingEnd, int writingEnd) : reading(readingEnd), writing(writingEnd) {}
    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
            reading = ends[0];
            writing = ends[1];
        }
    }
};

// As a pipe, but a terminal.
Pipe Terminal() {
    Pipe terminal(-1, ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    std::swap(terminal.reading, terminal.writing);
    std::array<char, 128> name{};
    const struct winsize size = {40, 100, 0, 0};
    if (::grantpt(terminal.reading) == 0 && ::unlockpt(terminal.reading) == 0 &&
        ::ptsname_r(terminal.reading, name.data(), name.size()) == 0) {
        terminal.writing = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(::ioctl(terminal.writing, TIOCSWINSZ, &size), 0);
    }
    return terminal;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// False at its end.
bool Take(int& fd, std::string& all) {
    std::array<char, 4096> part{};
    const ssize_t got = ::read(fd, part.data(), part.size());
    if (got > 0) {
        all.append(part.data(), static_cast<std::size_t>(got));
        return true;
    }
    ::close(fd);
    fd = -1;
    return false;
}

}  // namespace

AppProcess::AppProcess(const std::vector<std::string>& arguments,
                       const std::map<std::string, std::string>& environment,
                       const Surroundings& surroundings) {
    static const bool s_isIgnored = ::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    static_cast<void>(s_isIgnored);
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    std::vector<std::string> words = {(self.parent_path() / surroundings.program).string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = {"USER=tester", "PATH=/usr/bin:/bin"};
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    const Pipe in;
    const Pipe out;
    const Pipe err = surroundings.hasTerminal ? Terminal() : Pipe();
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in.reading, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out.writing, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, err.writing, STDERR_FILENO);
    if (!surroundings.folder.empty()) {
        ::posix_spawn_file_actions_addchdir_np(&actions, surroundings.folder.c_str());
    }
    const int status = ::posix_spawn(&m_pid, words[0].c_str(), &actions, nullptr,
                                     Pointers(words).data(), Pointers(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(status, 0) << words[0];
    ::close(in.reading);
    ::close(out.writing);
    ::close(err.writing);
    m_in = in.writing;
    m_outPipe = out.reading;
    m_errPipe = err.reading;
}

AppProcess::~AppProcess() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    for (const int fd : {m_in, m_outPipe, m_errPipe}) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

void AppProcess::Write(const std::string& text) const {
    EXPECT_EQ(::write(m_in, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void AppProcess::CloseInput() {
    ::close(m_in);
    m_in = -1;
}

void AppProcess::Signal(int signal) const {
    EXPECT_EQ(::kill(m_pid, signal), 0);
}

bool AppProcess::ReadSome(int millis) {
    std::array<struct pollfd, 2> fds = {{{m_outPipe, POLLIN, 0}, {m_errPipe, POLLIN, 0}}};
    if ((m_outPipe < 0 && m_errPipe < 0) || ::poll(fds.data(), fds.size(), millis) <= 0) {
        return false;
    }
    if (fds[0].revents != 0) {
        Take(m_outPipe, m_out);
    }
    if (fds[1].revents != 0) {
        Take(m_errPipe, m_err);
    }
    return true;
}

bool AppProcess::Await(const std::string& text, const std::string& where) {
    const Clock::time_point end = Clock::now() + kLimit;
    while (where.find(text) == std::string::npos) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || !ReadSome(static_cast<int>(left))) {
            return false;
        }
    }
    return true;
}

bool AppProcess::AwaitOutput(const std::string& text) {
    return Await(text, m_out);
}

bool AppProcess::AwaitError(const std::string& text) {
    return Await(text, m_err);
}

int AppProcess::End() {
    const Clock::time_point end = Clock::now() + kLimit;
    while (Clock::now() < end && ReadSome(1000 * static_cast<int>(kLimit.count()))) {
    }
    if (m_outPipe >= 0 || m_errPipe >= 0) {
        ADD_FAILURE() << "the process does not end: " << m_err;
        ::kill(m_pid, SIGKILL);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(m_pid, &status, 0), m_pid);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace apptest
