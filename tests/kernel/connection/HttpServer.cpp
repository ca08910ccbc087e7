#include "kernel/connection/HttpServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace httptest {

namespace {

constexpr std::chrono::seconds kPatience{30};

std::string Lower(const std::string& text) {
    std::string lower;
    for (const char c : text) {
        lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

// The value of the length header, 0 without one.
std::size_t BodyLength(const std::string& lowerHead) {
    const std::string name = "\r\ncontent-length:";
    const std::size_t at = lowerHead.find(name);
    return at == std::string::npos
               ? 0
               : std::strtoul(lowerHead.c_str() + at + name.size(), nullptr, 10);
}

void Send(int connection, const std::string& text) {
    static_cast<void>(::send(connection, text.data(), text.size(), MSG_NOSIGNAL));
}

// The next close sends a reset, and nothing that still waits.
void ResetOnClose(int connection) {
    const linger now = {1, 0};
    EXPECT_EQ(::setsockopt(connection, SOL_SOCKET, SO_LINGER, &now, sizeof(now)), 0);
}

void SplitFirstLine(const std::string& head, Request& request) {
    const std::size_t first = head.find(' ');
    const std::size_t second = head.find(' ', first + 1);
    request.method = head.substr(0, first);
    const std::string target = head.substr(first + 1, second - first - 1);
    const std::size_t mark = target.find('?');
    request.path = target.substr(0, mark);
    request.query = mark == std::string::npos ? "" : target.substr(mark + 1);
}

}  // namespace

HttpServer::HttpServer(std::vector<int> answers, bool isAccepting) : m_answers(std::move(answers)) {
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    // The sockets' functions take every kind of address by one pointer type.
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (m_listener < 0 || ::bind(m_listener, generic, size) != 0 || ::listen(m_listener, 16) != 0 ||
        ::getsockname(m_listener, generic, &size) != 0 || ::pipe(m_wake) != 0) {
        ADD_FAILURE() << "no server: " << std::strerror(errno);
        return;
    }
    m_port = ntohs(address.sin_port);
    if (isAccepting) {
        Accept();
    }
}

HttpServer::~HttpServer() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isEnding = true;
        m_changed.notify_all();
    }
    ::close(m_wake[1]);
    if (m_acceptor.joinable()) {
        m_acceptor.join();
    }
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    ::close(m_wake[0]);
    ::close(m_listener);
}

std::string HttpServer::URL(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void HttpServer::Accept() {
    m_acceptor = std::thread([this] { Run(); });
}

void HttpServer::Release() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isReleased = true;
    m_changed.notify_all();
}

std::vector<Request> HttpServer::Requests(std::size_t count) {
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait_for(lock, kPatience, [&] { return m_requests.size() >= count; });
    return m_requests;
}

int HttpServer::MostAtOnce() {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_mostOpen;
}

std::size_t HttpServer::Connections() {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_next;
}

void HttpServer::Run() {
    while (Readable(m_listener)) {
        const int connection = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            continue;
        }
        const std::lock_guard<std::mutex> guard(m_lock);
        m_mostOpen = std::max(m_mostOpen, ++m_open);
        const int answer = NextAnswer();
        m_threads.emplace_back([this, connection, answer] {
            if (answer == DieHalfway || answer <= Unread(0)) {
                ServeInPart(connection, answer);
            } else {
                Serve(connection, answer);
            }
            ::close(connection);
        });
    }
}

int HttpServer::NextAnswer() {
    const std::size_t index = std::min(m_next, m_answers.size() - 1);
    ++m_next;
    return m_answers[index];
}

void HttpServer::Serve(int connection, int answer) {
    Request request;
    const bool isWhole = ReadRequest(connection, request, 2);
    std::unique_lock<std::mutex> lock(m_lock);
    if (!isWhole) {
        --m_open;
        return;
    }
    m_requests.push_back(request);
    m_changed.notify_all();
    if (answer == NeverAnswer) {
        m_changed.wait(lock, [this] { return m_isEnding; });
    } else if (answer == AfterRelease) {
        m_changed.wait(lock, [this] { return m_isEnding || m_isReleased; });
        answer = 201;
    }
    --m_open;
    lock.unlock();
    if (answer == Redirect || answer > 0) {
        Reply(connection, answer);
    }
}

void HttpServer::ServeInPart(int connection, int answer) {
    const bool isHalf = answer == DieHalfway || answer <= HalfRead(0);
    Request request;
    const bool isRead = ReadRequest(connection, request, isHalf ? 1 : 0);
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        --m_open;
    }
    if (answer == DieHalfway) {
        ResetOnClose(connection);
    } else if (isRead) {
        Reply(connection, (isHalf ? HalfRead(0) : Unread(0)) - answer);
    }
}

void HttpServer::Reply(int connection, int status) const {
    std::string head =
        "HTTP/1.1 " + std::to_string(status == Redirect ? 302 : status) + " Told\r\n";
    if (status == Redirect) {
        head += "Location: " + URL("/elsewhere") + "\r\n";
    }
    // A 204 has no body and says so by itself.
    head += status == 204 ? "Connection: close\r\n\r\n"
                          : "Content-Length: 5\r\nConnection: close\r\n\r\nbody\n";
    Send(connection, head);
}

bool HttpServer::ReadRequest(int connection, Request& request, std::size_t halves) const {
    std::string all;
    std::size_t headEnd = std::string::npos;
    std::size_t wanted = 0;
    std::array<char, 65536> buffer;
    while (headEnd == std::string::npos || all.size() < wanted) {
        const ssize_t got =
            Readable(connection) ? ::recv(connection, buffer.data(), buffer.size(), 0) : 0;
        if (got <= 0) {
            return false;
        }
        all.append(buffer.data(), static_cast<std::size_t>(got));
        if (headEnd == std::string::npos && (headEnd = all.find("\r\n\r\n")) != std::string::npos) {
            const std::string head = Lower(all.substr(0, headEnd + 2));
            wanted = headEnd + 4 + BodyLength(head) * halves / 2;
            if (halves > 0 && head.find("\r\nexpect: 100-continue\r\n") != std::string::npos) {
                Send(connection, "HTTP/1.1 100 Continue\r\n\r\n");
            }
        }
    }
    SplitFirstLine(all, request);
    request.body = all.substr(headEnd + 4);
    return true;
}

bool HttpServer::Readable(int handle) const {
    std::array<pollfd, 2> both = {{{handle, POLLIN, 0}, {m_wake[0], POLLIN, 0}}};
    while (::poll(both.data(), both.size(), -1) < 0) {
    }
    return both[1].revents == 0;
}

}  // namespace httptest
