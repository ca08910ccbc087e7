#include "Rules.h"

#include <algorithm>

#include "VaxoAVDefines.h"
#include "live/VaxoLiveCalls.h"
#include "live/VaxoLiveJoin.h"

namespace vaxotrace {

namespace {

// 0: none of the types.
VaxoAVMgrCmdType TypeOf(const std::string& name) {
    for (int type = GetInRoom; type <= SyncCmd; ++type) {
        if (name == VaxoDescription(static_cast<VaxoAVMgrCmdType>(type))) {
            return static_cast<VaxoAVMgrCmdType>(type);
        }
    }
    return static_cast<VaxoAVMgrCmdType>(0);
}

// The calls of a number: two may share one.
std::string Operations(std::uint64_t number) {
    std::string all;
    for (const Strova::livecall::Row& row : Strova::livecall::Rows) {
        if (row.number == number) {
            all += (all.empty() ? "" : "/") + std::string(row.operation);
        }
    }
    return all.empty() ? "call " + std::to_string(number) : all;
}

std::string RemovalRule(const CommandName& waiting, const CommandName& newcomer) {
    const VaxoAVMgrCmdType row = TypeOf(waiting.type);
    const VaxoAVMgrCmdType column = TypeOf(newcomer.type);
    if (row == 0 || column == 0) {
        return "a rule that is not in the table";
    }
    const Strova::VaxoLiveJoinRule& rule = Strova::VaxoLiveJoinRuleOf(row);
    const Strova::VaxoLiveJoinCell& cell = rule.cells[static_cast<std::size_t>(column) - 1];
    const std::string front = "a waiting " + waiting.type + " gives way to ";
    const bool drops = cell.same == CmdJoin_InvalidateFormer;
    const bool dropsOther = cell.different == CmdJoin_InvalidateFormer;
    if (drops && dropsOther) {
        return front + "every newer " + newcomer.type;
    }
    if (drops) {
        return front + "a newer " + newcomer.type + " with the same " + rule.comparesWith;
    }
    if (dropsOther) {
        return front + "a newer " + newcomer.type + " whose text is not its " + rule.comparesWith;
    }
    return "a rule that is not in this version's table";
}

Micros Between(Micros begin, Micros end) {
    return begin == kNoTime || end == kNoTime ? kNoTime : std::max<Micros>(0, end - begin);
}

}  // namespace

std::string Title(const CommandName& name) {
    if (name.type == "SyncCmd") {
        return Operations(name.number);
    }
    const std::string type = name.type.empty() ? "(no known type)" : name.type;
    return name.text.empty() ? type : type + " " + name.text;
}

std::string EndingEvent(const CommandName& name) {
    switch (TypeOf(name.type)) {
        case GetInRoom:
            return "OnGetStreamList, with or without an error";
        case LeaveRoom:
            return "OnLogout, with or without an error";
        case PlayStream:
        case StopStream:
            return "OnPlayStateUpdate of the stream \"" + name.text + "\", in any state";
        case StartPublish:
        case StopPublish:
            return "OnPublishStateUpdate, of any stream in any state";
        case SyncCmd:
            return "no event: it ends when its function returns";
    }
    return "SetCmdExecuteCmdDone with its type";
}

std::string Reason(const Command& command) {
    if (command.fate == Fate::Removed) {
        return RemovalRule(command.name, command.otherName);
    }
    if (command.fate == Fate::Refused) {
        return TypeOf(command.name.type) == 0 ? "a newcomer of a type outside the table is refused"
                                              : "a rule that is not in this version's table";
    }
    return "";
}

const char* FateName(Fate fate) {
    switch (fate) {
        case Fate::Waiting:
            return "waiting";
        case Fate::Running:
            return "running";
        case Fate::Holding:
            return "holding the queue";
        case Fate::Finished:
            return "finished";
        case Fate::Removed:
            return "removed";
        case Fate::Refused:
            return "refused";
        case Fate::Lost:
            break;
    }
    return "end not logged";
}

const char* EventKindName(EventKind kind) {
    switch (kind) {
        case EventKind::Completion:
            return "completion";
        case EventKind::Delivered:
            return "delivered";
        case EventKind::Dropped:
            return "dropped";
        case EventKind::NotForThis:
            return "not for this command";
        case EventKind::Trouble:
            return "trouble";
        case EventKind::Note:
            break;
    }
    return "note";
}

Spans SpansOf(const Command& command, Micros now) {
    const Micros end = command.ended != kNoTime ? command.ended : now;
    Spans spans;
    if (command.fate == Fate::Refused) {
        return spans;
    }
    spans.waited = Between(command.offered, command.popped != kNoTime ? command.popped : end);
    spans.ran = Between(command.popped, command.ran != kNoTime ? command.ran : end);
    if (command.Holds()) {
        spans.held = Between(command.ran, end);
    }
    return spans;
}

}  // namespace vaxotrace
