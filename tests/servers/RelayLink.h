// Parts of the Relay, for its thread only: a client's connection with the one to the server
// that belongs to it, and what the relay has been told to do to all of them.
#ifndef VAXO_TESTS_SERVERS_RELAYLINK_H
#define VAXO_TESTS_SERVERS_RELAYLINK_H

#include <netinet/in.h>
#include <poll.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace livetest {

using RelayClock = std::chrono::steady_clock;

// A file descriptor, closed at the end.
class RelayFd {
public:
    explicit RelayFd(int number) : m_number(number) {}
    ~RelayFd();
    RelayFd(RelayFd&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    RelayFd(const RelayFd&) = delete;
    RelayFd& operator=(const RelayFd&) = delete;
    RelayFd& operator=(RelayFd&&) = delete;
    int Get() const { return m_number; }

private:
    int m_number;
};

// Does not block; close-on-exec from birth, because tests start programs, and a copy of
// a connection in another process would keep it open. Small buffers, and the segments of an
// Ethernet: set before it listens or connects, which is when the peer is told.
// -1 and errno where there is none to be had.
RelayFd RelaySocket();
sockaddr_in RelayLoopback(unsigned short port);
sockaddr* RelayPlain(sockaddr_in& address);  // as the calls of sockets take it
void RelayDoom(const RelayFd& fd);           // closing it will reset the connection
bool RelayComesLater(int error);             // of a call that would have blocked

// Lets bytes through at a rate. The time only moves on with Fill.
class RelayBucket {
public:
    void SetRate(int bitsPerSecond, RelayClock::time_point now);  // 0: unlimited. Begins empty
    void Fill(RelayClock::time_point now);
    void Take(std::size_t bytes);
    bool Limited() const { return m_rate > 0; }
    // 0, or a segment at least, so that a slow link does not carry crumbs.
    std::size_t Available() const;
    RelayClock::time_point Ready() const;  // of a limited one: something is available then

private:
    double m_rate = 0;  // bytes a second, 0: unlimited
    double m_depth = 0;
    double m_tokens = 0;
    RelayClock::time_point m_filled;
};

// A link's ends, and the directions that begin there.
constexpr std::size_t kRelayClient = 0;
constexpr std::size_t kRelayServer = 1;

struct RelayWeather {
    RelayWeather();
    bool frozen = false;
    bool hung = false;
    bool refusing = false;
    std::chrono::milliseconds delay{0};
    std::array<RelayBucket, 2> buckets;                 // by direction
    std::array<unsigned long long, 2> forwarded{0, 0};  // bytes, likewise
    RelayClock::time_point now;                         // of this round
    std::vector<char> buffer;                           // for one piece
};

class RelayLink {
public:
    // Connects to the server; that it failed shows in Sweep.
    RelayLink(RelayFd client, sockaddr_in server);

    pollfd Wish(std::size_t end, const RelayWeather& weather) const;  // what to poll for
    void Serve(std::size_t end, short events, RelayWeather& weather);
    // Later than any time: nothing but a socket's event moves this link on.
    RelayClock::time_point Due(const RelayWeather& weather) const;

    bool Over(const RelayWeather& weather) const;  // it is to be destroyed
    void Doom();                                   // destroying it resets both sides
    bool Broken() const;                           // by one of its sides
    void LoseUnderWay();                           // the bytes, not the FINs
    std::vector<RelayFd> Part();                   // sends both sides a FIN; the sockets

private:
    // Bytes on their way to one end, or, empty, the FIN behind them.
    struct Piece {
        RelayClock::time_point due;
        std::string bytes;
    };
    struct End {
        explicit End(RelayFd socket) : fd(std::move(socket)) {}
        RelayFd fd;
        bool connected = true;
        bool finRead = false;
        bool finSent = false;
        bool broken = false;    // reset, or never connected
        bool hungUp = false;    // poll says so whether asked or not
        std::deque<Piece> out;  // to be written here
        std::size_t underWay = 0;
    };

    bool Reads(std::size_t end, const RelayWeather& weather) const;
    bool HasRoom(const End& to, const RelayWeather& weather) const;
    bool Writes(std::size_t end, const RelayWeather& weather) const;
    void Read(std::size_t end, RelayWeather& weather);
    void Write(std::size_t end, RelayWeather& weather);
    static void FinishConnecting(End& end);

    std::array<End, 2> m_ends;
};

}  // namespace livetest

#endif
