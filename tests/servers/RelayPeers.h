// What the tests of the relay have in common: a client, a server, bytes to tell apart.
#ifndef VAXO_TESTS_SERVERS_RELAYPEERS_H
#define VAXO_TESTS_SERVERS_RELAYPEERS_H

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

#include "Relay.h"
#include "RelayLink.h"

namespace livetest {

constexpr std::size_t kMegabyte = 1000UL * 1000;
constexpr std::chrono::seconds kLong{60};  // bounds what has failed

// A socket that blocks, for a minute at most.
class RelayPeer {
public:
    explicit RelayPeer(int fd) : m_fd(fd) {
        timeval limit{};
        limit.tv_sec = 60;
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    }
    bool Send(const std::string& bytes) const {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t now =
                send(m_fd.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (now <= 0) {
                return false;
            }
            sent += static_cast<std::size_t>(now);
        }
        return true;
    }
    // So many bytes, or all until the end.
    std::string Receive(std::size_t most) const {
        std::string bytes(most, '\0');
        std::size_t got = 0;
        ssize_t now = 1;
        while (got < most && now > 0) {
            now = recv(m_fd.Get(), bytes.data() + got, most - got, 0);
            got += now > 0 ? static_cast<std::size_t>(now) : 0;
        }
        bytes.resize(got);
        return bytes;
    }
    // What stands behind the bytes: "fin", "reset", "byte", "silence" (a minute of it).
    std::string Next() const {
        char byte = 0;
        const ssize_t got = recv(m_fd.Get(), &byte, 1, 0);
        if (got > 0) {
            return "byte";
        }
        if (got == 0) {
            return "fin";
        }
        return errno == ECONNRESET ? "reset" : "silence";
    }
    bool WasReset() const {  // after its FIN as well
        int error = 0;
        socklen_t size = sizeof(error);
        getsockopt(m_fd.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
        return error != 0;
    }
    bool HasNews() const {  // now
        pollfd wish{m_fd.Get(), POLLIN, 0};
        return poll(&wish, 1, 0) != 0;
    }
    void Finish() const { shutdown(m_fd.Get(), SHUT_WR); }
    void Reset() && {
        const RelayFd fd = std::move(m_fd);
        RelayDoom(fd);
    }
    // As much as goes in without waiting; the relay moves on what it will meanwhile.
    std::size_t Stuff(const Relay& relay) const {
        const std::string bytes(kMegabyte, 'x');
        std::size_t sent = 0;
        int full = 0;
        while (full < 20 && sent < 100 * kMegabyte) {
            const ssize_t now = send(m_fd.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
            sent += now > 0 ? static_cast<std::size_t>(now) : 0;
            full = now > 0 ? 0 : full + 1;
            static_cast<void>(relay.Connections());  // a round of the relay's
        }
        return sent;
    }

private:
    RelayFd m_fd;
};

class RelayTest : public testing::Test {
protected:
    RelayTest() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = RelayLoopback(0);
        socklen_t size = sizeof(address);
        EXPECT_EQ(bind(m_listener.Get(), RelayPlain(address), size), 0);
        EXPECT_EQ(listen(m_listener.Get(), SOMAXCONN), 0);
        getsockname(m_listener.Get(), RelayPlain(address), &size);
        m_port = ntohs(address.sin_port);
    }
    static RelayPeer Dial(const Relay& relay) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = RelayLoopback(relay.Port());
        EXPECT_EQ(connect(fd, RelayPlain(address), sizeof(address)), 0);
        return RelayPeer(fd);
    }
    RelayPeer Accept() const {  // with a minute's limit
        pollfd wish{m_listener.Get(), POLLIN, 0};
        EXPECT_EQ(poll(&wish, 1, 60'000), 1);
        return RelayPeer(accept(m_listener.Get(), nullptr, nullptr));
    }
    bool IsCalled() const {  // now
        pollfd wish{m_listener.Get(), POLLIN, 0};
        return poll(&wish, 1, 0) != 0;
    }
    // Several rounds of the relay's: what it was going to do, it has done.
    static void LetItWork(const Relay& relay) {
        for (int round = 0; round < 5; ++round) {
            static_cast<void>(relay.Connections());
        }
    }
    unsigned short m_port = 0;

private:
    RelayFd m_listener;
};

inline std::string Noise(std::size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        seed = seed * 1664525U + 1013904223U;
        byte = static_cast<char>(seed >> 24U);
    }
    return bytes;
}

}  // namespace livetest

#endif
