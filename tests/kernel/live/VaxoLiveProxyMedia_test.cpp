// The 24 setters, each by the same questions: its call number, its engine operation with
// the arguments on worker 0, its status with and without an engine, its refusal.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"
#include "live/VaxoLiveCalls.h"

using Mediq::IVaxoVE;

namespace {

using livetest::ExpectOneCall;
using livetest::PutWaiting;
using livetest::RunOnWorker0;
using livetest::Settle;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

class Silence final : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* /*data*/, int* /*length*/, int* /*rate*/,
                       int* /*channels*/) override {}
};
Silence s_aux;

typedef std::function<int(IVaxoVE&)> Setter;

template <class... Params, class... Values>
Setter Call(int (IVaxoVE::*operation)(Params...), Values... values) {
    return [=](IVaxoVE& live) mutable { return (live.*operation)(values...); };
}

struct Row {
    uint64 number;
    const char* operation;
    const char* values;  // as the engine writes them down
    int statusWithoutEngine;
    Setter call;
};

const Row s_rows[] = {
    {102, "SetView", "view5, 3", -1, Call(&IVaxoVE::SetView, std::make_shared<int>(5), 3U)},
    {103, "SetPreviewView", "view6", -1, Call(&IVaxoVE::SetPreviewView, std::make_shared<int>(6))},
    {104, "SetViewMode", "2, 3", -1, Call(&IVaxoVE::SetViewMode, 2, 3U)},
    {105, "SetPreviewViewMode", "1", -1, Call(&IVaxoVE::SetPreviewViewMode, 1)},
    {106, "StartPreview", "", -1, Call(&IVaxoVE::StartPreview)},
    {107, "StopPreview", "", -1, Call(&IVaxoVE::StopPreview)},
    {108, "SetVideoBitrate", "800000", -1, Call(&IVaxoVE::SetVideoBitrate, 800000)},
    {109, "SetVideoFPS", "25", -1, Call(&IVaxoVE::SetVideoFPS, 25)},
    {110, "SetVideoResolution", "640, 480", -1, Call(&IVaxoVE::SetVideoResolution, 640, 480)},
    {111, "SetFrontCam", "1", -1, Call(&IVaxoVE::SetFrontCam, 1)},
    {112, "SetVideoCaptureDeviceId", "cam7", -1,
     Call(&IVaxoVE::SetVideoCaptureDeviceId, std::make_shared<vaxo::strutf8>("cam7"))},
    {113, "SetAudioDevice", "1, mic8", -1,
     Call(&IVaxoVE::SetAudioDevice, 1, vaxo::strutf8("mic8"))},
    {114, "EnableMic", "true", -1, Call(&IVaxoVE::EnableMic, true)},
    {1114, "EnableCam", "true", -1, Call(&IVaxoVE::EnableCam, true)},
    {115, "SetSpeakerPhoneOn", "true", -1, Call(&IVaxoVE::SetSpeakerPhoneOn, true)},
    {116, "EnableSpk", "true", -1, Call(&IVaxoVE::EnableSpk, true)},
    {117, "EnableTorch", "true", -1, Call(&IVaxoVE::EnableTorch, true)},
    {118, "EnableBeautifying", "9", -1, Call(&IVaxoVE::EnableBeautifying, 9)},
    {119, "SetFilter", "10", -1, Call(&IVaxoVE::SetFilter, 10)},
    {120, "SetCaptureRotation", "270", -1, Call(&IVaxoVE::SetCaptureRotation, 270)},
    {121, "TakeSnapshotPreview", "", -1, Call(&IVaxoVE::TakeSnapshotPreview)},
    {122, "TakeSnapshotRender", "4", -1, Call(&IVaxoVE::TakeSnapshotRender, 4)},
    {123, "SetAuxCallback", "aux", 1,
     Call(&IVaxoVE::SetAuxCallback, static_cast<Mediq::IVaxoAuxCallback*>(&s_aux))},
    {124, "EnableAux", "true", 1, Call(&IVaxoVE::EnableAux, true)},
};

std::string EngineLine(const Row& row) {
    return std::string("engine: ") + row.operation + "(" + row.values + ")";
}

class LiveProxyMedia : public livetest::LiveProxyFixture {
protected:
    IVaxoVE& live = *proxy;
};

}  // namespace

TEST_F(LiveProxyMedia, EverySetterReachesTheEngineOnWorker0UnderItsNumber) {
    StartEngine();
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.operation);
        EXPECT_EQ(row.call(live), 0);
        ExpectOneCall(row.number, {EngineLine(row)}, true);
    }
}

TEST_F(LiveProxyMedia, AnEngineThatFailsASetterShowsInTheLogAlone) {
    StartEngine();
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.operation);
        TheScript().status[row.operation] = 5;
        EXPECT_EQ(row.call(live), 0);
        ExpectOneCall(row.number, {EngineLine(row)}, false);
    }
}

TEST_F(LiveProxyMedia, WithoutAnEngineASetterIsAcceptedAndFailsInTheLogAlone) {
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.operation);
        EXPECT_EQ(row.call(live), 0);
        ExpectOneCall(row.number, {}, false);
    }
}

TEST_F(LiveProxyMedia, TheStatusOfASetterIsThatOfTheEngineOrItsOwnWithoutOne) {
    std::vector<std::shared_ptr<VaxoAVMgrCmd>> cmds;
    for (const Row& row : s_rows) {
        const auto waiting = PutWaiting(CmdJoin_CoExist);
        row.call(live);
        Settle();
        const std::shared_ptr<VaxoAVMgrCmd> cmd = waiting->newcomer;
        ASSERT_TRUE(cmd) << row.operation;
        EXPECT_EQ(RunOnWorker0(cmd), row.statusWithoutEngine) << row.operation;
        cmds.push_back(cmd);
    }
    StartEngine();
    for (std::size_t i = 0; i < cmds.size(); ++i) {
        const char* const operation = s_rows[i].operation;
        EXPECT_EQ(RunOnWorker0(cmds[i]), 0) << operation;
        TheScript().status[operation] = 23;
        EXPECT_EQ(RunOnWorker0(cmds[i]), 23) << operation;
    }
}

TEST_F(LiveProxyMedia, ASettersCommandIsASyncCmdWithoutTextThatCoexists) {
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.operation);
        const auto waiting = PutWaiting(CmdJoin_CoExist);
        row.call(live);
        Settle();
        const std::shared_ptr<VaxoAVMgrCmd> cmd = waiting->newcomer;
        ASSERT_TRUE(cmd);
        EXPECT_EQ(cmd->GetCmdType(), SyncCmd);
        EXPECT_EQ(cmd->ddwExtraData, row.number);
        EXPECT_EQ(cmd->strExtraData.length(), 0U);
        EXPECT_EQ(cmd->Join(cmd), CmdJoin_CoExist);
    }
}

TEST_F(LiveProxyMedia, ARefusedSetterAnswersOneAndNeverRuns) {
    StartEngine();
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.operation);
        const auto waiting = PutWaiting(CmdJoin_InvalidateLater);
        Take();
        EXPECT_EQ(row.call(live), 1);
        Settle();
        EXPECT_TRUE(waiting->ran);
        Texts lines;
        for (const std::string& line : Take()) {
            if (line.find("CmdQueue") == std::string::npos) {
                lines.push_back(line);
            }
        }
        EXPECT_EQ(lines, (Texts{"log 3 CmdProxy: AddCmd: " + livetest::Printed(row.number),
                                "log 3 CmdProxy: AddCmd, cmd invalid!"}));
    }
}

TEST_F(LiveProxyMedia, TheSettersOfAHeldQueueRunLaterInTheOrderCalled) {
    StartEngine();
    HoldWithPlay("s1");
    Texts waiting;
    Texts calls;
    for (const Row& row : s_rows) {
        EXPECT_EQ(row.call(live), 0) << row.operation;
        waiting.push_back(livetest::Printed(row.number));
        calls.push_back(EngineLine(row));
    }
    Settle();
    EXPECT_EQ(TakeOnly("engine: "), Texts());
    EXPECT_EQ(Waiting().size(), waiting.size());
    Take();
    CompleteExecuting();
    EXPECT_EQ(TakeOnly("engine: "), calls);
}

// The library's own table, from which its definitions and its manual are made.
TEST_F(LiveProxyMedia, TheTableOfCallsHasTheseRowsInThisOrder) {
    using Strova::livecall::Rows;
    struct Expected {
        uint64 number;
        std::string operation;
    };
    const Expected ownBodies[] = {{100, "Init"}, {100, "UploadLog"}, {101, "Uninit"}};
    ASSERT_EQ(std::size(Rows), std::size(ownBodies) + std::size(s_rows));
    std::size_t i = 0;
    for (const Expected& own : ownBodies) {
        EXPECT_EQ(Rows[i].number, own.number);
        EXPECT_EQ(Rows[i].operation, own.operation);
        EXPECT_FALSE(Rows[i].setter);
        ++i;
    }
    for (const Row& row : s_rows) {
        EXPECT_EQ(Rows[i].number, row.number);
        EXPECT_EQ(Rows[i].operation, std::string(row.operation));
        EXPECT_TRUE(Rows[i].setter);
        EXPECT_EQ(Rows[i].statusWithoutEngine, row.statusWithoutEngine);
        ++i;
    }
}

TEST_F(LiveProxyMedia, TheNumbersRunOnButForEnableCam) {
    std::set<uint64> numbers;
    for (const Row& row : s_rows) {
        numbers.insert(row.number);
    }
    EXPECT_EQ(numbers.size(), std::size(s_rows));
    EXPECT_EQ(*numbers.begin(), 102U);
    EXPECT_EQ(numbers.count(124), 1U);
    EXPECT_EQ(*numbers.rbegin(), 1114U);
    EXPECT_EQ(Strova::livecall::EnableMic, 114U);
    EXPECT_EQ(Strova::livecall::EnableCam, 1114U);
    EXPECT_EQ(Strova::livecall::SetSpeakerPhoneOn, 115U);
}
