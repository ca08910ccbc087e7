#include "avmgr/VaxoAVMgrCmdQueue.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "utils/VaxoQueueRunner.h"
#include "vaxolog.h"
#include "vaxologlimit.h"
#include "vaxoslot.h"

namespace {

const char* const s_tag = "CmdQueue";

int32 Count(const vaxostl::vector<std::shared_ptr<VaxoAVMgrCmd>>& cmds) {
    return static_cast<int32>(cmds.size());
}

}  // namespace

std::shared_ptr<CVaxoAVMgrCmdQueue> CVaxoAVMgrCmdQueue::GetSharedInstance() {
    // The pointer itself is never destroyed: see the header.
    static std::shared_ptr<CVaxoAVMgrCmdQueue>& s_pCmdQueue =
        *new std::shared_ptr<CVaxoAVMgrCmdQueue>();
    // Once filled it never changes, and may be read plainly.
    static std::atomic<bool> s_isFilled{false};
    if (s_isFilled.load(std::memory_order_acquire)) {
        return s_pCmdQueue;
    }
    std::shared_ptr<CVaxoAVMgrCmdQueue> queue =
        vaxo::slot_load_or_make(s_pCmdQueue, [] { return std::make_shared<CVaxoAVMgrCmdQueue>(); });
    s_isFilled.store(true, std::memory_order_release);
    return queue;
}

CVaxoAVMgrCmdQueue::CVaxoAVMgrCmdQueue() = default;

CVaxoAVMgrCmdQueue::~CVaxoAVMgrCmdQueue() = default;

void CVaxoAVMgrCmdQueue::SetCallback(IVaxoAVMgrCmdQueueCallback* pCB) {
    CVAXOAutolock lock(m_lockForCmdQueue);
    m_pCB = pCB;
}

VaxoAVMgrCmdJoinResult CVaxoAVMgrCmdQueue::AddCmd(std::shared_ptr<VaxoAVMgrCmd> cmd) {
    if (!cmd) {
        return CmdJoin_InvalidateLater;
    }
    // Declared before the lock and so destroyed after it: what a removed command
    // captured may call the queue from its destructor.
    vaxostl::vector<std::shared_ptr<VaxoAVMgrCmd>> removed;
    CVAXOAutolock lock(m_lockForCmdQueue);
    syslog(esyslog_generic, s_tag, __LINE__,
           "%s, going to add %s(%llu/%s), current queue size: %d >>>>>", "AddCmd",
           cmd->GetDescription(), cmd->ddwExtraData, cmd->strExtraData.c_str(), Count(m_CmdQueue));

    const bool logs = vaxolog_wants(esyslog_generic);  // a line for each waiting command
    VaxoAVMgrCmdJoinResult result = CmdJoin_CoExist;
    auto it = m_CmdQueue.begin();
    while (it != m_CmdQueue.end() && result != CmdJoin_InvalidateLater) {
        const std::shared_ptr<VaxoAVMgrCmd>& former = *it;
        result = former->Join(cmd);
        if (logs) {
            syslog(esyslog_generic, s_tag, __LINE__, ">> join result by %s(%llu/%s), %s",
                   former->GetDescription(), former->ddwExtraData, former->strExtraData.c_str(),
                   VaxoDescription(result));
        }
        if (result == CmdJoin_InvalidateFormer) {
            if (removed.Add(former) != 0) {
                throw std::bad_alloc();  // it still waits, and nobody was told otherwise
            }
            m_watch.Removed(*former, *cmd);
            if (m_pCB != nullptr) {
                m_pCB->OnCmdRemoved(former);
            }
            it = m_CmdQueue.erase(it);
        } else {
            if (result == CmdJoin_InvalidateLater) {
                m_watch.Refused(*cmd, *former);
            }
            ++it;
        }
    }

    if (result != CmdJoin_InvalidateLater) {
        m_watch.Added(*cmd);
        m_CmdQueue.Add(cmd);
        syslog(esyslog_generic, s_tag, __LINE__, ">> added %s(%llu/%s), queue size: %d",
               cmd->GetDescription(), cmd->ddwExtraData, cmd->strExtraData.c_str(),
               Count(m_CmdQueue));
    }
    ListCmds();
    return result;
}

void CVaxoAVMgrCmdQueue::ListCmds() {
    if (!vaxolog_wants(esyslog_debug)) {
        return;
    }
    int32 index = 0;
    for (const std::shared_ptr<VaxoAVMgrCmd>& cmd : m_CmdQueue) {
        syslog(esyslog_debug, s_tag, __LINE__, "%d: %s(%llu/%s)", index, cmd->GetDescription(),
               cmd->ddwExtraData, cmd->strExtraData.c_str());
        ++index;
    }
}

void CVaxoAVMgrCmdQueue::StartCmdExecute() {
    CVaxoQueueRunner::GetSharedInstance()->AsyncRun([this] { StartCmdExecuteInner(); }, 0);
}

void CVaxoAVMgrCmdQueue::StartCmdExecuteInner() {
    m_lockFlag.LockRD();
    syslog(esyslog_generic, s_tag, __LINE__, "%s", "StartCmdExecuteInner");
    for (;;) {
        if (const std::shared_ptr<VaxoAVMgrCmd> executing = vaxo::slot_load(m_pExecutingCmd)) {
            syslog(esyslog_generic, s_tag, __LINE__, "> executing: %s(%llu/%s)",
                   executing->GetDescription(), executing->ddwExtraData,
                   executing->strExtraData.c_str());
            break;
        }
        const std::shared_ptr<VaxoAVMgrCmd> cmd = PopCmd();
        if (!cmd) {
            syslog(esyslog_generic, s_tag, __LINE__, "> no cmd enqueued.");
            break;
        }
        if (cmd->GetCmdType() == SyncCmd) {
            if (cmd->Execute() == 0) {
                syslog(esyslog_generic, s_tag, __LINE__, "> executed %s(%llu/%s)",
                       cmd->GetDescription(), cmd->ddwExtraData, cmd->strExtraData.c_str());
            }
            m_watch.Ran(*cmd);
            continue;
        }
        // Stored before it runs: its completion may come before Execute returns.
        vaxo::slot_exchange(m_pExecutingCmd, cmd);
        if (cmd->Execute() == 0) {
            syslog(esyslog_generic, s_tag, __LINE__, "> executed %s, waiting for result",
                   cmd->GetDescription());
        }
        m_watch.Ran(*cmd);
        break;
    }
    m_lockFlag.Unlock();
}

std::shared_ptr<VaxoAVMgrCmd> CVaxoAVMgrCmdQueue::PopCmd() {
    CVAXOAutolock lock(m_lockForCmdQueue);
    if (m_CmdQueue.empty()) {
        return {};
    }
    std::shared_ptr<VaxoAVMgrCmd> cmd = std::move(m_CmdQueue.front());
    m_CmdQueue.erase(m_CmdQueue.begin());
    m_watch.Popped(*cmd);
    syslog(esyslog_generic, s_tag, __LINE__, "%s, cmd %s(%llu/%s) poped, final queue size: %d",
           "PopCmd", cmd->GetDescription(), cmd->ddwExtraData, cmd->strExtraData.c_str(),
           Count(m_CmdQueue));
    return cmd;
}

void CVaxoAVMgrCmdQueue::SetCmdExecuteCmdDone(VaxoAVMgrCmdType type) {
    syslog(esyslog_generic, s_tag, __LINE__, "%s, cmd type: %s", "SetCmdExecuteCmdDone",
           VaxoDescription(type));
    {
        // Outlives the lock, so that what the command captured is destroyed outside.
        std::shared_ptr<VaxoAVMgrCmd> executing;
        m_lockFlag.LockRW();
        executing = vaxo::slot_load(m_pExecutingCmd);
        if (executing && executing->GetCmdType() == type) {
            syslog(esyslog_generic, s_tag, __LINE__, ">> current executing cmd: %s(%llu/%s)",
                   executing->GetDescription(), executing->ddwExtraData,
                   executing->strExtraData.c_str());
            vaxo::slot_exchange(m_pExecutingCmd, std::shared_ptr<VaxoAVMgrCmd>());
        }
        m_lockFlag.Unlock();
    }
    if (!vaxo::slot_load(m_pExecutingCmd)) {
        StartCmdExecute();
    }
}

std::shared_ptr<VaxoAVMgrCmd> CVaxoAVMgrCmdQueue::GetExecutingCmd() {
    m_lockFlag.LockRD();
    std::shared_ptr<VaxoAVMgrCmd> executing = vaxo::slot_load(m_pExecutingCmd);
    m_lockFlag.Unlock();
    return executing;
}

bool CVaxoAVMgrCmdQueue::ShouldCallbackCmd(VaxoAVMgrCmdType /*type*/) {
    CVAXOAutolock lock(m_lockForCmdQueue);
    const auto& waiting = m_CmdQueue;
    return std::none_of(waiting.begin(), waiting.end(),
                        [](const auto& cmd) { return cmd->GetCmdType() == LeaveRoom; });
}

void CVaxoAVMgrCmdQueue::Watch(bool watch) {
    CVAXOAutolock lock(m_lockForCmdQueue);
    if (!watch) {
        m_watch.End();
        return;
    }
    if (m_watch.IsOn()) {
        return;
    }
    m_watch.Begin();
    const auto& waiting = m_CmdQueue;
    for (const std::shared_ptr<VaxoAVMgrCmd>& cmd : waiting) {
        m_watch.WaitsAlready(*cmd);
    }
}
