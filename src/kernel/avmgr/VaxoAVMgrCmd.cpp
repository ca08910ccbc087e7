#include "avmgr/VaxoAVMgrCmd.h"

#include <utility>

#include "vaxolog.h"

VaxoAVMgrCmd::VaxoAVMgrCmd(VaxoAVMgrCmdType type, ExecuteFunc func)
    : ddwExtraData(0), strExtraData(nullptr, 0), m_func(std::move(func)), m_type(type) {}

VaxoAVMgrCmd::VaxoAVMgrCmd(VaxoAVMgrCmdType type, ExecuteFunc func, JoinFunc join)
    : VaxoAVMgrCmd(type, std::move(func)) {
    m_join = std::move(join);
}

int32 VaxoAVMgrCmd::Execute() {
    const int32 status = m_func();
    if (status != 0) {
        syslog(esyslog_error, "unnamed", __LINE__, ">>>>>> execute %s(%llu/%s) failed",
               GetDescription(), ddwExtraData, strExtraData.c_str());
    }
    return status;
}

VaxoAVMgrCmdJoinResult VaxoAVMgrCmd::Join(std::shared_ptr<VaxoAVMgrCmd> later) {
    return m_join(std::move(later));
}

VaxoAVMgrCmdType VaxoAVMgrCmd::GetCmdType() const {
    return m_type;
}

const char* VaxoAVMgrCmd::GetDescription() const {
    return VaxoDescription(m_type);
}
