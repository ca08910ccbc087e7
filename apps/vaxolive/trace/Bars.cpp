#include "Bars.h"

#include <algorithm>

#include "Lanes.h"

namespace vaxotrace {

namespace {

class BarMaker {
public:
    BarMaker(const Process& process, ProcessBars& out) : m_process(process), m_out(out) {}

    void Add(const Command& command) {
        if (command.fate == Fate::Refused) {
            AddBar(command, LaneKind::Refused, command.offered, command.ended);
            return;
        }
        const bool isJoining = command.fate == Fate::Waiting && command.offered == kNoTime;
        if (command.offered != kNoTime || command.popped != kNoTime || isJoining) {
            AddBar(command, LaneKind::Waiting, command.offered,
                   command.popped != kNoTime ? command.popped : command.ended);
        }
        if (command.popped != kNoTime) {
            AddBar(command, LaneKind::Running, command.popped,
                   command.ran != kNoTime ? command.ran : command.ended);
        }
        const bool wasBegunBefore = command.popped == kNoTime && (command.fate == Fate::Holding ||
                                                                  command.fate == Fate::Finished);
        if ((command.ran != kNoTime && command.Holds()) || wasBegunBefore) {
            AddBar(command, LaneKind::Holding, command.ran, command.ended);
        }
    }

private:
    void AddBar(const Command& command, LaneKind kind, Micros begin, Micros end) {
        Bar bar;
        bar.command = &command;
        bar.kind = kind;
        bar.begin = begin != kNoTime ? begin : m_process.begin;
        bar.isOpen = end == kNoTime;
        bar.end = std::max(bar.begin, bar.isOpen ? m_process.end : end);
        m_out.bars.push_back(bar);
    }

    const Process& m_process;
    ProcessBars& m_out;
};

}  // namespace

ProcessBars BarsOf(const Story& story, const ProcessDiagnosis& process, std::size_t most) {
    std::vector<const Command*> commands;
    for (auto it = story.Commands().rbegin();
         it != story.Commands().rend() && commands.size() < most; ++it) {
        if (it->second.process == process.index) {
            commands.push_back(&it->second);
        }
    }
    ProcessBars out;
    BarMaker maker(*process.process, out);
    std::for_each(commands.rbegin(), commands.rend(),
                  [&](const Command* command) { maker.Add(*command); });
    std::stable_sort(out.bars.begin(), out.bars.end(),
                     [](const Bar& a, const Bar& b) { return a.begin < b.begin; });
    Lanes waiting;
    for (Bar& bar : out.bars) {
        if (bar.kind == LaneKind::Waiting) {
            bar.lane = waiting.Take(bar.begin, bar.end);
        }
    }
    out.waitingLanes = waiting.Count();
    return out;
}

const char* LaneName(LaneKind kind) {
    switch (kind) {
        case LaneKind::Holding:
            return "holding the queue";
        case LaneKind::Running:
            return "running";
        case LaneKind::Waiting:
            return "waiting";
        case LaneKind::Refused:
            break;
    }
    return "refused";
}

}  // namespace vaxotrace
