// The model's queue: how commands join, and the passes that run them.
#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "kernel/live/model/LiveModel.h"

namespace livemodel {

namespace {

// No other type has a name.
const char* TypeName(int type) {
    static const char* const s_names[] = {"",           "GetInRoom",    "LeaveRoom",   "PlayStream",
                                          "StopStream", "StartPublish", "StopPublish", "SyncCmd"};
    return type >= GetInRoom && type <= SyncCmd ? s_names[type] : "";
}

// The application's operation behind a type.
const char* OperationName(int type) {
    static const char* const s_names[] = {"",
                                          "GetStreamList",
                                          "Logout",
                                          "PlayStream",
                                          "StopPlayStream",
                                          "StartPublishing",
                                          "StopPublishing"};
    return s_names[type];
}

}  // namespace

// The log prints a text up to its first zero byte.
std::string LiveModel::Name(const Cmd& cmd) {
    return TypeName(cmd.type) + ("(" + std::to_string(cmd.number)) + "/" + cmd.text.c_str() + ")";
}

// The proxy's way into the queue. A refused command starts a pass all the same.
int LiveModel::AddCmd(const CmdPtr& cmd) {
    if (cmd) {
        Say("log 3 CmdProxy: AddCmd: " + Name(*cmd));
    }
    const Answer answer = cmd ? Offer(cmd) : Refuses;
    if (answer == Refuses) {
        Say("log 3 CmdProxy: AddCmd, cmd invalid!");
    }
    Post('0', [this] { Pass(); });
    return answer;
}

// Every waiting command is asked, oldest first, until one refuses. The last answer counts.
Answer LiveModel::Offer(const CmdPtr& cmd) {
    static const char* const s_answers[] = {"CoExist", "InvalidateFormer", "InvalidateLater"};
    Say("log 3 CmdQueue: AddCmd, going to add " + Name(*cmd) +
        ", current queue size: " + std::to_string(m_waiting.size()) + " >>>>>");
    Answer answer = Stays;
    for (auto it = m_waiting.begin(); it != m_waiting.end() && answer != Refuses;) {
        answer = Join(**it, *cmd);
        Say("log 3 CmdQueue: >> join result by " + Name(**it) + ", " + s_answers[answer]);
        it = answer == Goes ? m_waiting.erase(it) : it + 1;
    }
    if (answer != Refuses) {
        m_waiting.push_back(cmd);
        Say("log 3 CmdQueue: >> added " + Name(*cmd) +
            ", queue size: " + std::to_string(m_waiting.size()));
    }
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        Say("log 4 CmdQueue: " + std::to_string(i) + ": " + Name(*m_waiting[i]));
    }
    return answer;
}

Answer LiveModel::Join(const Cmd& waiting, const Cmd& later) {
    if (waiting.fixedAnswer >= 0) {
        return static_cast<Answer>(waiting.fixedAnswer);
    }
    const bool known = later.type >= GetInRoom && later.type <= SyncCmd;
    if (waiting.rule != SyncCmd && !known) {
        Say(std::string("log 1 CmdProxy: ") + OperationName(waiting.rule) + ", encounter ");
        return Refuses;
    }
    m_world.Met(waiting.rule, later.type, waiting.compared == later.text);
    return IsPointless(waiting, later) ? Goes : Stays;
}

// Whether a waiting command has no point any more once `later` was asked for.
bool LiveModel::IsPointless(const Cmd& waiting, const Cmd& later) const {
    const bool same = waiting.compared == later.text;
    const bool entry = later.type == GetInRoom;
    const bool play = later.type == PlayStream;
    const bool publish = later.type == StartPublish;
    switch (waiting.rule) {
        case GetInRoom:  // a newer entry; a publish of a stream not named as the channel
            return entry || (publish && !same);
        case StartPublish:  // a newer publish; the entry of another channel
            return publish || (entry && !same);
        case PlayStream:  // anything newer about the same stream
        case StopStream:
            if (waiting.rule == StopStream && play && m_flaws.stopKeepsPlay) {
                return false;
            }
            return (play || later.type == StopStream) && same;
        case LeaveRoom:  // whoever asks for the channel again stays in it; a newer logout
            return entry || play || publish || later.type == LeaveRoom;
        default:  // a stop of publishing, and what is over when it has run
            return false;
    }
}

void LiveModel::Pass() {
    m_passHoldsLock = true;
    Say("log 3 CmdQueue: StartCmdExecuteInner");
    RunCmds();
    m_passHoldsLock = false;
}

// Worker 0 takes commands until one holds the queue. That one then waits for its event.
void LiveModel::RunCmds() {
    while (!executing) {
        if (m_waiting.empty()) {
            return Say("log 3 CmdQueue: > no cmd enqueued.");
        }
        const CmdPtr cmd = m_waiting.front();
        m_waiting.pop_front();
        Say("log 3 CmdQueue: PopCmd, cmd " + Name(*cmd) +
            " poped, final queue size: " + std::to_string(m_waiting.size()));
        const bool holds = cmd->type != SyncCmd;
        if (holds) {
            executing = cmd;
        }
        if (cmd->run() != 0) {
            Say("log 1 unnamed: >>>>>> execute " + Name(*cmd) + " failed");
        } else if (holds) {
            Say(std::string("log 3 CmdQueue: > executed ") + TypeName(cmd->type) +
                ", waiting for result");
        } else {
            Say("log 3 CmdQueue: > executed " + Name(*cmd));
        }
        if (holds) {
            return;
        }
    }
    Say("log 3 CmdQueue: > executing: " + Name(*executing));
}

// The event that commands of this type wait for has come.
void LiveModel::Done(int type) {
    Say(std::string("log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: ") + TypeName(type));
    if (executing && executing->type == type) {
        Say("log 3 CmdQueue: >> current executing cmd: " + Name(*executing));
        executing.reset();
    }
    m_passHoldsLock = false;
    if (!executing) {
        Post('0', [this] { Pass(); });
    }
}

bool LiveModel::MayCallBack() const {
    return std::none_of(m_waiting.begin(), m_waiting.end(),
                        [](const CmdPtr& cmd) { return cmd->type == LeaveRoom; });
}

void LiveModel::Post(char worker, Job job) {
    Jobs(worker).push_back(std::move(job));
    Say(std::string("post ") + worker);
}

bool LiveModel::RunOne(char worker) {
    if (Jobs(worker).empty()) {
        return false;
    }
    Job job = std::move(Jobs(worker).front());
    Jobs(worker).pop_front();
    const char before = std::exchange(m_world.thread, worker);
    const bool busy = std::exchange(m_busy, m_busy || worker == '0');
    job();
    job = nullptr;  // lets go of the application's object, if it held one
    m_busy = busy;
    m_world.thread = before;
    return true;
}

}  // namespace livemodel
