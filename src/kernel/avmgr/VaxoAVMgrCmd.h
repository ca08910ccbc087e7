// One command: what is to be done, and how it reacts to a newer command while it
// still waits.
//
// A record knows nothing of the queue that holds it. It carries an execute
// function, a join function, its type, and two pieces of data that only identify
// it in the log, where it is always printed as "%s(%llu/%s)": description, call
// number, text.
//
// Guarantees
// - Execute() and Join() call the function they were given, once, on the calling
//   thread, and return its answer unchanged.
// - The record changes nothing in itself; it may be executed again.
//
// Non-guarantees
// - No lock: the public fields are set by the creator before the record is
//   handed to the queue, and only read afterwards.
// - An empty execute or join function throws std::bad_function_call when called.
//
// Lifetime: records are held by shared pointers, by the creator, the queue and
// whoever asks for the executing command; the functions own what they captured
// and are destroyed with the record, on whichever thread lets go last.
#ifndef VAXO_VAXOAVMGRCMD_H
#define VAXO_VAXOAVMGRCMD_H

#include <functional>
#include <memory>

#include "vaxostream.h"
#include "vaxotypes.h"

// What kind of work a command is. SyncCmd is finished when it has run; every
// other type holds the queue until its completion is reported. There is no 0.
enum VaxoAVMgrCmdType : int32 {
    GetInRoom = 1,     // enters a channel
    LeaveRoom = 2,     // leaves it
    PlayStream = 3,    // begins a play
    StopStream = 4,    // ends one
    StartPublish = 5,  // begins the publish
    StopPublish = 6,   // ends it
    SyncCmd = 7,       // anything else
};

// The description of a type, the empty text for any other value. Static storage.
inline const char* VaxoDescription(VaxoAVMgrCmdType type) {
    static const char* const s_names[] = {
        "GetInRoom",    "LeaveRoom",   "PlayStream", "StopStream",
        "StartPublish", "StopPublish", "SyncCmd",
    };
    const auto index = static_cast<uint32>(type) - 1U;  // 0 wraps to far outside
    return index < sizeof(s_names) / sizeof(s_names[0]) ? s_names[index] : "";
}

// A waiting command's answer to a newly offered one.
enum VaxoAVMgrCmdJoinResult : int32 {
    CmdJoin_CoExist = 0,           // both stay
    CmdJoin_InvalidateFormer = 1,  // the waiting command is removed
    CmdJoin_InvalidateLater = 2,   // the new command is refused
};

// The log name of a join result, the empty text for any other value.
inline const char* VaxoDescription(VaxoAVMgrCmdJoinResult result) {
    static const char* const s_names[] = {"CoExist", "InvalidateFormer", "InvalidateLater"};
    const auto index = static_cast<uint32>(result);
    return index < sizeof(s_names) / sizeof(s_names[0]) ? s_names[index] : "";
}

// The destructor is not virtual, because the order of the virtual operations is
// fixed: a record is always destroyed as what it is, through its shared pointer.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

class VaxoAVMgrCmd {
public:
    typedef std::function<int32()> ExecuteFunc;  // does the work and answers a status
    // Answers what the newly offered command means to this one.
    typedef std::function<VaxoAVMgrCmdJoinResult(std::shared_ptr<VaxoAVMgrCmd>)> JoinFunc;

    // A command that coexists with every newer one.
    VaxoAVMgrCmd(VaxoAVMgrCmdType type, ExecuteFunc func);

    // A command with a join rule of its own.
    VaxoAVMgrCmd(VaxoAVMgrCmdType type, ExecuteFunc func, JoinFunc join);

    VaxoAVMgrCmd(const VaxoAVMgrCmd&) = delete;
    VaxoAVMgrCmd& operator=(const VaxoAVMgrCmd&) = delete;

    // Runs the command and returns its status: 0 success, anything else failure,
    // which is also logged.
    virtual int32 Execute();

    // Asks this (waiting) command what the newly offered `later` means to it.
    virtual VaxoAVMgrCmdJoinResult Join(std::shared_ptr<VaxoAVMgrCmd> later);

    virtual VaxoAVMgrCmdType GetCmdType() const;  // the type it was made with

    // The description of the type; never null, never to be freed.
    virtual const char* GetDescription() const;

    uint64 ddwExtraData;         // call number in the log; 0 unless the creator sets it
    vaxo::strutf8 strExtraData;  // text in the log; empty unless the creator sets it

private:
    ExecuteFunc m_func;
    JoinFunc m_join = [](std::shared_ptr<VaxoAVMgrCmd>) { return CmdJoin_CoExist; };
    VaxoAVMgrCmdType m_type;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif
