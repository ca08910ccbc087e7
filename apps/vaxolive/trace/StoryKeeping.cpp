// What a story keeps, within its limits. See Story.h.
#include <algorithm>
#include <utility>

#include "Story.h"

namespace vaxotrace {

namespace {

constexpr std::size_t kFarthest = 1000;  // looked for among the waiting ones

}  // namespace

const Command* Story::Find(std::uint64_t id) const {
    const auto found = m_commands.find(id);
    return found == m_commands.end() ? nullptr : &found->second;
}

Command* Story::Make(std::size_t process, const LogLine& line, const CommandName& name) {
    MakeRoom();
    if (m_commands.size() >= m_limits.commands) {
        ++m_commandsLeftOut;
        return nullptr;
    }
    Command& command = m_commands[++m_lastId];
    command.id = m_lastId;
    command.process = process;
    command.thread = line.thread;
    command.name = name;
    return &command;
}

Command* Story::MakeFromBefore(std::size_t process, const LogLine& line, const CommandName& name) {
    m_processes[process].beganBefore = true;
    if (m_processes[process].waiting.size() >= m_limits.waiting) {
        ++m_commandsLeftOut;
        return nullptr;
    }
    Command* const command = Make(process, line, name);
    if (command != nullptr) {
        command->thread = 0;
    }
    return command;
}

Command* Story::FindToChange(std::uint64_t id) {
    const auto found = m_commands.find(id);
    return found == m_commands.end() ? nullptr : &found->second;
}

void Story::End(std::uint64_t id, Fate fate, Micros time) {
    Command* const command = FindToChange(id);
    if (command != nullptr && !command->IsOver()) {
        command->fate = fate;
        command->ended = time;
        m_over.push_back(id);
    }
}

void Story::MakeRoom() {
    while (m_commands.size() >= m_limits.commands && !m_over.empty()) {
        m_commands.erase(m_over.front());
        m_over.pop_front();
        ++m_commandsLeftOut;
    }
}

void Story::AddEvent(const LogLine& line, EventKind kind, std::string text) {
    if (m_events.size() >= m_limits.events) {
        m_events.pop_front();
        ++m_eventsLeftOut;
    }
    m_events.push_back({line.time, 0, line.thread, kind, std::move(text)});
}

bool Story::IsNamed(std::uint64_t id, const CommandName& name) const {
    const Command* const command = Find(id);
    return command != nullptr && command->name == name;
}

bool Story::IsFront(const Process& process, const CommandName& name) const {
    return !process.waiting.empty() && IsNamed(process.waiting.front(), name);
}

std::size_t Story::PlaceOf(const Process& process, std::size_t from,
                           const CommandName& name) const {
    const std::size_t end = std::min(process.waiting.size(), from + kFarthest);
    for (std::size_t place = from; place < end; ++place) {
        if (IsNamed(process.waiting[place], name)) {
            return place;
        }
    }
    return kNone;
}

}  // namespace vaxotrace
