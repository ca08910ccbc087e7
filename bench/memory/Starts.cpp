#include "memory/Starts.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace vaxoengine {

namespace {

typedef std::chrono::steady_clock Clock;

double MicrosecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

template <class Number>
Number Median(const std::vector<Start>& starts, Number Start::*member) {
    std::vector<Number> values;
    values.reserve(starts.size());
    for (const Start& start : starts) {
        values.push_back(start.*member);
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

Start StartOnce(const std::string& program) {
    std::string path =
        (std::filesystem::read_symlink("/proc/self/exe").parent_path() / program).string();
    std::array<int, 2> line{};
    if (::pipe2(line.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, line[1], STDOUT_FILENO);
    const std::array<char*, 2> arguments = {path.data(), nullptr};
    pid_t child = 0;
    const Clock::time_point begin = Clock::now();
    // Forks without a copy of this process, so its size does not count.
    const bool isStarted =
        ::posix_spawn(&child, path.c_str(), &actions, nullptr, arguments.data(), environ) == 0;
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(line[1]);
    std::array<char, 32> text{};
    Start start;
    const bool isRead = isStarted && ::read(line[0], text.data(), text.size() - 1) > 0;
    start.lineMicroseconds = MicrosecondsSince(begin);
    int status = -1;
    const bool isOver = isStarted && ::waitpid(child, &status, 0) == child && status == 0;
    start.endMicroseconds = MicrosecondsSince(begin);
    ::close(line[0]);
    if (!isRead || !isOver) {
        throw std::runtime_error(path + " fails");
    }
    start.residentKib = std::strtol(text.data(), nullptr, 10);
    return start;
}

Start MedianOf(const std::vector<Start>& starts) {
    return {Median(starts, &Start::lineMicroseconds), Median(starts, &Start::endMicroseconds),
            Median(starts, &Start::residentKib)};
}

}  // namespace vaxoengine
