// Who is in a channel and which streams that makes: plain state, no connection.
//
// A member is known by its session. Two members that publish under one stream identifier:
// the one that began first is listed, the other waits until it has gone. (At the same
// millisecond: the smaller session. Every member decides alike; a wrong clock makes the
// wrong one first, but never a different one for each.)
//
// One thread at a time.
#ifndef VAXO_ENGINE_CHANNEL_CHANNELMEMBERS_H
#define VAXO_ENGINE_CHANNEL_CHANNELMEMBERS_H

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "engine/channel/ChannelRecord.h"
#include "engine/channel/ChannelService.h"

namespace vaxoengine {

constexpr std::size_t kMembers = 10000;      // more are ignored
constexpr std::size_t kSessionBytes = 128;   // a session with a longer name is ignored
constexpr std::size_t kSeenMembers = 50000;  // beyond, one that returns may count again

struct ChannelChange {
    ChannelStream stream;
    VaxoAVStreamUpdateFlag flag;  // AddedStream or DeletedStream
};

class ChannelMembers {
public:
    // What a stream's global identifier begins with: "<identity>/<channel>/".
    explicit ChannelMembers(std::string prefix);

    void Put(const std::string& session, const ChannelRecord& record);
    void Remove(const std::string& session);

    // After a loss: every member is in doubt until it is put again; DropDoubtful removes
    // those that were not.
    void DoubtAll();
    void DropDoubtful();
    bool AnyDoubtful() const;

    // The streams listed now, by stream identifier.
    std::vector<ChannelStream> Streams() const;
    // What became different since the last time, deleted ones first. A stream that changed
    // is an added one.
    std::vector<ChannelChange> TakeChanges();

    unsigned Online() const;  // members now
    unsigned Total() const;   // members so far; one that came back with its session counts once

private:
    struct Member {
        ChannelRecord record;
        bool doubtful = false;
    };
    using Listing = std::map<std::string, ChannelStream>;  // by global identifier

    ChannelStream StreamOf(const std::string& session, const ChannelRecord& record) const;
    Listing List() const;

    std::string m_prefix;
    std::map<std::string, Member> m_members;
    std::set<std::string> m_seen;
    Listing m_told;
    unsigned m_total = 0;
    bool m_changed = false;
};

}  // namespace vaxoengine

#endif
