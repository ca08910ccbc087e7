#include "explore/Choosers.h"

#include <algorithm>
#include <numeric>
#include <sstream>

namespace explore {

namespace {

bool IsReady(const Decision& decision, int thread) {
    return thread >= 0 && thread < kMaxThreads &&
           (decision.ready >> static_cast<unsigned>(thread) & 1U) != 0;
}

}  // namespace

std::string TextOf(const Schedule& schedule) {
    std::string text;
    for (const auto& change : schedule) {
        text += (text.empty() ? "" : " ") + std::to_string(change.first) + ":" +
                std::to_string(change.second);
    }
    return text;
}

Schedule ScheduleOf(const std::string& text) {
    Schedule schedule;
    std::istringstream words(text);
    std::uint32_t decision = 0;
    char colon = 0;
    int thread = 0;
    while (words >> decision >> colon >> thread) {
        schedule.emplace_back(decision, thread);
    }
    return schedule;
}

Schedule ScheduleOf(const Record& record) {
    Schedule schedule;
    for (std::uint32_t i = 0; i < record.decisions; ++i) {
        const Decision& decision = record.decision[i];
        if (decision.chosen != DefaultOf(decision)) {
            schedule.emplace_back(i, decision.chosen);
        }
    }
    return schedule;
}

int Replay::Choose(const Decision& decision) {
    const std::uint32_t number = m_decision++;
    if (m_next < m_schedule.size() && m_schedule[m_next].first == number) {
        const int thread = m_schedule[m_next++].second;
        if (IsReady(decision, thread)) {
            return thread;
        }
    }
    return DefaultOf(decision);
}

int Uniform::Choose(const Decision& decision) {
    int count = __builtin_popcount(decision.ready);
    int skip = static_cast<int>(m_random() % static_cast<unsigned>(count));
    for (int thread = 0;; ++thread) {
        if (IsReady(decision, thread) && skip-- == 0) {
            return thread;
        }
    }
}

Pct::Pct(std::uint64_t seed, int depth, std::uint32_t length) : m_priority(kMaxThreads) {
    std::mt19937_64 random(seed);
    std::iota(m_priority.begin(), m_priority.end(), depth);
    for (std::size_t i = m_priority.size() - 1; i > 0; --i) {
        std::swap(m_priority[i], m_priority[random() % (i + 1)]);
    }
    for (int i = 1; i < depth; ++i) {
        m_changes.push_back(static_cast<std::uint32_t>(random() % (length == 0 ? 1 : length)));
    }
}

int Pct::Highest(const Decision& decision) const {
    int highest = -1;
    for (int thread = 0; thread < kMaxThreads; ++thread) {
        if (IsReady(decision, thread) &&
            (highest < 0 || m_priority[static_cast<std::size_t>(thread)] >
                                m_priority[static_cast<std::size_t>(highest)])) {
            highest = thread;
        }
    }
    return highest;
}

int Pct::Choose(const Decision& decision) {
    const std::uint32_t number = m_decision++;
    for (std::size_t i = 0; i < m_changes.size(); ++i) {
        if (m_changes[i] == number) {
            m_priority[static_cast<std::size_t>(Highest(decision))] =
                static_cast<int>(m_changes.size()) - static_cast<int>(i) - 1;
        }
    }
    return Highest(decision);
}

}  // namespace explore
