#include "LocalServers.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <vector>

#include "Within.h"

#ifndef VAXO_SOURCE_DIR
#define VAXO_SOURCE_DIR "."  // run from the top of the tree
#endif

extern char** environ;

namespace livetest {
namespace {

constexpr auto kUpperBound = std::chrono::seconds(15);

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool WaitFor(const std::function<bool()>& condition) {
    return Within(kUpperBound, condition);
}

// A connected socket with time limits on both directions, or -1.
int Connect(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval limit{};
    limit.tv_sec = 5;
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) {
        return fd;
    }
    close(fd);
    return -1;
}

bool Answers(int port) {
    const int fd = Connect(port);
    if (fd < 0) {
        return false;
    }
    close(fd);
    return true;
}

// The body of the answer; empty when there is none.
std::string Get(int port, const std::string& path) {
    const int fd = Connect(port);
    if (fd < 0) {
        return {};
    }
    const std::string request = "GET " + path + " HTTP/1.0\r\nHost: localhost\r\n\r\n";
    std::string answer;
    if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
        static_cast<ssize_t>(request.size())) {
        char part[4096];
        ssize_t got = 0;
        while ((got = recv(fd, part, sizeof(part), 0)) > 0) {
            answer.append(part, static_cast<std::size_t>(got));
        }
    }
    close(fd);
    const auto body = answer.find("\r\n\r\n");
    return body == std::string::npos ? std::string() : answer.substr(body + 4);
}

int PortOf(const std::string& url) {
    const auto host = url.find("://");
    const auto colon = host == std::string::npos ? host : url.find(':', host + 3);
    return colon == std::string::npos ? 0 : std::atoi(url.c_str() + colon + 1);
}

std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const int value = static_cast<int>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16));
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

// Runs a program to its end with `input` as its standard input and its output in the file
// `output`; its exit status, -1 when it could not run. No other descriptor is passed on: the
// servers outlive the script and would keep them open.
int Run(std::vector<std::string> words, const std::string& output, int input = -1) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0) {
        posix_spawn_file_actions_adddup2(&actions, input, 0);
    } else {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    pid_t pid = 0;
    const int failed =
        posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (failed != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

}  // namespace

struct LocalServers::Impl {
    pid_t owner = getpid();
    std::string directory;
    int lifeline = -1;
    std::map<std::string, std::string> values;  // of servers.env

    std::string File(const std::string& name) const { return directory + "/" + name; }
    const std::string& Value(const std::string& name) { return values[name]; }
    bool Script(const std::string& command) const;
    void Guard();
    void ReadValues();
    Application ReadApp(const std::string& prefix);
    void Signal(const char* pidFile, int signal) const;
    void Kill(const char* pidFile, const std::string& url) const;
};

// Fails the test with what the script says.
bool LocalServers::Impl::Script(const std::string& command) const {
    const std::string output = File("script.out");
    const int status = Run({VAXO_SOURCE_DIR "/script/servers", command, directory}, output);
    if (status != 0) {
        ADD_FAILURE() << "script/servers " << command << ": status " << status << "\n"
                      << ReadFile(output);
    }
    return status == 0;
}

// The servers must not survive a test process that crashes or is killed. Nothing that the
// process itself does can ensure that, and a death signal hangs on the thread that started
// them and does not reach nginx' workers: so a process beside this one, in a session of its
// own, waits for the end of a pipe whose other end this process alone holds.
void LocalServers::Impl::Guard() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "no pipe";
        return;
    }
    lifeline = ends[1];
    const int status =
        Run({"setsid", "--fork", VAXO_SOURCE_DIR "/script/servers", "guard", directory},
            "/dev/null", ends[0]);
    EXPECT_EQ(status, 0) << "no guard";
    close(ends[0]);
}

void LocalServers::Impl::ReadValues() {
    std::istringstream lines(ReadFile(File("servers.env")));
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (equals != std::string::npos) {
            values[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
}

Application LocalServers::Impl::ReadApp(const std::string& prefix) {
    std::string digits = ReadFile(Value(prefix + "KEY_FILE"));
    while (!digits.empty() && digits.back() == '\n') {
        digits.pop_back();
    }
    Application app;
    app.id = static_cast<unsigned int>(std::strtoul(Value(prefix + "APP_ID").c_str(), nullptr, 10));
    app.key = FromHex(digits);
    return app;
}

// Each server leads a process group: nginx' workers get the signal too.
void LocalServers::Impl::Signal(const char* pidFile, int signal) const {
    const int pid = std::atoi(ReadFile(File(pidFile)).c_str());
    if (pid <= 1 || kill(-pid, signal) != 0) {
        ADD_FAILURE() << pidFile << ": no such process";
    }
}

void LocalServers::Impl::Kill(const char* pidFile, const std::string& url) const {
    Signal(pidFile, SIGKILL);
    const int port = PortOf(url);
    EXPECT_TRUE(WaitFor([port] { return !Answers(port); })) << pidFile << ": still answers";
}

LocalServers::LocalServers() : m_impl(new Impl) {
    std::string name = (std::filesystem::temp_directory_path() / "livetest-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        ADD_FAILURE() << "no directory " << name;
        return;
    }
    m_impl->directory = name;
    m_impl->Guard();
    if (m_impl->Script("start")) {
        m_impl->ReadValues();
    }
}

LocalServers::~LocalServers() {
    // A child that a test forked runs the destructors of static objects too.
    if (m_impl->owner == getpid() && !m_impl->directory.empty()) {
        m_impl->Script("stop");
        std::error_code ignored;
        std::filesystem::remove_all(m_impl->directory, ignored);
        close(m_impl->lifeline);
    }
    delete m_impl;
}

LocalServers& LocalServers::Shared() {
    static LocalServers servers;
    return servers;
}

bool LocalServers::Running() const {
    return Run({VAXO_SOURCE_DIR "/script/servers", "status", m_impl->directory}, "/dev/null") == 0;
}

const std::string& LocalServers::Directory() const {
    return m_impl->directory;
}
const std::string& LocalServers::ServiceURL() const {
    return m_impl->Value("VAXO_SERVICE_URL");
}
const std::string& LocalServers::MediaURL() const {
    return m_impl->Value("VAXO_MEDIA_URL");
}
const std::string& LocalServers::UploadURL() const {
    return m_impl->Value("VAXO_UPLOAD_URL");
}
std::string LocalServers::HttpURL() const {
    return m_impl->Value("VAXO_HTTP_URL");
}
Application LocalServers::App() const {
    return m_impl->ReadApp("VAXO_");
}
Application LocalServers::OtherApp() const {
    return m_impl->ReadApp("VAXO_OTHER_");
}

void LocalServers::KillMedia() {
    m_impl->Kill("nginx.pid", MediaURL());
}
void LocalServers::StartMedia() {
    m_impl->Script("start-media");
}
void LocalServers::KillChannel() {
    m_impl->Kill("mosquitto.pid", ServiceURL());
}
void LocalServers::StartChannel() {
    m_impl->Script("start-channel");
}
void LocalServers::FreezeMedia() {
    m_impl->Signal("nginx.pid", SIGSTOP);
}
void LocalServers::ThawMedia() {
    m_impl->Signal("nginx.pid", SIGCONT);
}
void LocalServers::FreezeChannel() {
    m_impl->Signal("mosquitto.pid", SIGSTOP);
}
void LocalServers::ThawChannel() {
    m_impl->Signal("mosquitto.pid", SIGCONT);
}

std::string LocalServers::Statistics() const {
    return Get(PortOf(HttpURL()), "/stat");
}
std::string LocalServers::MediaLog() const {
    return ReadFile(m_impl->File("logs/error.log"));
}

}  // namespace livetest
