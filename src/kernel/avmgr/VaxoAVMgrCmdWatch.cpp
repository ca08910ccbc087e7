#include "avmgr/VaxoAVMgrCmdWatch.h"

#include <algorithm>
#include <utility>

#include "vaxoslot.h"

namespace {

VaxoAVMgrCmdNote DescribeNow(const VaxoAVMgrCmd& cmd) {
    VaxoAVMgrCmdNote note = CVaxoAVMgrCmdWatch::Describe(cmd);
    note.since = std::chrono::steady_clock::now();
    note.isSinceKnown = true;
    return note;
}

}  // namespace

VaxoAVMgrCmdNote CVaxoAVMgrCmdWatch::Describe(const VaxoAVMgrCmd& cmd) {
    VaxoAVMgrCmdNote note;
    note.id = &cmd;
    note.type = cmd.GetCmdType();
    note.number = cmd.ddwExtraData;
    note.text = cmd.strExtraData;
    return note;
}

void CVaxoAVMgrCmdWatch::Begin() {
    auto notes = std::make_unique<VaxoAVMgrCmdNotes>();
    notes->isOn = true;
    CVAXOAutolock lock(m_lock);
    m_notes.swap(notes);
    m_isOn.store(true, std::memory_order_relaxed);
}

void CVaxoAVMgrCmdWatch::End() {
    std::unique_ptr<VaxoAVMgrCmdNotes> notes;
    CVAXOAutolock lock(m_lock);
    m_notes.swap(notes);
    m_isOn.store(false, std::memory_order_relaxed);
}

void CVaxoAVMgrCmdWatch::WaitsAlready(const VaxoAVMgrCmd& cmd) {
    CVAXOAutolock lock(m_lock);
    m_notes->waiting.push_back(Describe(cmd));
}

void CVaxoAVMgrCmdWatch::NoteAdded(const VaxoAVMgrCmd& cmd) {
    CVAXOAutolock lock(m_lock);
    Decide(CmdJoin_CoExist, cmd, nullptr);
    m_notes->waiting.push_back(DescribeNow(cmd));
}

void CVaxoAVMgrCmdWatch::NoteRemoved(const VaxoAVMgrCmd& former, const VaxoAVMgrCmd& newcomer) {
    CVAXOAutolock lock(m_lock);
    Decide(CmdJoin_InvalidateFormer, newcomer, &former);
    Remove(former);
}

void CVaxoAVMgrCmdWatch::NoteRefused(const VaxoAVMgrCmd& newcomer, const VaxoAVMgrCmd& former) {
    CVAXOAutolock lock(m_lock);
    Decide(CmdJoin_InvalidateLater, newcomer, &former);
}

void CVaxoAVMgrCmdWatch::NotePopped(const VaxoAVMgrCmd& cmd) {
    CVAXOAutolock lock(m_lock);
    Remove(cmd);
    m_notes->phase = CmdPhase_Running;
    m_notes->current = DescribeNow(cmd);
}

void CVaxoAVMgrCmdWatch::NoteRan(const VaxoAVMgrCmd& cmd) {
    CVAXOAutolock lock(m_lock);
    if (m_notes && m_notes->current.id == &cmd && m_notes->phase == CmdPhase_Running) {
        m_notes->phase = cmd.GetCmdType() == SyncCmd ? CmdPhase_None : CmdPhase_Held;
    }
}

// The lock is held.
void CVaxoAVMgrCmdWatch::Remove(const VaxoAVMgrCmd& cmd) {
    auto& waiting = m_notes->waiting;
    const auto found = std::find_if(waiting.begin(), waiting.end(),
                                    [&](const VaxoAVMgrCmdNote& note) { return note.id == &cmd; });
    if (found != waiting.end()) {
        waiting.erase(found);
    }
}

// The lock is held.
void CVaxoAVMgrCmdWatch::Decide(VaxoAVMgrCmdJoinResult result, const VaxoAVMgrCmd& newcomer,
                                const VaxoAVMgrCmd* former) {
    VaxoAVMgrCmdDecision decision;
    decision.result = result;
    decision.newcomer = DescribeNow(newcomer);
    if (former != nullptr) {
        decision.former = Describe(*former);
    }
    if (m_notes->decisions.size() == kMostDecisions) {
        m_notes->decisions.pop_front();
    }
    m_notes->decisions.push_back(std::move(decision));
}

VaxoAVMgrCmdNotes CVaxoAVMgrCmdWatch::Read(const std::shared_ptr<VaxoAVMgrCmd>& executing) {
    // Outlives the lock: what the command captured may ask again from its destructor.
    std::shared_ptr<VaxoAVMgrCmd> holding;
    VaxoAVMgrCmdNotes notes;
    {
        CVAXOAutolock lock(m_lock);
        // Under the lock, so that slot and notes are of one moment: the slot is filled after
        // the command was noted as popped, and emptied before the next one is.
        holding = vaxo::slot_load(executing);
        if (m_notes) {
            notes.isOn = true;
            notes.phase = m_notes->phase;
            notes.current = m_notes->current;
            notes.waitingCount = m_notes->waiting.size();
            const auto first = m_notes->waiting.begin();
            notes.waiting.assign(first, first + static_cast<std::ptrdiff_t>(
                                                    std::min(notes.waitingCount, kMostWaiting)));
            notes.decisions = m_notes->decisions;
        }
    }
    if (!holding) {
        if (notes.phase == CmdPhase_Held) {
            notes.phase = CmdPhase_None;
        }
    } else if (notes.phase == CmdPhase_None || notes.current.id != holding.get()) {
        notes.phase = CmdPhase_Held;
        notes.current = Describe(*holding);
    }
    return notes;
}
