// The join rules of the stream and channel commands, as one table.
//
// A row is a waiting command, a column the type of the newcomer. A cell gives two
// answers: one for a newcomer whose text (strExtraData) is the same as the text that
// the waiting command compares with, one for a different text; where nothing is
// compared they are equal. The text compared with is the waiting command's channel
// for a publish and a channel entry, its stream for a play and its stop. Texts are
// compared byte for byte; two empty texts are the same.
//
// A channel entry compares its channel with the *stream* of a newer publish: that is
// what a publish carries as its text. The odd comparison is part of the behaviour.
//
// The proxy runs on this table, and docs/join-matrix.md is written from it.
#ifndef VAXO_VAXOLIVEJOIN_H
#define VAXO_VAXOLIVEJOIN_H

#include <cstddef>

#include "avmgr/VaxoAVMgrCmd.h"
#include "vaxostream.h"

namespace Strova {

struct VaxoLiveJoinCell {
    VaxoAVMgrCmdJoinResult same;
    VaxoAVMgrCmdJoinResult different;
};

// The command types, and so the columns: 1 to 7.
constexpr std::size_t VaxoLiveJoinTypes = 7;

struct VaxoLiveJoinRule {
    VaxoAVMgrCmdType waiting;
    const char* comparesWith;  // the argument whose text is compared; null for none
    VaxoLiveJoinCell cells[VaxoLiveJoinTypes];
    // Logged, with the newcomer's description, for a type outside the table, which is
    // refused. Null: such a newcomer is let in without a word.
    const char* unknown;
};

namespace joincell {

constexpr VaxoLiveJoinCell Stay = {CmdJoin_CoExist, CmdJoin_CoExist};
constexpr VaxoLiveJoinCell Drop = {CmdJoin_InvalidateFormer, CmdJoin_InvalidateFormer};
constexpr VaxoLiveJoinCell Same = {CmdJoin_InvalidateFormer, CmdJoin_CoExist};   // drop if same
constexpr VaxoLiveJoinCell Other = {CmdJoin_CoExist, CmdJoin_InvalidateFormer};  // drop if not

// One row a type, in the order of the types. The last row is what every command without
// a rule of its own does (see VaxoAVMgrCmd.h); it is here for the readers of the table.
// The rows stand under their columns:
// clang-format off
constexpr VaxoLiveJoinRule Rules[VaxoLiveJoinTypes] = {
    //                           GetIn  Leave  Play   Stop   Start  Stop   Sync
    //                           Room   Room   Stream Stream Publ.  Publ.  Cmd
    {GetInRoom,    "liveChn",  { Drop,  Stay,  Stay,  Stay,  Other, Stay,  Stay }, "GetStreamList, encounter %s"},
    {LeaveRoom,    nullptr,    { Drop,  Drop,  Drop,  Stay,  Drop,  Stay,  Stay }, "Logout, encounter %s"},
    {PlayStream,   "streamID", { Stay,  Stay,  Same,  Same,  Stay,  Stay,  Stay }, "PlayStream, encounter %s"},
    {StopStream,   "streamID", { Stay,  Stay,  Same,  Same,  Stay,  Stay,  Stay }, "StopPlayStream, encounter %s"},
    {StartPublish, "liveChn",  { Other, Stay,  Stay,  Stay,  Drop,  Stay,  Stay }, "StartPublishing, encounter %s"},
    {StopPublish,  nullptr,    { Stay,  Stay,  Stay,  Stay,  Stay,  Stay,  Stay }, "StopPublishing, encounter %s"},
    {SyncCmd,      nullptr,    { Stay,  Stay,  Stay,  Stay,  Stay,  Stay,  Stay }, nullptr},
};
// clang-format on

}  // namespace joincell

// The row of a waiting command's type, which must be one of the seven.
constexpr const VaxoLiveJoinRule& VaxoLiveJoinRuleOf(VaxoAVMgrCmdType waiting) {
    return joincell::Rules[static_cast<std::size_t>(waiting) - 1];
}

// What a waiting command of this rule, which compares with `text`, answers to a
// newcomer. Runs under the queue's list lock: reads the two, and calls the log alone.
VaxoAVMgrCmdJoinResult VaxoLiveJoin(const VaxoLiveJoinRule& rule, const vaxo::strutf8& text,
                                    const VaxoAVMgrCmd& later);

}  // namespace Strova

#endif
