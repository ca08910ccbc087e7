// A publisher that does not wait for the answer: it sends pictures behind its publish command
// at once, before the server can have asked whether it may.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "ServerTools.h"

namespace livetest {
namespace {

using std::string;

constexpr std::size_t kChunk = 60000;

string BigEndian(std::uint64_t value, int bytes) {
    string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text.push_back(static_cast<char>((value >> (8 * i)) & 255U));
    }
    return text;
}

string Text(const string& text) {
    return "\x02" + BigEndian(text.size(), 2) + text;
}

string Number(bool one) {
    return string(1, '\0') + (one ? "\x3F\xF0" : string(2, '\0')) + string(6, '\0');
}

// One message, in one chunk.
string Message(int type, const string& body, unsigned stream, unsigned milliseconds = 0) {
    return "\x03" + BigEndian(milliseconds, 3) + BigEndian(body.size(), 3) +
           string(1, static_cast<char>(type)) + string(1, static_cast<char>(stream)) +
           string(3, '\0') + body;
}

string Commands(const string& name) {
    const string null(1, '\x05');
    const string app = BigEndian(3, 2) + "app" + Text("live");
    return Message(1, BigEndian(kChunk, 4), 0) +
           Message(20, Text("connect") + Number(true) + "\x03" + app + string(2, '\0') + "\x09",
                   0) +
           Message(20, Text("createStream") + Number(true) + null, 0) +
           Message(20, Text("publish") + Number(false) + null + Text(name) + Text("live"), 1);
}

// A decoder configuration and key frames, 1.5 s apart: each ends an HLS fragment.
string Frames(unsigned start) {
    const string sps = "\x67\x42\xC0\x0A\xD9\x07\x1E\x84";
    const string pps = "\x68\xCB\x83\xCB\x20";
    const string head = "\x17";
    const string configuration = head + string(4, '\0') + "\x01\x42" + "\xC0\x0A\xFF\xE1" +
                                 BigEndian(sps.size(), 2) + sps + "\x01" +
                                 BigEndian(pps.size(), 2) + pps;
    string frames = Message(9, configuration, 1);
    const string unit = "\x65" + string(400, 'x');
    for (unsigned i = 0; i < 6; ++i) {
        frames += Message(9, head + "\x01" + string(3, '\0') + BigEndian(unit.size(), 4) + unit, 1,
                          start + i * 1500);
    }
    return frames;
}

// A connection to the media server behind the handshake.
class Connection {
public:
    Connection() : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const string url = LocalServers::Shared().MediaURL();
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port =
            htons(static_cast<std::uint16_t>(std::atoi(url.c_str() + url.rfind(':') + 1)));
        timeval limit{};
        limit.tv_sec = 10;
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        string hello(3073, '\0');  // the server's half
        EXPECT_EQ(connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_TRUE(Send("\x03" + string(1536, '\0')));
        EXPECT_EQ(recv(m_fd, hello.data(), hello.size(), MSG_WAITALL), 3073);
        EXPECT_TRUE(Send(hello.substr(1, 1536)));
    }
    ~Connection() { close(m_fd); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool Send(const string& bytes) {
        return send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    // Takes what has come so far; true when the server has closed the connection.
    bool Closed() {
        char part[4096];
        ssize_t got = 1;
        while (got > 0) {
            got = recv(m_fd, part, sizeof(part), MSG_DONTWAIT);
        }
        return got == 0 || errno == ECONNRESET;
    }

private:
    int m_fd;
};

bool AnyFileOf(const string& name) {
    return std::filesystem::exists(LocalServers::Shared().Directory() + "/hls/" + name +
                                   "/index.m3u8");
}

TEST(ServersEarlyFrames, PicturesOfAnUnsignedPublisherAreNotWritten) {
    const std::size_t before = LocalServers::Shared().MediaLog().size();
    Connection connection;
    EXPECT_TRUE(connection.Send(Commands("42_rushed") + Frames(0)));
    EXPECT_TRUE(Eventually([&] { return connection.Closed(); }));
    EXPECT_FALSE(std::filesystem::exists(LocalServers::Shared().Directory() + "/hls/42_rushed"));
    const string said = LocalServers::Shared().MediaLog().substr(before);
    EXPECT_NE(said.find("publish refused: unsigned"), string::npos) << said;
}

// The same pictures behind a signed name are such that HLS takes them: the test above would
// see them.
TEST(ServersEarlyFrames, PicturesOfASignedPublisherAreWritten) {
    const string name = "42_admitted";
    const string query =
        VaxoSignQuery(SignerOf(LocalServers::Shared().App()), "publish", name, InSeconds(600));
    Connection connection;
    EXPECT_TRUE(connection.Send(Commands(name + "?" + query)));
    unsigned start = 0;
    EXPECT_TRUE(Eventually([&] {
        connection.Send(Frames(start));
        start += 9000;
        return AnyFileOf(name);
    })) << LocalServers::Shared().MediaLog();
}

}  // namespace
}  // namespace livetest
