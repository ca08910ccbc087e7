// What any thread may ask an engine at any moment: its channel, its streams, what it
// publishes. The engine's thread writes it, but for the numbers of requests, which the
// caller takes; nobody calls anything while the lock is held.
#ifndef VAXO_ENGINE_SHOW_SHAREDVIEW_H
#define VAXO_ENGINE_SHOW_SHAREDVIEW_H

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "engine/channel/ChannelService.h"

namespace vaxoengine {

class SharedView {
public:
    void SetChannel(const std::string& channel);  // empty: none
    std::string Channel() const;
    void SetStreams(std::vector<ChannelStream> streams);
    std::vector<ChannelStream> Streams() const;
    void SetPublished(const std::string& streamID);  // empty: nothing
    std::string Published() const;

    // Requests are numbered, each kind (a publish, a play of one stream) by itself. An event
    // about something that has been asked anew since is out of date: it would be taken for
    // the answer to the newer request.
    unsigned NextRequest(const std::string& kind);
    unsigned LastRequest(const std::string& kind) const;

private:
    mutable std::mutex m_lock;
    std::string m_channel;
    std::string m_published;
    std::vector<ChannelStream> m_streams;
    std::map<std::string, unsigned> m_requests;
};

}  // namespace vaxoengine

#endif
