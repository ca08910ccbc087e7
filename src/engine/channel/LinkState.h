// What a connection's two sides share: requests from the engine's thread, events for it.
#ifndef VAXO_ENGINE_CHANNEL_LINKSTATE_H
#define VAXO_ENGINE_CHANNEL_LINKSTATE_H

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/channel/ChannelLink.h"

namespace vaxoengine {

struct LinkRequest {
    enum Kind { Subscribe, Publish };
    Kind kind = Publish;
    std::string topic;
    std::string payload;
    bool retained = false;
};

struct LinkState : std::enable_shared_from_this<LinkState> {
    LinkState(LinkConfig linkConfig, ChannelLink::Listener linkListener);
    ~LinkState();
    LinkState(const LinkState&) = delete;
    LinkState& operator=(const LinkState&) = delete;

    // The engine's side.
    void Ask(LinkRequest request);
    void Finish();  // after what was asked before
    void Cut();     // any thread
    void Deliver();

    // The connection's side.
    bool IsCut() const;
    bool IsFinishing() const;
    int WakeHandle() const;  // readable when there is something to ask or to end
    void ClearWake() const;
    std::deque<LinkRequest> TakeRequests();
    void Tell(LinkEvent event);
    // False: the engine is behind, and nothing more should be read for now.
    bool HasRoom() const;

    const LinkConfig config;

private:
    void Wake() const;

    const ChannelLink::Listener m_listener;
    const int m_wake;
    std::atomic<bool> m_cut{false};
    std::atomic<bool> m_finishing{false};
    mutable std::mutex m_mutex;
    std::deque<LinkRequest> m_requests;
    std::vector<LinkEvent> m_events;
    bool m_posted = false;
};

}  // namespace vaxoengine

#endif
