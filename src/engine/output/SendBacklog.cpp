#include "engine/output/SendBacklog.h"

#ifdef __linux__
#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#endif

namespace vaxoengine {

#ifdef __linux__

namespace {

// The connection's own talk that the caller's count leaves out: greetings, message headers.
constexpr unsigned long long kTolerance = 16384;

unsigned short PeerPort(int handle) {
    sockaddr_storage peer = {};
    socklen_t size = sizeof peer;
    if (getpeername(handle, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
        return 0;
    }
    switch (peer.ss_family) {
        case AF_INET:
            return ntohs(reinterpret_cast<const sockaddr_in&>(peer).sin_port);
        case AF_INET6:
            return ntohs(reinterpret_cast<const sockaddr_in6&>(peer).sin6_port);
        default:
            return 0;
    }
}

std::optional<tcp_info> InfoOf(int handle) {
    tcp_info info = {};
    socklen_t size = sizeof info;
    if (getsockopt(handle, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) {
        return std::nullopt;
    }
    return info;
}

unsigned Unacknowledged(int handle) {
    int bytes = 0;
    return ioctl(handle, SIOCOUTQ, &bytes) == 0 && bytes > 0 ? static_cast<unsigned>(bytes) : 0;
}

unsigned long long InodeOf(int handle) {
    struct stat status = {};
    return fstat(handle, &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

}  // namespace

bool SendBacklog::Holds() const {
    return m_handle >= 0 && m_inode != 0 && InodeOf(m_handle) == m_inode;
}

// The socket to that port whose count is nearest.
void SendBacklog::Search(unsigned long long written) {
    m_handle = -1;
    unsigned long long nearest = kTolerance;
    std::error_code error;  // without it the folder's end could be an exception
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry("/proc/self/fd", error); !error && entry != end;
         entry.increment(error)) {
        const int handle = std::atoi(entry->path().filename().c_str());
        const std::optional<tcp_info> info =
            PeerPort(handle) == m_port ? InfoOf(handle) : std::nullopt;
        if (!info) {
            continue;
        }
        const unsigned long long sent = info->tcpi_bytes_acked + Unacknowledged(handle);
        const unsigned long long off = std::max(sent, written) - std::min(sent, written);
        if (off < nearest) {
            nearest = off;
            m_handle = handle;
            m_inode = InodeOf(m_handle);
        }
    }
}

std::optional<SendBacklog::Reading> SendBacklog::Read(unsigned long long written) {
    if (!Holds()) {
        if (written < kEnoughToTell) {
            return std::nullopt;
        }
        Search(written);
    }
    const std::optional<tcp_info> info = Holds() ? InfoOf(m_handle) : std::nullopt;
    if (!info) {
        return std::nullopt;
    }
    Reading reading;
    reading.unsent = info->tcpi_notsent_bytes;
    reading.unacknowledged = Unacknowledged(m_handle);
    // Before the first measurement the shortest way is the largest number there is.
    if (info->tcpi_rtt > info->tcpi_min_rtt) {
        reading.late = std::chrono::microseconds(info->tcpi_rtt - info->tcpi_min_rtt);
    }
    return reading;
}

#else

std::optional<SendBacklog::Reading> SendBacklog::Read(unsigned long long /*written*/) {
    return std::nullopt;
}

#endif

}  // namespace vaxoengine
