#include "ServerTools.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Within.h"

extern char** environ;

namespace livetest {
namespace {

sockaddr_in Address(const std::string& host, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

// A server that has refused a body unread answers at once and closes late.
bool IsWhole(const std::string& answer) {
    const std::string key = "Content-Length: ";
    const auto split = answer.find("\r\n\r\n");
    const auto at = answer.find(key);
    return split != std::string::npos && at < split &&
           answer.size() - split - 4 >= std::strtoul(answer.c_str() + at + key.size(), nullptr, 10);
}

std::string Exchange(int port, const std::string& request, const std::string& from) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    timeval limit{};
    limit.tv_sec = 10;
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    const sockaddr_in source = Address(from, 0);
    const sockaddr_in target = Address("127.0.0.1", port);
    std::string answer;
    if (bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof(source)) == 0 &&
        connect(fd, reinterpret_cast<const sockaddr*>(&target), sizeof(target)) == 0 &&
        send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
            static_cast<ssize_t>(request.size())) {
        char part[4096];
        ssize_t got = 0;
        while (!IsWhole(answer) && (got = recv(fd, part, sizeof(part), 0)) > 0) {
            answer.append(part, static_cast<std::size_t>(got));
        }
    }
    close(fd);
    return answer;
}

std::string Join(const std::string& left, const std::string& right) {
    return left + "/" + right;
}

}  // namespace

Program::Program(std::vector<std::string> words) {
    m_output = (std::filesystem::temp_directory_path() / "livetest-out-XXXXXX").string();
    const int output = mkostemp(m_output.data(), O_CLOEXEC);
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, 1);
    posix_spawn_file_actions_adddup2(&actions, output, 2);
    if (posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
        m_pid = 0;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(output);
}

Program::~Program() {
    End();
    std::filesystem::remove(m_output);
}

int Program::Wait() {
    int status = 0;
    const bool ended = m_pid > 0 && Within(std::chrono::seconds(30), [this, &status] {
                           return waitpid(m_pid, &status, WNOHANG) == m_pid;
                       });
    if (!ended) {
        End();
        return -1;
    }
    m_pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Program::End() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }
}

void Program::Freeze() {
    if (m_pid > 0) {
        kill(m_pid, SIGSTOP);
    }
}

std::string Program::Output() const {
    return Slurp(m_output);
}

Outcome RunProgram(std::vector<std::string> words) {
    Program program(std::move(words));
    Outcome outcome;
    outcome.status = program.Wait();
    outcome.output = program.Output();
    return outcome;
}

bool Eventually(const std::function<bool()>& condition) {
    return Within(std::chrono::seconds(20), condition);
}

HttpAnswer Http(const std::string& method, const std::string& target, const std::string& body,
                const std::string& headers, const std::string& from) {
    std::string request = method + " " + target + " HTTP/1.1\r\nHost: localhost\r\n";
    request += "Connection: close\r\n" + headers;
    if (!body.empty()) {
        request += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    const std::string url = LocalServers::Shared().HttpURL();
    const int port = std::atoi(url.substr(url.rfind(':') + 1).c_str());
    const std::string text = Exchange(port, request + "\r\n" + body, from);
    HttpAnswer answer;
    const auto split = text.find("\r\n\r\n");
    if (text.compare(0, 5, "HTTP/") == 0 && split != std::string::npos) {
        answer.status = std::atoi(text.c_str() + text.find(' '));
        answer.headers = text.substr(0, split);
        answer.body = text.substr(split + 4);
    }
    return answer;
}

long long InSeconds(long long seconds) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count() + seconds;
}

VaxoSigner SignerOf(const Application& app, const std::string& user) {
    VaxoSigner signer;
    signer.appID = app.id;
    signer.key = app.key;
    signer.user = user;
    return signer;
}

std::string Hex(const std::string& bytes) {
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text.push_back(digits[value >> 4U]);
        text.push_back(digits[value & 15U]);
    }
    return text;
}

std::string Slurp(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> PublishCommand(const std::string& nameAndQuery) {
    return {"ffmpeg",
            "-nostdin",
            "-loglevel",
            "error",
            "-re",
            "-f",
            "lavfi",
            "-i",
            "testsrc2=size=160x120:rate=10:duration=120",
            "-f",
            "lavfi",
            "-i",
            "sine=duration=120",
            "-c:v",
            "libx264",
            "-preset",
            "ultrafast",
            "-tune",
            "zerolatency",
            "-threads",
            "1",
            "-g",
            "10",
            "-pix_fmt",
            "yuv420p",
            "-c:a",
            "aac",
            "-f",
            "flv",
            "-rtmp_app",
            "live",
            "-rtmp_playpath",
            nameAndQuery,
            LocalServers::Shared().MediaURL()};
}

std::vector<std::string> ProbeCommand(const std::string& nameAndQuery) {
    return {"ffprobe",
            "-loglevel",
            "error",
            "-analyzeduration",
            "500000",
            "-rw_timeout",
            "20000000",
            "-show_entries",
            "stream=codec_name",
            "-of",
            "csv=p=0",
            "-rtmp_live",
            "live",
            Join(LocalServers::Shared().MediaURL(), nameAndQuery)};
}

bool IsPublished(const std::string& name) {
    const std::string page = LocalServers::Shared().Statistics();
    const auto stream = page.find("<name>" + name + "</name>");
    const auto end = page.find("</stream>", stream);
    return stream != std::string::npos &&
           page.substr(stream, end - stream).find("<publishing/>") != std::string::npos;
}

}  // namespace livetest
