// The channel service: who is in a channel and which streams there are, over MQTT.
//
// Every member of a channel keeps one retained record under
//     live/<identity>/<channel>/m/<session>
// which says who it is and, while it publishes, what. The member's last will clears it, so
// that a member that dies takes its stream along. <channel> is escaped to what a topic may
// hold; <session> is random for each entry.
//
// The connection is TLS with a pre-shared key: identity and key of the application. Each
// connection has a thread of its own, which ends by itself when the connection does and is
// never waited for: at once, unless the system's resolver keeps it. Everything below is the
// engine's thread only, observer calls included. A process may end at any time.
//
// Who begins to watch a stream asks its publisher for a key frame by a message to
//     live/<identity>/<channel>/k/<session>
// which is not retained.
//
// Of two streams with one identifier the one that began first is listed; the other appears
// when that one goes. ChannelRecord.h says what of a stream is told and where it is cut.
#ifndef VAXO_ENGINE_CHANNEL_CHANNELSERVICE_H
#define VAXO_ENGINE_CHANNEL_CHANNELSERVICE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "VaxoAVDefines.h"

namespace vaxoengine {

// Strings are bytes; what is not UTF-8 in a name that comes from outside is replaced.
struct ChannelStream {
    std::string streamGID;  // "<identity>/<channel>/<session>": unique among all
    std::string streamID;
    std::string userID;
    std::string userName;
    std::string title;
    std::vector<std::string> rtmpURLs;  // unsigned addresses, as the publisher gave them
    std::vector<std::string> hlsURLs;
    unsigned status = 0;  // 1: publishing

    bool operator==(const ChannelStream& other) const;
};

struct ChannelConfig {
    std::string
        url;  // "mqtts://host:port" (TLS with the key) or "mqtt://host:port" (plain, for tests)
    std::string identity;  // the application identifier
    std::string key;       // the sign key's bytes; never logged
    std::string channel;
    std::string userID;
    std::string userName;
    std::string topicIdentity;  // empty: identity. Another one is refused by the service (tests)
};

// Why an entry failed or a connection was lost; the error numbers of OnGetStreamList and
// OnDisconnected.
enum ChannelError : unsigned {
    ChannelError_None = 0,
    ChannelError_Unreachable = 1,  // no connection: host, port, network
    ChannelError_Refused = 2,      // identity or key not accepted
    // Accepted, but not for this channel; or its name takes more than 512 bytes, escaped.
    ChannelError_Forbidden = 3,
    ChannelError_Timeout = 4,  // connected, but no answer in time
    ChannelError_Address = 5,  // no usable service address is set
};

class ChannelObserver {
public:
    // Answers Enter, exactly once, at most 8 s after it (unless left or destroyed before).
    // An entry that failed does not go on trying.
    virtual void OnChannelEntered(ChannelError error) = 0;
    // After OnChannelEntered(none): every stream with CompleteStreamList, then changes. The
    // member's own stream is among them. After OnChannelBack: only what changed meanwhile,
    // and what is missing is deleted 4 s later only, because a service that has restarted
    // hears from the other members as late as from this one.
    // A stream whose record changed comes as AddedStream again. What came and went at once
    // may not come at all.
    virtual void OnChannelStream(const ChannelStream& stream, VaxoAVStreamUpdateFlag flag) = 0;
    // `online`: members now, oneself included; `total`: members seen since the entry.
    virtual void OnChannelCounts(unsigned online, unsigned total) = 0;
    virtual void OnChannelLost(ChannelError error) = 0;  // goes on trying, up to 8 s apart
    virtual void OnChannelBack() = 0;
    // Somebody begins to watch what this member publishes.
    virtual void OnKeyFrameWanted() = 0;

protected:
    ~ChannelObserver() = default;
};

class ChannelService {
public:
    ChannelService(ChannelConfig config, ChannelObserver* observer);
    // Leaves without a word if Leave was not called: the last will speaks. No observer call
    // comes after it. Never waits.
    ~ChannelService();
    ChannelService(const ChannelService&) = delete;
    ChannelService& operator=(const ChannelService&) = delete;

    void Enter();
    // Tells the channel what this member publishes: streamID, title and addresses are used.
    // Null: nothing. Kept over reconnects.
    void SetPublished(const ChannelStream* stream);
    // Tells the publisher of a listed stream that somebody begins to watch it. Without a
    // connection, or for a stream that is not listed: nothing.
    void AskKeyFrame(const std::string& streamID);
    // Clears the record and disconnects; `done` is called at most 2 s later, exactly once
    // (unless destroyed before). No observer call comes after Leave.
    void Leave(std::function<void()> done);

    std::vector<ChannelStream> Streams() const;
    bool Connected() const;

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
