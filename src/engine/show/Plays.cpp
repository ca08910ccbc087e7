#include "engine/show/Plays.h"

#include <utility>

#include "engine/show/Limits.h"

namespace vaxoengine {

Plays::Plays(PlayHost host) : m_host(std::move(host)) {}

Plays::~Plays() = default;

void Plays::Start(const std::string& streamID, unsigned channel) {
    const auto before = OnChannel(channel);
    if (before != m_plays.end() && before->first != streamID) {
        const std::string other = before->first;
        const bool answered = before->second->Answered();
        m_plays.erase(before);
        (answered ? m_host.change : m_host.answer)(Mediq::AVStateEnd, other);
    }
    const auto known = m_plays.find(streamID);
    if (known != m_plays.end()) {
        known->second->channel = channel;
        known->second->SetView(m_views[channel]);
        known->second->BeginAgain();
        return;
    }
    if (!m_host.inChannel()) {
        m_host.answer(Mediq::FetchStreamError, streamID);
    } else if (!m_host.listed(streamID)) {
        m_host.answer(Mediq::NoStreamError, streamID);
    } else if (m_plays.size() >= kMaxPlays) {
        m_host.answer(Mediq::FatalError, streamID);
    } else {
        auto made =
            std::make_unique<Play>(streamID, m_host, [this, streamID] { Remove(streamID); });
        Play& play = *made;
        m_plays[streamID] = std::move(made);
        play.channel = channel;
        play.SetView(m_views[channel]);
        play.Begin(m_look);
    }
}

void Plays::Stop(const std::string& streamID) {
    Remove(streamID);
    m_host.answer(Mediq::AVStateEnd, streamID);
}

void Plays::StopAll() {
    while (!m_plays.empty()) {
        const std::string streamID = m_plays.begin()->first;
        const bool answered = m_plays.begin()->second->Answered();
        Remove(streamID);
        (answered ? m_host.change : m_host.answer)(Mediq::AVStateEnd, streamID);
    }
}

void Plays::OnGone(const std::string& streamID) {
    const auto known = m_plays.find(streamID);
    if (known != m_plays.end()) {
        known->second->OnGone();
    }
}

void Plays::SetWindow(unsigned long window, unsigned channel) {
    m_views[channel].window = window;
    const auto play = OnChannel(channel);
    if (play != m_plays.end()) {
        play->second->SetView(m_views[channel]);
    }
}

void Plays::SetMode(ViewMode mode, unsigned channel) {
    m_views[channel].mode = mode;
    const auto play = OnChannel(channel);
    if (play != m_plays.end()) {
        play->second->SetView(m_views[channel]);
    }
}

void Plays::EnableSound(bool enable) {
    m_look.sound = enable;
    for (const auto& [streamID, play] : m_plays) {
        play->EnableSound(enable);
    }
}

void Plays::SetAudioOutput(const std::string& device) {
    m_look.audioOutput = device;
}

bool Plays::TakeSnapshot(unsigned channel, Snapshot& out) {
    const auto play = OnChannel(channel);
    return play != m_plays.end() && play->second->TakeSnapshot(out);
}

std::vector<Strova::VaxoLivePlayStats> Plays::GetStats() const {
    std::vector<Strova::VaxoLivePlayStats> all;
    for (const auto& [streamID, play] : m_plays) {
        const Player::Stats stats = play->GetStats();
        all.push_back({streamID, stats.fps, stats.bitrate, stats.latencyMillis});
    }
    return all;
}

std::map<std::string, std::unique_ptr<Play>>::iterator Plays::OnChannel(unsigned channel) {
    auto play = m_plays.begin();
    while (play != m_plays.end() && play->second->channel != channel) {
        ++play;
    }
    return play;
}

// Out of the map first: what the play's end causes may look into it.
void Plays::Remove(const std::string& streamID) {
    const auto known = m_plays.find(streamID);
    if (known != m_plays.end()) {
        const std::unique_ptr<Play> play = std::move(known->second);
        m_plays.erase(known);
    }
}

}  // namespace vaxoengine
