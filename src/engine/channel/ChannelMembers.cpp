#include "engine/channel/ChannelMembers.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace vaxoengine {

bool ChannelStream::operator==(const ChannelStream& other) const {
    return std::tie(streamGID, streamID, userID, userName, title, rtmpURLs, hlsURLs, status) ==
           std::tie(other.streamGID, other.streamID, other.userID, other.userName, other.title,
                    other.rtmpURLs, other.hlsURLs, other.status);
}

ChannelMembers::ChannelMembers(std::string prefix) : m_prefix(std::move(prefix)) {}

void ChannelMembers::Put(const std::string& session, const ChannelRecord& record) {
    if (session.empty() || session.size() > kSessionBytes) {
        return;
    }
    const auto known = m_members.find(session);
    if (known != m_members.end()) {
        m_changed = m_changed || !(known->second.record == record);
        known->second = Member{record, false};
        return;
    }
    if (m_members.size() >= kMembers) {
        return;
    }
    m_members.emplace(session, Member{record, false});
    m_changed = true;
    if (m_seen.count(session) == 0) {
        ++m_total;
        if (m_seen.size() < kSeenMembers) {
            m_seen.insert(session);
        }
    }
}

void ChannelMembers::Remove(const std::string& session) {
    m_changed = m_members.erase(session) != 0 || m_changed;
}

void ChannelMembers::DoubtAll() {
    for (auto& member : m_members) {
        member.second.doubtful = true;
    }
}

void ChannelMembers::DropDoubtful() {
    for (auto member = m_members.begin(); member != m_members.end();) {
        if (member->second.doubtful) {
            member = m_members.erase(member);
            m_changed = true;
        } else {
            ++member;
        }
    }
}

bool ChannelMembers::AnyDoubtful() const {
    return std::any_of(m_members.begin(), m_members.end(),
                       [](const auto& member) { return member.second.doubtful; });
}

ChannelStream ChannelMembers::StreamOf(const std::string& session,
                                       const ChannelRecord& record) const {
    ChannelStream stream;
    stream.streamGID = m_prefix + session;
    stream.streamID = record.streamID;
    stream.userID = record.userID;
    stream.userName = record.userName;
    stream.title = record.title;
    stream.rtmpURLs = record.rtmpURLs;
    stream.hlsURLs = record.hlsURLs;
    stream.status = 1;
    return stream;
}

ChannelMembers::Listing ChannelMembers::List() const {
    using Entry = std::map<std::string, Member>::const_iterator;
    std::map<std::string, Entry> first;  // by stream identifier
    for (auto member = m_members.begin(); member != m_members.end(); ++member) {
        const ChannelRecord& record = member->second.record;
        if (record.streamID.empty()) {
            continue;
        }
        // Sessions come in their order, so the smaller one of two equals is there already.
        const auto [place, isNew] = first.emplace(record.streamID, member);
        if (!isNew && record.since < place->second->second.record.since) {
            place->second = member;
        }
    }
    Listing listing;
    for (const auto& [streamID, member] : first) {
        ChannelStream stream = StreamOf(member->first, member->second.record);
        const std::string gid = stream.streamGID;
        listing.emplace(gid, std::move(stream));
    }
    return listing;
}

std::vector<ChannelStream> ChannelMembers::Streams() const {
    std::vector<ChannelStream> streams;
    for (auto& [gid, stream] : List()) {
        streams.push_back(stream);
    }
    std::sort(streams.begin(), streams.end(), [](const ChannelStream& a, const ChannelStream& b) {
        return a.streamID < b.streamID;
    });
    return streams;
}

std::vector<ChannelChange> ChannelMembers::TakeChanges() {
    std::vector<ChannelChange> changes;
    if (!std::exchange(m_changed, false)) {
        return changes;
    }
    Listing now = List();
    for (const auto& [gid, stream] : m_told) {
        const auto same = now.find(gid);
        // Under another identifier it is another stream.
        if (same == now.end() || same->second.streamID != stream.streamID) {
            changes.push_back({stream, DeletedStream});
        }
    }
    for (const auto& [gid, stream] : now) {
        const auto told = m_told.find(gid);
        if (told == m_told.end() || !(told->second == stream)) {
            changes.push_back({stream, AddedStream});
        }
    }
    m_told = std::move(now);
    return changes;
}

unsigned ChannelMembers::Online() const {
    return static_cast<unsigned>(m_members.size());
}

unsigned ChannelMembers::Total() const {
    return m_total;
}

}  // namespace vaxoengine
