#include "explore/QueueWatch.h"

#include <algorithm>
#include <cstdlib>

#include "explore/Scheduler.h"

namespace explore {

namespace {

bool Begins(const std::string& text, const std::string& with) {
    return text.compare(0, with.size(), with) == 0;
}

// What stands between the two.
std::string Between(const std::string& text, const std::string& before, const std::string& behind) {
    const std::size_t from = text.find(before) + before.size();
    return text.substr(from, text.rfind(behind) - from);
}

std::size_t NumberBehind(const std::string& text, const std::string& before) {
    return std::strtoul(text.c_str() + text.rfind(before) + before.size(), nullptr, 10);
}

}  // namespace

void QueueWatch::OnLine(const std::string& tag, const std::string& text) {
    if (tag == "CmdProxy" && text == "AddCmd, cmd invalid!") {
        ++m_refused;
    }
    if (tag != "CmdQueue") {
        return;
    }
    if (Begins(text, ">> join result by ")) {
        OnJoin(Between(text, ">> join result by ", ", "), text.substr(text.rfind(", ") + 2));
    } else if (Begins(text, ">> added ")) {
        OnAdded(Between(text, ">> added ", ", queue size: "), NumberBehind(text, "size: "));
    } else if (Begins(text, "PopCmd, cmd ")) {
        OnTaken(Between(text, "PopCmd, cmd ", " poped"), NumberBehind(text, "size: "));
    } else if (Begins(text, ">> current executing cmd: ")) {
        const std::string done = text.substr(text.find(": ") + 2);
        if (done != m_executing) {
            Fail(done + " is ended while " + m_executing + " holds the queue");
        }
        m_executing.clear();
    } else if (Begins(text, "> executing: ")) {
        const std::string holding = text.substr(text.find(": ") + 2);
        if (holding != m_executing) {
            Fail("a pass finds " + holding + " where " + m_executing + " holds the queue");
        }
    }
}

void QueueWatch::OnJoin(const std::string& waiting, const std::string& result) {
    const auto found = std::find(m_waiting.begin(), m_waiting.end(), waiting);
    if (found == m_waiting.end()) {
        Fail("a join asks " + waiting + ", which does not wait");
    }
    if (result == "InvalidateFormer") {
        m_waiting.erase(found);
        ++m_removed;
        LookForLeave();
    }
}

void QueueWatch::OnAdded(const std::string& command, std::size_t size) {
    m_waiting.push_back(command);
    ++m_accepted;
    LookForLeave();
    if (m_waiting.size() != size) {
        Fail("the queue holds " + std::to_string(size) + " commands, " +
             std::to_string(m_waiting.size()) + " were added and not taken");
    }
}

void QueueWatch::OnTaken(const std::string& command, std::size_t size) {
    if (!m_executing.empty()) {
        Fail(command + " is taken while " + m_executing + " holds the queue");
    }
    if (m_waiting.empty() || m_waiting.front() != command) {
        Fail(command + " is taken, the oldest that waits is " +
             (m_waiting.empty() ? "none" : m_waiting.front()));
    }
    m_waiting.erase(m_waiting.begin());
    ++m_run;
    LookForLeave();
    if (m_waiting.size() != size) {
        Fail("the queue says it holds " + std::to_string(size) + " commands");
    }
    if (!Begins(command, "SyncCmd(")) {
        m_executing = command;
    }
}

void QueueWatch::LookForLeave() {
    const bool waits = std::any_of(m_waiting.begin(), m_waiting.end(), [](const auto& command) {
        return Begins(command, "LeaveRoom(");
    });
    if (waits && !m_leaveWaits) {
        ++m_leaveTime;
    }
    m_leaveWaits = waits;
}

void QueueWatch::MustBeAtRest() const {
    if (!m_executing.empty()) {
        Fail("all is quiet, and " + m_executing + " still holds the queue");
    }
    if (!m_waiting.empty()) {
        Fail("all is quiet, and " + m_waiting.front() + " still waits");
    }
    if (m_run + m_removed != m_accepted) {
        Fail(std::to_string(m_accepted) + " commands accepted, " + std::to_string(m_run) +
             " run and " + std::to_string(m_removed) + " removed");
    }
}

}  // namespace explore
