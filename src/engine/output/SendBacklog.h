// What the system's kernel still keeps of what a connection has sent, and how long the way is.
//
// The element that sends does not show its socket. It is found among the process's own ones by
// the port it leads to and by how much went through it, which takes a connection that has
// carried some data (kEnoughToTell); a connection that nobody is found for gives no reading.
// Linux alone has the figures; elsewhere there never is a reading.
//
// One thread at a time. Cheap enough for several readings a second.
#ifndef VAXO_ENGINE_OUTPUT_SENDBACKLOG_H
#define VAXO_ENGINE_OUTPUT_SENDBACKLOG_H

#include <chrono>
#include <optional>

namespace vaxoengine {

class SendBacklog {
public:
    static constexpr unsigned long long kEnoughToTell = 65536;  // bytes

    struct Reading {
        unsigned unsent = 0;          // bytes that wait on this machine
        unsigned unacknowledged = 0;  // bytes that have not arrived for certain; `unsent` included
        // How much longer the way takes now than it did at best: queues on the way.
        std::chrono::microseconds late{0};
    };

    explicit SendBacklog(unsigned short port) : m_port(port) {}

    // `written`: bytes given to the connection so far, a few thousand more or less.
    std::optional<Reading> Read(unsigned long long written);

private:
    bool Holds() const;
    void Search(unsigned long long written);

    const unsigned short m_port;
    int m_handle = -1;
    unsigned long long m_inode = 0;  // a handle may have become another's
};

}  // namespace vaxoengine

#endif
