#include "live/VaxoLiveJoin.h"

#include "vaxolog.h"
#include "vaxotypes.h"

namespace Strova {

namespace {

constexpr bool RowsStandInTheOrderOfTheTypes() {
    std::size_t type = 1;
    for (const VaxoLiveJoinRule& rule : joincell::Rules) {
        if (static_cast<std::size_t>(rule.waiting) != type) {
            return false;
        }
        ++type;
    }
    return true;
}

static_assert(RowsStandInTheOrderOfTheTypes(), "VaxoLiveJoinRuleOf indexes by type");

}  // namespace

VaxoAVMgrCmdJoinResult VaxoLiveJoin(const VaxoLiveJoinRule& rule, const vaxo::strutf8& text,
                                    const VaxoAVMgrCmd& later) {
    const auto column = static_cast<uint32>(later.GetCmdType()) - 1U;  // 0 wraps to far outside
    if (column >= VaxoLiveJoinTypes) {
        if (rule.unknown == nullptr) {
            return CmdJoin_CoExist;
        }
        syslog(esyslog_error, "CmdProxy", __LINE__, rule.unknown, later.GetDescription());
        return CmdJoin_InvalidateLater;
    }
    const VaxoLiveJoinCell& cell = rule.cells[column];
    return later.strExtraData == text ? cell.same : cell.different;
}

}  // namespace Strova
