#include "engine/channel/ChannelLink.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "engine/base/EngineLoop.h"
#include "engine/channel/LinkState.h"
#include "engine/channel/LinkThreads.h"
#include "engine/channel/LinkWorker.h"

namespace vaxoengine {

namespace {

constexpr std::size_t kEventsWaiting = 1000;

}  // namespace

LinkState::LinkState(LinkConfig linkConfig, ChannelLink::Listener linkListener)
    : config(std::move(linkConfig)),
      m_listener(std::move(linkListener)),
      m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

LinkState::~LinkState() {
    if (m_wake >= 0) {
        close(m_wake);
    }
}

void LinkState::Wake() const {
    const std::uint64_t one = 1;
    // Full means that it is readable already.
    const ssize_t written = write(m_wake, &one, sizeof one);
    static_cast<void>(written);
}

void LinkState::ClearWake() const {
    std::uint64_t count = 0;
    const ssize_t got = read(m_wake, &count, sizeof count);
    static_cast<void>(got);
}

int LinkState::WakeHandle() const {
    return m_wake;
}

void LinkState::Ask(LinkRequest request) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(std::move(request));
    }
    Wake();
}

void LinkState::Finish() {
    m_finishing = true;
    Wake();
}

bool LinkState::IsFinishing() const {
    return m_finishing;
}

void LinkState::Cut() {
    m_cut = true;
    Wake();
}

bool LinkState::IsCut() const {
    return m_cut;
}

std::deque<LinkRequest> LinkState::TakeRequests() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_requests, {});
}

void LinkState::Tell(LinkEvent event) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(std::move(event));
        if (std::exchange(m_posted, true)) {
            return;
        }
    }
    EngineLoop::Shared().Post([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->Deliver();
        }
    });
}

bool LinkState::HasRoom() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events.size() < kEventsWaiting;
}

void LinkState::Deliver() {
    std::vector<LinkEvent> events;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        events = std::exchange(m_events, {});
        m_posted = false;
    }
    if (!IsCut()) {
        m_listener(events);
    }
}

ChannelLink::ChannelLink(LinkConfig config, Listener listener)
    : m_state(std::make_shared<LinkState>(std::move(config), std::move(listener))) {
    const std::shared_ptr<LinkState> state = m_state;
    const bool started = state->WakeHandle() >= 0 &&
                         StartLinkThread([state] { RunLink(state); }, [state] { state->Cut(); });
    if (!started) {
        LinkEvent down;
        down.kind = LinkEvent::Down;
        down.error = ChannelError_Unreachable;
        state->Tell(std::move(down));
    }
}

ChannelLink::~ChannelLink() {
    Cut();
}

void ChannelLink::Subscribe(const std::string& topic) {
    m_state->Ask({LinkRequest::Subscribe, topic, {}, false});
}

void ChannelLink::Publish(const std::string& topic, const std::string& payload, bool retained) {
    m_state->Ask({LinkRequest::Publish, topic, payload, retained});
}

void ChannelLink::Finish() {
    m_state->Finish();
}

void ChannelLink::Cut() {
    m_state->Cut();
}

}  // namespace vaxoengine
