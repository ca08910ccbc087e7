#include "kernel/live/StressFollower.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kernel/live/StressEngine.h"
#include "kernel/live/StressEvents.h"
#include "vaxolog.h"

namespace livetest {

namespace {

std::string Print(const VaxoAVMgrCmd& cmd) {
    return std::string(cmd.GetDescription()) + "(" + std::to_string(cmd.ddwExtraData) + "/" +
           Plain(cmd.strExtraData) + ")";
}

// "PlayStream(0/s1)" counts as "PlayStream", a SyncCmd as what it is.
std::string Group(const std::string& cmd) {
    const std::string type = cmd.substr(0, cmd.find('('));
    return type == "SyncCmd" ? cmd : type;
}

// Takes "BEFORE one BETWEEN two" apart; without `between` there is no two.
bool Match(const std::string& text, const std::string& before, const std::string& between,
           std::string* one, std::string* two = nullptr) {
    if (text.compare(0, before.size(), before) != 0) {
        return false;
    }
    const std::string rest = text.substr(before.size());
    const std::size_t at = between.empty() ? rest.size() : rest.rfind(between);
    if (at == std::string::npos) {
        return false;
    }
    *one = rest.substr(0, at);
    if (two != nullptr) {
        *two = rest.substr(at + between.size());
    }
    return true;
}

}  // namespace

QueueFollower::QueueFollower(bool log) : m_log(log) {
    CVaxoAVMgrCmdQueue::GetSharedInstance()->SetCallback(this);
    if (m_log) {
        vaxolog_set_sink(&QueueFollower::Sink, this);
    }
}

QueueFollower::~QueueFollower() {
    CVaxoAVMgrCmdQueue::GetSharedInstance()->SetCallback(nullptr);
    if (m_log) {
        vaxolog_set_sink(nullptr, nullptr);
    }
}

// Under the list's lock, which guards the count.
void QueueFollower::OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd> cmd) {
    ++removed[cmd->GetDescription()];
    if (!m_log) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Of the commands that a join can remove, no two that print alike ever wait.
    const auto it = std::find(m_waiting.begin(), m_waiting.end(), Print(*cmd));
    if (it == m_waiting.end()) {
        ADD_FAILURE() << "removed, but did not wait: " << Print(*cmd);
        return;
    }
    m_waiting.erase(it);
}

void QueueFollower::Sink(void* context, int32 /*level*/, const char* /*tag*/, int32 /*line*/,
                         const char* text) {
    static_cast<QueueFollower*>(context)->Line(text);
}

void QueueFollower::Line(const std::string& text) {
    std::string cmd;
    std::string size;
    if (Match(text, ">> added ", ", queue size: ", &cmd, &size)) {
        Added(cmd, size);
    } else if (Match(text, "PopCmd, cmd ", " poped, final queue size: ", &cmd, &size)) {
        Popped(cmd, size);
        begins();
    } else if (Match(text, ">> current executing cmd: ", "", &cmd)) {
        Completed(cmd);
    } else if (Match(text, ">>>>>> execute ", " failed", &cmd)) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            ++failures[Group(cmd)];
        }
        failed(Group(cmd));
    } else if (Match(text, "", ", abandon callbak", &cmd)) {
        ++AbandonedHere();
    } else if (text == "AddCmd, cmd invalid!") {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++refused;
    } else if (text == "OnPlayStateUpdate, not callback for this cmd") {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++foreign;
    }
}

// Under the list's lock, as the next one.
void QueueFollower::Added(const std::string& cmd, const std::string& size) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++added[Group(cmd)];
    m_waiting.push_back(cmd);
    EXPECT_EQ(size, std::to_string(m_waiting.size()));
}

void QueueFollower::Popped(const std::string& cmd, const std::string& size) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++popped[Group(cmd)];
    EXPECT_EQ(m_held, "") << "not done when " << cmd << " began";
    if (m_waiting.empty() || m_waiting.front() != cmd) {
        ADD_FAILURE() << "out of turn: " << cmd;
        return;
    }
    m_waiting.pop_front();
    EXPECT_EQ(size, std::to_string(m_waiting.size()));
    if (Group(cmd) != cmd) {
        m_held = cmd;
    }
}

// Under the write side of the lock over the executing slot.
void QueueFollower::Completed(const std::string& cmd) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++completed[Group(cmd)];
    EXPECT_EQ(cmd, m_held);
    m_held.clear();
}

void QueueFollower::CheckRest() {
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    EXPECT_FALSE(queue->GetExecutingCmd());
    EXPECT_EQ(m_held, "");
    EXPECT_EQ(m_waiting.size(), 0U);
}

}  // namespace livetest
