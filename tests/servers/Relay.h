// A TCP relay for tests: it stands between clients and one server on loopback, and misbehaves
// when told to, while connections are open.
//
// Every member function may be called from any thread at any time between the constructor's end
// and the destructor's begin. Each is carried out by the relay's own thread, between two
// rounds of its work, and has taken effect when it returns: no byte moves by the old rules after
// that. It waits for that one round and never for a peer. Settings hold for connections that
// are open and for new ones, until told otherwise.
//
// "Up" is from client to server, "down" from server to client. A FIN of one side is passed on
// behind the bytes before it, while the other direction still flows. A reset of one side resets
// the other at once and overtakes bytes. A client whose server does not accept is reset.
//
// Buffers are small, so that who sends feels a slow link soon: the relay reads nothing more of a
// direction while bytes of it wait for a receiver, and it announces the segments of an
// Ethernet, because the kernel lets a sender on loopback keep 4 MB otherwise. What both
// kernels hold is not the relay's; measured on Linux 6.18 with default buffers, a sender
// under BBR gets rid of 0.25 MB towards a frozen relay and of 1.4 MB towards a receiver that does
// not read, one under Reno of 0.12 MB and 0.4 MB.
//
// Not here: lost or exchanged packets (it is TCP on both sides), a server beyond 127.0.0.1, and
// a connection attempt that stays without an answer (the kernel accepts for the relay).
#ifndef VAXO_TESTS_SERVERS_RELAY_H
#define VAXO_TESTS_SERVERS_RELAY_H

#include <chrono>
#include <memory>

namespace livetest {

class Relay {
public:
    // To 127.0.0.1:target, from a free port of 127.0.0.1, at once. Throws std::runtime_error
    // with the reason's text. Whether the server is there shows only with the first client.
    explicit Relay(unsigned short target);
    ~Relay();  // closes all at once; bytes under way are lost
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    unsigned short Port() const;

    // Bits of payload a second, of all connections together, which take turns; 0: unlimited.
    // In any span of time no more passes than the rate allows for it and kBurst of it, or one
    // segment where that is more. A new rate begins without the burst.
    void SetRate(int upBitsPerSecond, int downBitsPerSecond);
    static constexpr std::chrono::milliseconds kBurst{20};
    static constexpr int kSegment = 1460;  // bytes

    // Bytes and FINs read from now on come that much later, or later still, in order: a shorter
    // delay does not overtake what is under way. At most 8 MiB of a direction are under way; the
    // sender waits beyond that.
    void SetDelay(std::chrono::milliseconds eachWay);

    // A frozen host: nothing is read or forwarded, connections stay open, an end of one side is
    // not noticed. New clients are connected by the kernel and stay silent. Nothing is lost.
    void Freeze(bool frozen);

    // A cut cable: what comes is read and thrown away, what is under way is lost, no FIN or reset
    // is passed on (the kernel still acknowledges). New clients stay silent as if frozen. When it
    // ends, FINs and resets that came meanwhile are passed on, new clients are served, and
    // what open connections lost stays lost: their streams have a hole.
    void Hang(bool hang);

    // New clients are connected and reset at once. While frozen or hung they wait.
    void Refuse(bool refuse);

    // Both work while frozen and hung as well, and on clients that wait. What is under way is lost.
    void CutAll();  // a reset to both sides
    void EndAll();  // a FIN to both sides; what they still send is thrown away for one second

    unsigned Connections() const;  // accepted and not yet ended on both sides

    // Bytes handed to the other side, of all connections so far. What a peer has received is
    // counted.
    unsigned long long BytesUp() const;
    unsigned long long BytesDown() const;

    // Until exactly so many connections are open; false: the time is over first. A number that
    // holds only in passing may be missed.
    bool AwaitConnections(unsigned count, std::chrono::milliseconds limit) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace livetest

#endif
