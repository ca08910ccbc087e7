// The address of the channel service.
#ifndef VAXO_ENGINE_CHANNEL_SERVICEADDRESS_H
#define VAXO_ENGINE_CHANNEL_SERVICEADDRESS_H

#include <optional>
#include <string>
#include <vector>

namespace vaxoengine {

struct ServiceAddress {
    std::string host;  // a name or a number; version 6 without brackets
    int port = 0;
    bool tls = false;
};

// "mqtts://host[:port]" or "mqtt://host[:port]", with "/" behind it or not; the ports are
// 8883 and 1883 unless given. Nothing else: no user, no path. Pure, any thread.
std::optional<ServiceAddress> ParseServiceAddress(const std::string& url);

// The numeric addresses of a host, at most four. Waits for the resolver, which has its own
// time-outs; empty if it knows none.
std::vector<std::string> ResolveHost(const std::string& host);

}  // namespace vaxoengine

#endif
