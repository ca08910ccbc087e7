#include "RelayLink.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Relay.h"

namespace livetest {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr int kKernelBuffer = 16 * 1024;
constexpr std::size_t kPiece = 32UL * 1024;
constexpr std::size_t kMostUnderWay = 8UL * 1024 * 1024;

void Set(const RelayFd& fd, int level, int option, int value) {
    setsockopt(fd.Get(), level, option, &value, sizeof(value));
}

}  // namespace

RelayFd::~RelayFd() {
    if (m_number >= 0) {
        close(m_number);
    }
}

RelayFd RelaySocket() {
    RelayFd fd(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (fd.Get() >= 0) {  // errno tells why not
        Set(fd, SOL_SOCKET, SO_RCVBUF, kKernelBuffer);
        Set(fd, SOL_SOCKET, SO_SNDBUF, kKernelBuffer);
        Set(fd, IPPROTO_TCP, TCP_MAXSEG, Relay::kSegment);
        Set(fd, IPPROTO_TCP, TCP_NODELAY, 1);
    }
    return fd;
}

sockaddr_in RelayLoopback(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

sockaddr* RelayPlain(sockaddr_in& address) {
    // Sockets of every family share these calls; this is how an address is handed to them.
    return reinterpret_cast<sockaddr*>(&address);
}

void RelayDoom(const RelayFd& fd) {
    linger now{};
    now.l_onoff = 1;
    setsockopt(fd.Get(), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
}

bool RelayComesLater(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

void RelayBucket::SetRate(int bitsPerSecond, RelayClock::time_point now) {
    m_rate = std::max(bitsPerSecond, 0) / 8.0;
    m_depth = std::max(m_rate * Seconds(Relay::kBurst).count(), double{Relay::kSegment});
    m_tokens = 0;
    m_filled = now;
}

void RelayBucket::Fill(RelayClock::time_point now) {
    m_tokens = std::min(m_depth, m_tokens + m_rate * Seconds(now - m_filled).count());
    m_filled = now;
}

void RelayBucket::Take(std::size_t bytes) {
    m_tokens -= static_cast<double>(bytes);
}

std::size_t RelayBucket::Available() const {
    if (!Limited()) {
        return kPiece;
    }
    return m_tokens < Relay::kSegment ? 0 : static_cast<std::size_t>(m_tokens);
}

RelayClock::time_point RelayBucket::Ready() const {
    const Seconds wait((Relay::kSegment - m_tokens) / m_rate);
    return m_filled + std::chrono::ceil<std::chrono::milliseconds>(wait);
}

RelayWeather::RelayWeather() : now(RelayClock::now()), buffer(kPiece) {}

RelayLink::RelayLink(RelayFd client, sockaddr_in server)
    : m_ends{End(std::move(client)), End(RelaySocket())} {
    End& far = m_ends[kRelayServer];
    if (connect(far.fd.Get(), RelayPlain(server), sizeof(server)) != 0) {
        far.connected = false;
        far.broken = errno != EINPROGRESS;
    }
}

pollfd RelayLink::Wish(std::size_t end, const RelayWeather& weather) const {
    const End& self = m_ends[end];
    unsigned events = 0;
    if (!self.connected) {
        events = POLLOUT;
    } else {
        events |= Reads(end, weather) ? unsigned{POLLIN} : 0U;
        events |= Writes(end, weather) ? unsigned{POLLOUT} : 0U;
    }
    // Without a wish it is still polled, for a reset. A hangup would end every poll at once.
    const bool left = weather.frozen || self.broken || (events == 0 && self.hungUp);
    return pollfd{left ? -1 : self.fd.Get(), static_cast<short>(events), 0};
}

void RelayLink::Serve(std::size_t end, short events, RelayWeather& weather) {
    End& self = m_ends[end];
    const auto has = [events](int event) {
        return (static_cast<unsigned>(events) & static_cast<unsigned>(event)) != 0;
    };
    if (events == 0 || weather.frozen || self.broken) {
        return;
    }
    if (!self.connected) {
        FinishConnecting(self);
        return;
    }
    self.hungUp = has(POLLHUP);
    if (Reads(end, weather)) {
        Read(end, weather);
        if (Writes(1 - end, weather)) {  // it mostly can, without another poll
            Write(1 - end, weather);
        }
    } else if (has(POLLERR)) {
        self.broken = true;
    }
    if (has(POLLOUT) && Writes(end, weather)) {
        Write(end, weather);
    }
}

RelayClock::time_point RelayLink::Due(const RelayWeather& weather) const {
    auto due = RelayClock::time_point::max();
    if (weather.frozen || weather.hung) {
        return due;
    }
    for (const std::size_t end : {kRelayClient, kRelayServer}) {
        const End& to = m_ends[1 - end];
        if (!to.out.empty() && to.out.front().due > weather.now) {
            due = std::min(due, to.out.front().due);
        }
        const RelayBucket& bucket = weather.buckets[end];
        if (!m_ends[end].finRead && bucket.Available() == 0 && HasRoom(to, weather)) {
            due = std::min(due, bucket.Ready());
        }
    }
    return due;
}

bool RelayLink::Over(const RelayWeather& weather) const {
    const bool ended = m_ends[kRelayClient].finSent && m_ends[kRelayServer].finSent;
    return !weather.frozen && !weather.hung && (ended || Broken());
}

bool RelayLink::Broken() const {
    return m_ends[kRelayClient].broken || m_ends[kRelayServer].broken;
}

void RelayLink::Doom() {
    for (const End& end : m_ends) {
        RelayDoom(end.fd);
    }
}

void RelayLink::LoseUnderWay() {
    for (End& end : m_ends) {
        const auto lost = std::remove_if(end.out.begin(), end.out.end(),
                                         [](const Piece& piece) { return !piece.bytes.empty(); });
        end.out.erase(lost, end.out.end());
        end.underWay = 0;
    }
}

std::vector<RelayFd> RelayLink::Part() {
    std::vector<RelayFd> sockets;
    for (End& end : m_ends) {
        shutdown(end.fd.Get(), SHUT_WR);
        sockets.push_back(std::move(end.fd));
    }
    return sockets;
}

bool RelayLink::Reads(std::size_t end, const RelayWeather& weather) const {
    const End& self = m_ends[end];
    if (weather.frozen || !self.connected || self.finRead || self.broken) {
        return false;
    }
    return weather.hung ||
           (weather.buckets[end].Available() > 0 && HasRoom(m_ends[1 - end], weather));
}

// What is due and not written waits for its receiver.
bool RelayLink::HasRoom(const End& to, const RelayWeather& weather) const {
    return to.underWay < kMostUnderWay && (to.out.empty() || to.out.front().due > weather.now);
}

bool RelayLink::Writes(std::size_t end, const RelayWeather& weather) const {
    const End& self = m_ends[end];
    return !weather.frozen && !weather.hung && self.connected && !self.broken &&
           !self.out.empty() && self.out.front().due <= weather.now;
}

void RelayLink::Read(std::size_t end, RelayWeather& weather) {
    End& self = m_ends[end];
    End& other = m_ends[1 - end];
    const std::size_t most =
        weather.hung ? kPiece : std::min(kPiece, weather.buckets[end].Available());
    const ssize_t got = recv(self.fd.Get(), weather.buffer.data(), most, 0);
    if (got < 0) {
        self.broken = !RelayComesLater(errno);
        return;
    }
    self.finRead = got == 0;
    const auto size = static_cast<std::size_t>(got);
    if (!weather.hung) {
        weather.buckets[end].Take(size);
    } else if (!self.finRead) {
        return;
    }
    other.out.push_back({weather.now + weather.delay, std::string(weather.buffer.data(), size)});
    other.underWay += size;
}

void RelayLink::Write(std::size_t end, RelayWeather& weather) {
    End& self = m_ends[end];
    while (Writes(end, weather)) {
        std::string& bytes = self.out.front().bytes;
        if (bytes.empty()) {
            shutdown(self.fd.Get(), SHUT_WR);
            self.finSent = true;
            self.out.pop_front();
            return;
        }
        const ssize_t sent = send(self.fd.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            self.broken = !RelayComesLater(errno);
            return;
        }
        const auto size = static_cast<std::size_t>(sent);
        weather.forwarded[1 - end] += size;
        self.underWay -= size;
        bytes.erase(0, size);
        if (!bytes.empty()) {
            return;
        }
        self.out.pop_front();
    }
}

void RelayLink::FinishConnecting(End& end) {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(end.fd.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
    end.connected = error == 0;
    end.broken = error != 0;
}

}  // namespace livetest
