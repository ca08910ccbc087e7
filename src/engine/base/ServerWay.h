// Looks after the connections that GLib's clients make to one media server: the elements that
// make them neither show their sockets nor set them up for speaking at once.
//
// While an object of this lives, every new connection of the process to its host and port
// - sends small pieces at once (TCP_NODELAY). Without it each message of the greeting waited
//   for the acknowledgement of the one before, which comes up to 40 ms late: 85 ms in all.
// - is told, with how long it took to make: one way there and back, unless something was lost.
// - is hung up when its element reports an error. An element whose request is turned down stops
//   its event loop without closing the connection, which then stays for ever unless the server
//   has closed it by that moment.
// Connections of the application to other hosts and ports are left alone; one to the same
// host and port is taken for ours, and does no harm but for the news of it.
//
// GLib asks once in the process, by an emission hook that stays.
#ifndef VAXO_ENGINE_BASE_SERVERWAY_H
#define VAXO_ENGINE_BASE_SERVERWAY_H

#include <chrono>
#include <functional>
#include <string>

#include <gst/gst.h>

namespace vaxoengine {

class ServerWay {
public:
    // Called on a thread of the connection's, under a lock that all objects of this class
    // share: it posts, and does nothing else. Not called once the destructor has returned.
    using OnConnected = std::function<void(std::chrono::milliseconds took)>;

    // `element`: rtmp2src or rtmp2sink, its address set, in `pipeline`, of whose bus this takes
    // the synchronous handler.
    ServerWay(GstElement* pipeline, GstElement* element, OnConnected onConnected = {});
    ~ServerWay();
    ServerWay(const ServerWay&) = delete;
    ServerWay& operator=(const ServerWay&) = delete;

private:
    struct Hook;

    std::string m_host;
    unsigned m_port = 0;
    OnConnected m_onConnected;
};

}  // namespace vaxoengine

#endif
