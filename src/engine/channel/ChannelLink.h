// One connection to the channel service, from its making to its loss; it never comes back,
// another one is made instead.
//
// A thread of its own connects, reads and writes. Everything here is called, and everything
// heard, on the engine's thread; nothing waits but for the last moments of a link's thread.
// What is heard comes in batches, in order:
//     Open     the host answers
//     Up       identity and key are accepted
//     Message  to one of the topics subscribed, in the order the service sent them
//     Down     the end, with its reason; the last one, always, unless cut
// The thread ends by itself: at once when cut, unless the resolver keeps it; a host that
// does not answer is given up after 5 s. A service that falls silent (frozen, or behind a cut
// cable) ends the link with Timeout, 5 s later at most.
#ifndef VAXO_ENGINE_CHANNEL_CHANNELLINK_H
#define VAXO_ENGINE_CHANNEL_CHANNELLINK_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/channel/ChannelService.h"
#include "engine/channel/ServiceAddress.h"

namespace vaxoengine {

struct LinkConfig {
    ServiceAddress address;
    std::string identity;    // name of the key, and the user name
    std::string key;         // bytes; never logged
    std::string client;      // this client's name at the service
    std::string willTopic;   // its retained message is cleared when the connection breaks
    std::string pulseTopic;  // nobody listens there: written to when the service is silent
};

struct LinkEvent {
    enum Kind { Open, Up, Message, Down };
    Kind kind = Open;
    ChannelError error = ChannelError_None;  // Down; none: ended as Finish asked
    std::string topic;                       // Message
    std::string payload;                     // Message; longer than a record may be: cut there
};

struct LinkState;

class ChannelLink {
public:
    using Listener = std::function<void(const std::vector<LinkEvent>& events)>;

    // The listener must not hold what owns the link, only know it weakly.
    ChannelLink(LinkConfig config, Listener listener);
    ~ChannelLink();  // Cut
    ChannelLink(const ChannelLink&) = delete;
    ChannelLink& operator=(const ChannelLink&) = delete;

    // Kept until the link is up, then sent in order, each acknowledged by the service; a
    // refusal ends the link with Forbidden.
    void Subscribe(const std::string& topic);
    void Publish(const std::string& topic, const std::string& payload, bool retained);
    // Sends what is left, waits for its acknowledgements and takes leave, without the will.
    // Before the link is up: cuts.
    void Finish();
    // Closes at once and without leave, so that the will speaks. Nothing is heard after it.
    void Cut();

private:
    std::shared_ptr<LinkState> m_state;
};

}  // namespace vaxoengine

#endif
