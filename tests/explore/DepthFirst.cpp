#include "explore/DepthFirst.h"

#include "explore/Hash.h"

namespace explore {

bool DepthFirst::Next(Schedule* schedule) {
    if (m_begun) {
        while (!m_frames.empty() && m_frames.back().at + 1 == m_frames.back().options.size()) {
            m_frames.pop_back();
        }
        if (m_frames.empty()) {
            return false;
        }
        ++m_frames.back().at;
    }
    m_begun = true;
    schedule->clear();
    for (const Frame& frame : m_frames) {
        if (frame.at != 0) {
            schedule->emplace_back(frame.decision, frame.options[frame.at]);
        }
    }
    return true;
}

// Also remembers the moment.
bool DepthFirst::WasHere(const Decision& decision, int left) {
    const std::uint64_t moment =
        Mix(decision.state, static_cast<std::uint64_t>(decision.current + 1));
    const auto [place, isNew] = m_seen.emplace(moment, left);
    if (isNew) {
        return false;
    }
    if (place->second >= left) {
        return true;
    }
    place->second = left;
    return false;
}

bool DepthFirst::Learn(const Record& record) {
    for (const Frame& frame : m_frames) {
        if (frame.decision >= record.decisions ||
            record.decision[frame.decision].chosen != frame.options[frame.at]) {
            return false;
        }
    }
    const std::uint32_t known = m_frames.empty() ? 0 : m_frames.back().decision + 1;
    int left = m_bound;
    for (std::uint32_t i = 0; i < record.decisions; ++i) {
        const Decision& decision = record.decision[i];
        if (i >= known) {
            if (WasHere(decision, left)) {
                return true;
            }
            Frame frame = {i, {DefaultOf(decision)}, 0};
            for (int thread = 0; thread < kMaxThreads; ++thread) {
                const bool ready = (decision.ready >> static_cast<unsigned>(thread) & 1U) != 0;
                if (ready && thread != frame.options[0] && (decision.current < 0 || left > 0)) {
                    frame.options.push_back(thread);
                }
            }
            if (frame.options.size() > 1) {
                m_frames.push_back(frame);
            }
        }
        if (decision.current >= 0 && decision.chosen != decision.current) {
            --left;
        }
    }
    return true;
}

}  // namespace explore
