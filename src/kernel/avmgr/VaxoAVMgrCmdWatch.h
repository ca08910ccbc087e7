// What a command queue notes about itself while somebody wants to know: since when each
// command waits or runs, and how the last newcomers were received. A part of the queue.
//
// Off unless switched on. Off, each note is one look at a flag.
//
// Guarantees
// - Read() may be called from any thread at any moment: from a join function, the log's
//   sink, the observer or a command as well. It waits for nothing but other notes, each of
//   which takes a copy of three words and a text, and calls nothing back.
// - The notes are the queue's own, in its own order: none is made up or late.
//
// Non-guarantees
// - What began before the notes did has no age, and is only there if it still waited then or
//   holds the queue.
// - Memory grows with the number of waiting commands, by about what those take.
//
// Locks: m_lock, inside the queue's locks and around none but a slot's own.
#ifndef VAXO_VAXOAVMGRCMDWATCH_H
#define VAXO_VAXOAVMGRCMDWATCH_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>

#include "avmgr/VaxoAVMgrCmd.h"
#include "vaxolock.h"
#include "vaxostream.h"

// A command as the log names it, with its times.
struct VaxoAVMgrCmdNote {
    const void* id = nullptr;                     // tells records apart; points to nothing
    VaxoAVMgrCmdType type = SyncCmd;              // its kind
    uint64 number = 0;                            // its call number
    vaxo::strutf8 text;                           // as the log shows it
    std::chrono::steady_clock::time_point since;  // when it came into its state
    bool isSinceKnown = false;                    // false: before the watch
};

// How a newcomer was received.
struct VaxoAVMgrCmdDecision {
    VaxoAVMgrCmdJoinResult result = CmdJoin_CoExist;  // what was decided
    VaxoAVMgrCmdNote newcomer;                        // about this one
    VaxoAVMgrCmdNote former;  // what was removed, or what refused; nothing for CmdJoin_CoExist
};

// Where the command stands that runs or holds the queue.
enum VaxoAVMgrCmdPhase : int32 {
    CmdPhase_None = 0,     // there is none
    CmdPhase_Running = 1,  // in its execute function
    CmdPhase_Held = 2,     // has run; its completion is not reported yet
};

// What Read() gives.
struct VaxoAVMgrCmdNotes {
    bool isOn = false;                           // whether anything is noted
    VaxoAVMgrCmdPhase phase = CmdPhase_None;     // of `current`
    VaxoAVMgrCmdNote current;                    // unless the phase is None
    std::deque<VaxoAVMgrCmdNote> waiting;        // the oldest ones, oldest first
    std::size_t waitingCount = 0;                // all of them
    std::deque<VaxoAVMgrCmdDecision> decisions;  // the last ones, oldest first
};

class CVaxoAVMgrCmdWatch {
public:
    static constexpr std::size_t kMostWaiting = 256;   // that Read() copies
    static constexpr std::size_t kMostDecisions = 64;  // that are kept

    CVaxoAVMgrCmdWatch() = default;
    CVaxoAVMgrCmdWatch(const CVaxoAVMgrCmdWatch&) = delete;
    CVaxoAVMgrCmdWatch& operator=(const CVaxoAVMgrCmdWatch&) = delete;

    // Between Begin and End. Any thread.
    bool IsOn() const { return m_isOn.load(std::memory_order_relaxed); }

    // Both under the list's lock, so that no note falls between. Begin forgets what was.
    void Begin();
    void End();                                  // forgets as well
    void WaitsAlready(const VaxoAVMgrCmd& cmd);  // after Begin, for each, oldest first

    // Under the list's lock, before the list changes. The first three may throw std::bad_alloc;
    // the notes still tell who waits then, and perhaps of a decision that did not come about.
    void Added(const VaxoAVMgrCmd& cmd) {
        if (IsOn()) {
            NoteAdded(cmd);
        }
    }
    // `newcomer` made `former` pointless.
    void Removed(const VaxoAVMgrCmd& former, const VaxoAVMgrCmd& newcomer) {
        if (IsOn()) {
            NoteRemoved(former, newcomer);
        }
    }
    // `former` made `newcomer` pointless.
    void Refused(const VaxoAVMgrCmd& newcomer, const VaxoAVMgrCmd& former) {
        if (IsOn()) {
            NoteRefused(newcomer, former);
        }
    }
    // It is about to run. Does not throw.
    void Popped(const VaxoAVMgrCmd& cmd) {
        if (IsOn()) {
            NotePopped(cmd);
        }
    }

    // On the thread of the pass, when the execute function has returned.
    void Ran(const VaxoAVMgrCmd& cmd) {
        if (IsOn()) {
            NoteRan(cmd);
        }
    }

    // What is noted. `executing` is the queue's executing slot, which has the last word about
    // which command holds the queue.
    VaxoAVMgrCmdNotes Read(const std::shared_ptr<VaxoAVMgrCmd>& executing);

    // A command without times.
    static VaxoAVMgrCmdNote Describe(const VaxoAVMgrCmd& cmd);

private:
    void NoteAdded(const VaxoAVMgrCmd& cmd);
    void NoteRemoved(const VaxoAVMgrCmd& former, const VaxoAVMgrCmd& newcomer);
    void NoteRefused(const VaxoAVMgrCmd& newcomer, const VaxoAVMgrCmd& former);
    void NotePopped(const VaxoAVMgrCmd& cmd);
    void NoteRan(const VaxoAVMgrCmd& cmd);
    void Remove(const VaxoAVMgrCmd& cmd);
    void Decide(VaxoAVMgrCmdJoinResult result, const VaxoAVMgrCmd& newcomer,
                const VaxoAVMgrCmd* former);

    // Relaxed: who sees it late finds no notes, or makes one less.
    std::atomic<bool> m_isOn{false};
    CVAXOLock m_lock;                            // guards the rest
    std::unique_ptr<VaxoAVMgrCmdNotes> m_notes;  // null while off
};

#endif
