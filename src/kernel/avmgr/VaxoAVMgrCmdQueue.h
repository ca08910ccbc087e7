// The process-wide serial command queue.
//
// A newly offered command is joined against every command still waiting, oldest
// first: both may stand, the waiting one may be removed, or the newcomer may be
// refused. Waiting commands run one at a time, in the order accepted, on work
// queue 0 of the queue runner. A SyncCmd is finished when it has run. Any other
// type holds the queue after it has run until SetCmdExecuteCmdDone is called
// with its type.
//
//   state    executing  waiting   left by
//   Idle     no         none      AddCmd accepts a command -> Pending
//   Pending  no         some      a pass runs SyncCmds (-> Idle) or another type (-> Held)
//   Held     yes        any       SetCmdExecuteCmdDone(its type) -> Pending or Idle
//
// Usage: AddCmd, then StartCmdExecute, whatever AddCmd answered.
//
// Guarantees
// - Every public operation may be called from any thread.
// - At most one command runs at any time, and no other runs while one holds the
//   queue. Accepted commands that no join removed run exactly once, in order.
// - A command may report its own completion from inside its execute function.
// - No command runs while a lock on the waiting list is held, and no command is
//   destroyed under it: an execute function, and the destructor of anything a
//   command captured, may call the queue.
//
// Non-guarantees
// - Nothing times a held command out. A command of types 1 to 6 holds the queue
//   also when its execute failed, until its completion is reported.
// - The executing command takes no part in joins.
// - Join functions, the observer and the log's sink run under the list's lock: they
//   must not call the queue, nor take a lock that is held where the queue is called.
// - Without memory a command may be answered as stored and not be: nobody hears of it.
// - A queue other than the shared one must outlive the passes it has started:
//   they hold a plain pointer.
//
// Locks: m_lockFlag (executing slot), then m_lockForCmdQueue (waiting list), never
// the other way round; inside both, while it is watched, the watch's own. The executing
// slot is also accessed atomically, because a pass fills it under the read side and a
// completion looks at it after unlocking.
#ifndef VAXO_VAXOAVMGRCMDQUEUE_H
#define VAXO_VAXOAVMGRCMDQUEUE_H

#include <memory>

#include "avmgr/VaxoAVMgrCmd.h"
#include "avmgr/VaxoAVMgrCmdWatch.h"
#include "vaxolock.h"
#include "vaxovector.h"

// Told of every command that a join removes, under the list's lock, on the thread
// of the AddCmd that removed it, before the command leaves the list. Not owned
// and never destroyed by the queue.
class IVaxoAVMgrCmdQueueCallback {
public:
    // `removed`: the command that the join removes, not null.
    virtual void OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd> removed) = 0;

protected:
    ~IVaxoAVMgrCmdQueueCallback() = default;
};

class CVaxoAVMgrCmdQueue {
public:
    // The one queue of the process, created on first use. It is never destroyed:
    // worker 0 may be in the middle of a command when the process exits.
    static std::shared_ptr<CVaxoAVMgrCmdQueue> GetSharedInstance();

    // The shared instance is the only queue of a program; tests make their own.
    CVaxoAVMgrCmdQueue();
    ~CVaxoAVMgrCmdQueue();
    CVaxoAVMgrCmdQueue(const CVaxoAVMgrCmdQueue&) = delete;
    CVaxoAVMgrCmdQueue& operator=(const CVaxoAVMgrCmdQueue&) = delete;

    // Sets the observer, null for none. When it returns, the former observer is
    // not running and will not be called again. Not from inside the observer.
    void SetCallback(IVaxoAVMgrCmdQueueCallback* pCB);

    // Offers a command. Answers the result of the last join consulted:
    //   CmdJoin_CoExist           stored
    //   CmdJoin_InvalidateFormer  stored; the newest waiting command was removed
    //   CmdJoin_InvalidateLater   refused, or `cmd` is empty
    // Removals made before a refusal stand. Runs nothing.
    VaxoAVMgrCmdJoinResult AddCmd(std::shared_ptr<VaxoAVMgrCmd> cmd);

    // Posts an execution pass to work queue 0 and returns at once. A pass that
    // finds the queue held or empty ends without effect.
    void StartCmdExecute();

    // One execution pass. Runs on work queue 0, where passes follow one another;
    // never call it on another thread while passes may be posted.
    void StartCmdExecuteInner();

    // Reports that the executing command of this type is done, and starts a pass
    // if nothing executes now. A report of another type changes nothing.
    void SetCmdExecuteCmdDone(VaxoAVMgrCmdType type);

    // The command that holds the queue (or is just running), empty if none.
    std::shared_ptr<VaxoAVMgrCmd> GetExecutingCmd();

    // Whether an event may be passed to the user: false while a LeaveRoom command
    // is waiting, whatever the type asked about.
    bool ShouldCallbackCmd(VaxoAVMgrCmdType type);

    // Begins to note what happens here, or ends it and forgets; see VaxoAVMgrCmdWatch.h. Off
    // at first. Not from inside a join function, the observer or the log's sink.
    void Watch(bool watch);

    // What runs or holds the queue, what waits and how the last newcomers were received; while
    // not watched, only what holds the queue. From anywhere, those three included.
    VaxoAVMgrCmdNotes ReadNotes() { return m_watch.Read(m_pExecutingCmd); }

private:
    std::shared_ptr<VaxoAVMgrCmd> PopCmd();

    // Logs the waiting commands, oldest first. The list's lock is held.
    void ListCmds();

    vaxostl::vector<std::shared_ptr<VaxoAVMgrCmd>> m_CmdQueue;
    CVAXOLock m_lockForCmdQueue;
    CVAXOLockRW m_lockFlag;
    std::shared_ptr<VaxoAVMgrCmd> m_pExecutingCmd;  // a shared slot, see vaxoslot.h
    IVaxoAVMgrCmdQueueCallback* m_pCB = nullptr;
    CVaxoAVMgrCmdWatch m_watch;
};

#endif
