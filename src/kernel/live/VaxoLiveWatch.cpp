// The application's look at the shared queue: the queue's notes in the application's words,
// and its observer, moved to the thread of the events.
#include "VaxoLiveWatch.h"

#include <chrono>
#include <string>
#include <utility>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "live/VaxoLiveCalls.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxoslot.h"

namespace Strova {

namespace {

typedef std::chrono::steady_clock Clock;

const int s_deliveryQueue = 2;  // its worker calls the application

struct HeldCall {
    const char* operation;
    const char* event;
    VaxoAVMgrCmdType type;
    bool isForStream;  // the event of this stream alone
};

constexpr HeldCall s_heldCalls[] = {
    {"GetStreamList", "OnGetStreamList", ::GetInRoom, false},
    {"Logout", "OnLogout", ::LeaveRoom, false},
    {"PlayStream", "OnPlayStateUpdate", ::PlayStream, true},
    {"StopPlayStream", "OnPlayStateUpdate", ::StopStream, true},
    {"StartPublishing", "OnPublishStateUpdate", ::StartPublish, false},
    {"StopPublishing", "OnPublishStateUpdate", ::StopPublish, false},
};

const HeldCall* FindHeld(VaxoAVMgrCmdType type) {
    for (const HeldCall& call : s_heldCalls) {
        if (call.type == type) {
            return &call;
        }
    }
    return nullptr;
}

// What the application called; where operations share a number, all of them.
vaxo::strutf8 OperationOf(VaxoAVMgrCmdType type, uint64 number) {
    vaxo::strutf8 operations;
    if (const HeldCall* const held = FindHeld(type)) {
        operations = held->operation;
        return operations;
    }
    for (const livecall::Row& row : livecall::Rows) {
        if (row.number == number) {
            operations += operations.length() == 0 ? "" : "/";
            operations += row.operation;
        }
    }
    return operations;
}

VaxoLiveCall CallOf(const VaxoAVMgrCmdNote& note, Clock::time_point now) {
    VaxoLiveCall call;
    if (note.id == nullptr) {
        return call;
    }
    call.type = VaxoDescription(note.type);
    call.operation = OperationOf(note.type, note.number);
    call.number = note.number;
    call.text = note.text;
    if (note.isSinceKnown) {
        call.millis =
            std::chrono::duration_cast<std::chrono::milliseconds>(now - note.since).count();
    }
    return call;
}

vaxo::strutf8 AwaitedBy(const VaxoAVMgrCmdNote& note) {
    const HeldCall* const held = FindHeld(note.type);
    if (held == nullptr) {
        return {};
    }
    vaxo::strutf8 event(held->event);
    if (held->isForStream) {
        event += "(";
        event += note.text;
        event += ")";
    }
    return event;
}

// Without control characters: a line stays a line.
std::string Plain(const vaxo::strutf8& text) {
    std::string plain(text.c_str() == nullptr ? "" : text.c_str());
    for (char& c : plain) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7F) {
            c = '?';
        }
    }
    return plain;
}

std::string NameOf(const VaxoLiveCall& call) {
    const std::string operation = Plain(call.operation);
    const std::string type = Plain(call.type);
    return type + "(" + std::to_string(call.number) + "/" + Plain(call.text) + ")" +
           (operation.empty() || operation == type ? "" : " " + operation);
}

std::string AgeOf(const VaxoLiveCall& call) {
    return call.millis < 0 ? "since before the watch" : std::to_string(call.millis) + " ms";
}

std::string LineOf(const VaxoLiveDecision& decision) {
    const std::string line = "  " + AgeOf(decision.call) + " ago: " + NameOf(decision.call);
    switch (decision.kind) {
        case VaxoLiveDecision_Removed:
            return line + " removed " + NameOf(decision.other) + "\n";
        case VaxoLiveDecision_Refused:
            return line + " refused by " + NameOf(decision.other) + "\n";
        case VaxoLiveDecision_Stored:
            break;
    }
    return line + " stored\n";
}

// The queue's observer: hands on what it hears, because the queue is locked meanwhile. Who
// hears it is looked up on the worker, where an observer that nobody else holds may go.
class RemovalRelay final : public IVaxoAVMgrCmdQueueCallback {
public:
    void OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd> removed) override {
        const VaxoLiveCall call =
            CallOf(CVaxoAVMgrCmdWatch::Describe(*removed), Clock::time_point());
        CVaxoQueueRunner::GetSharedInstance()->AsyncRun([this, call] { Deliver(call); },
                                                        s_deliveryQueue);
    }

    void Set(std::weak_ptr<IVaxoLiveQueueObserver> observer) {
        CVAXOAutolock lock(m_lockForSet);
        const bool isSet = !observer.expired();
        vaxo::slot_exchange(m_observer, std::move(observer));
        CVaxoAVMgrCmdQueue::GetSharedInstance()->SetCallback(isSet ? this : nullptr);
    }

private:
    void Deliver(const VaxoLiveCall& removed) {
        if (const auto observer = vaxo::slot_lock(m_observer)) {
            observer->OnCallRemoved(removed);
        }
    }

    CVAXOLock m_lockForSet;  // makes observer and registration one step; outside all others
    std::weak_ptr<IVaxoLiveQueueObserver> m_observer;  // a shared slot, see vaxoslot.h
};

// Never destroyed, as the queue that may be using it.
RemovalRelay& SharedRelay() {
    static auto& s_relay = *new RemovalRelay();
    return s_relay;
}

}  // namespace

void VaxoLiveWatchQueue(bool watch) {
    CVaxoAVMgrCmdQueue::GetSharedInstance()->Watch(watch);
}

VaxoLiveQueueDump VaxoLiveDumpQueue() {
    const VaxoAVMgrCmdNotes notes = CVaxoAVMgrCmdQueue::GetSharedInstance()->ReadNotes();
    const Clock::time_point now = Clock::now();
    VaxoLiveQueueDump dump;
    dump.watched = notes.isOn;
    dump.phase = static_cast<VaxoLiveCallPhase>(notes.phase);
    if (notes.phase != CmdPhase_None) {
        dump.current = CallOf(notes.current, now);
        dump.awaited = AwaitedBy(notes.current);
    }
    for (const VaxoAVMgrCmdNote& note : notes.waiting) {
        dump.waiting.Add(CallOf(note, now));
    }
    dump.waitingCount = static_cast<uint32>(notes.waitingCount);
    for (const VaxoAVMgrCmdDecision& noted : notes.decisions) {
        VaxoLiveDecision decision;
        decision.kind = static_cast<VaxoLiveDecisionKind>(noted.result);
        decision.call = CallOf(noted.newcomer, now);
        decision.other = CallOf(noted.former, now);
        dump.decisions.Add(decision);
    }
    return dump;
}

vaxo::strutf8 VaxoLiveDescribeQueue(const VaxoLiveQueueDump& dump) {
    std::string text = "queue: ";
    if (dump.phase == VaxoLiveCall_None) {
        text += dump.watched ? "nothing runs\n" : "nothing holds it\n";
    } else {
        const bool isHeld = dump.phase == VaxoLiveCall_Held;
        text += NameOf(dump.current) + (isHeld ? " holds it, " : " runs, ") + AgeOf(dump.current);
        text += isHeld ? ", until " + Plain(dump.awaited) + "\n" : "\n";
    }
    if (!dump.watched) {
        text += "not watched: no more is known\n";
        return {text.c_str(), static_cast<uint32>(text.size())};
    }
    text += "waiting: " + std::to_string(dump.waitingCount) + "\n";
    for (const VaxoLiveCall& call : dump.waiting) {
        text += "  " + NameOf(call) + ", " + AgeOf(call) + "\n";
    }
    if (dump.waiting.size() < dump.waitingCount) {
        text += "  and " + std::to_string(dump.waitingCount - dump.waiting.size()) + " more\n";
    }
    text += "received last: " + std::to_string(dump.decisions.size()) + "\n";
    for (const VaxoLiveDecision& decision : dump.decisions) {
        text += LineOf(decision);
    }
    return {text.c_str(), static_cast<uint32>(text.size())};
}

void VaxoLiveSetQueueObserver(std::weak_ptr<IVaxoLiveQueueObserver> observer) {
    SharedRelay().Set(std::move(observer));
}

}  // namespace Strova
