// The join matrix: each pair of a waiting command and a newcomer, through the proxy and its
// queue, and the table that the proxy runs on.
#include "live/VaxoLiveJoin.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>

#include "kernel/live/LiveJoinSteps.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"

namespace {

using livetest::OfThread;
using livetest::Settle;
using livetest::Take;
using livetest::Texts;

// What each waiting command answers, written down anew. A cell has the answer to a newcomer
// with the same text, and the answer to one with a different text.
const char* const Stay = "CoExist/CoExist";
const char* const Gone = "InvalidateFormer/InvalidateFormer";
const char* const Same = "InvalidateFormer/CoExist";
const char* const Diff = "CoExist/InvalidateFormer";

struct Row {
    VaxoAVMgrCmdType waiting;
    const char* comparesWith;
    const char* cells[7];  // a newcomer of type 1 to 7
    const char* encounter;
};

// The rows stand under their columns.
// clang-format off
const Row s_rows[] = {
    //                          GetIn Leave Play    Stop    Start  Stop   Sync
    //                          Room  Room  Stream  Stream  Publ.  Publ.  Cmd
    {StartPublish, "liveChn",  {Diff, Stay, Stay,   Stay,   Gone,  Stay,  Stay},
     "StartPublishing, encounter "},
    {StopPublish,  nullptr,    {Stay, Stay, Stay,   Stay,   Stay,  Stay,  Stay},
     "StopPublishing, encounter "},
    {GetInRoom,    "liveChn",  {Gone, Stay, Stay,   Stay,   Diff,  Stay,  Stay},
     "GetStreamList, encounter "},
    {PlayStream,   "streamID", {Stay, Stay, Same,   Same,   Stay,  Stay,  Stay},
     "PlayStream, encounter "},
    {StopStream,   "streamID", {Stay, Stay, Same,   Same,   Stay,  Stay,  Stay},
     "StopPlayStream, encounter "},
    {LeaveRoom,    nullptr,    {Gone, Gone, Gone,   Stay,   Gone,  Stay,  Stay},
     "Logout, encounter "},
    {SyncCmd,      nullptr,    {Stay, Stay, Stay,   Stay,   Stay,  Stay,  Stay},
     nullptr},
};
// clang-format on

void PrintTo(const Row& row, std::ostream* out) {
    *out << VaxoDescription(row.waiting);
}

// The answer of a cell, as the log names it.
std::string Answer(const Row& row, int newcomer, bool same) {
    const std::string cell = row.cells[newcomer - 1];
    const std::size_t slash = cell.find('/');
    return same ? cell.substr(0, slash) : cell.substr(slash + 1);
}

struct Pair {
    const char* name;
    const char* waiting;
    const char* offered;
};

void PrintTo(const Pair& pair, std::ostream* out) {
    *out << pair.name;
}

const Pair s_pairs[] = {
    {"SameText", "room1", "room1"}, {"DifferentText", "room1", "room2"}, {"BothEmpty", "", ""}};

std::string RowName(const Row& row) {
    return VaxoDescription(row.waiting);
}

class LiveJoinCells : public livetest::LiveJoinFixture,
                      public ::testing::WithParamInterface<std::tuple<Row, Pair>> {};

class LiveJoinUnknown : public livetest::LiveJoinFixture,
                        public ::testing::WithParamInterface<Row> {};

class LiveJoinTable : public livetest::LiveJoinFixture {};

const int s_unknownTypes[] = {0, 8, -1, 256 + 3, INT_MIN, INT_MAX};

VaxoAVMgrCmdType TypeOf(int value) {
    return static_cast<VaxoAVMgrCmdType>(value);
}

}  // namespace

TEST_P(LiveJoinCells, EveryNewcomerIsAnsweredLoggedAndLetIn) {
    const Row& row = std::get<0>(GetParam());
    const Pair& texts = std::get<1>(GetParam());
    const bool same = std::string(texts.waiting) == texts.offered;
    for (int newcomer = 1; newcomer <= 7; ++newcomer) {
        SCOPED_TRACE(VaxoDescription(TypeOf(newcomer)));
        HoldQueue();
        Wait(row.waiting, texts.waiting);
        const std::string former = WaitingAs(row.waiting, texts.waiting);
        const std::string later = OfferedAs(TypeOf(newcomer), texts.offered);
        const std::string answer = Answer(row, newcomer, same);
        const Texts stay = answer == "CoExist" ? Texts{former, later} : Texts{later};

        EXPECT_EQ(Offer(TypeOf(newcomer), texts.offered), 0);
        EXPECT_EQ(OfThread(livetest::TakeLines(), vaxothread_selfid()),
                  Offering(later, 1, {">> join result by " + former + ", " + answer}, stay));
        EXPECT_EQ(Waiting(), stay);
        Drain();
    }
}

INSTANTIATE_TEST_SUITE_P(Matrix, LiveJoinCells,
                         ::testing::Combine(::testing::ValuesIn(s_rows),
                                            ::testing::ValuesIn(s_pairs)),
                         [](const auto& made) {
                             return RowName(std::get<0>(made.param)) + std::get<1>(made.param).name;
                         });

TEST_P(LiveJoinUnknown, ANewcomerOfNoKnownTypeIsRefusedInTheWordsOfTheRule) {
    const Row& row = GetParam();
    for (const int type : s_unknownTypes) {
        SCOPED_TRACE(type);
        HoldQueue();
        Wait(row.waiting, "room1");
        const std::string former = WaitingAs(row.waiting, "room1");
        const livetest::CmdPtr later = Unrun(TypeOf(type), "room1", 0);

        const VaxoAVMgrCmdJoinResult result = proxy->AddCmd(later);
        Settle();
        const auto lines = livetest::TakeLines();
        if (row.encounter == nullptr) {
            EXPECT_EQ(result, CmdJoin_CoExist);
            EXPECT_EQ(OfThread(lines, vaxothread_selfid()),
                      Offering("(0/room1)", 1, {">> join result by " + former + ", CoExist"},
                               {former, "(0/room1)"}));
            EXPECT_EQ(Waiting(), (Texts{former, "(0/room1)"}));
        } else {
            EXPECT_EQ(result, CmdJoin_InvalidateLater);
            EXPECT_EQ(OfThread(lines, vaxothread_selfid()),
                      Refusal("(0/room1)", row.encounter, former));
            EXPECT_EQ(Waiting(), Texts{former});
            EXPECT_EQ(later.use_count(), 1);
        }
        EXPECT_EQ(OfThread(lines, livetest::Worker0()),
                  (Texts{"log 3 CmdQueue: StartCmdExecuteInner",
                         "log 3 CmdQueue: > executing: " + HeldBy()}));
        Drain();
    }
}

TEST_P(LiveJoinUnknown, TheCallAnswersOneForARefusalAndZeroOtherwise) {
    const Row& row = GetParam();
    for (const int type : s_unknownTypes) {
        HoldQueue();
        Wait(row.waiting, "");
        EXPECT_EQ(proxy->AddCmd(5, TypeOf(type), [] { return 0; }),
                  row.encounter == nullptr ? 0 : 1);
        Drain();
    }
}

INSTANTIATE_TEST_SUITE_P(Rules, LiveJoinUnknown, ::testing::ValuesIn(s_rows),
                         [](const auto& made) { return RowName(made.param); });

TEST_F(LiveJoinTable, TheTableSaysWhatTheMatrixSays) {
    for (const Row& row : s_rows) {
        SCOPED_TRACE(VaxoDescription(row.waiting));
        const Strova::VaxoLiveJoinRule& rule = Strova::VaxoLiveJoinRuleOf(row.waiting);
        EXPECT_EQ(rule.waiting, row.waiting);
        EXPECT_STREQ(rule.comparesWith, row.comparesWith);
        for (int newcomer = 1; newcomer <= 7; ++newcomer) {
            const Strova::VaxoLiveJoinCell& cell = rule.cells[newcomer - 1];
            EXPECT_EQ(VaxoDescription(cell.same), Answer(row, newcomer, true)) << newcomer;
            EXPECT_EQ(VaxoDescription(cell.different), Answer(row, newcomer, false)) << newcomer;
        }
        if (row.encounter == nullptr) {
            EXPECT_EQ(rule.unknown, nullptr);
        } else {
            EXPECT_EQ(std::string(rule.unknown), std::string(row.encounter) + "%s");
        }
    }
}

TEST_F(LiveJoinTable, TheTableHasOneRowForEachTypeAndNoOther) {
    ASSERT_EQ(std::size(Strova::joincell::Rules), std::size(s_rows));
    EXPECT_EQ(Strova::VaxoLiveJoinTypes, 7U);
    for (int type = 1; type <= 7; ++type) {
        EXPECT_EQ(Strova::joincell::Rules[type - 1].waiting, TypeOf(type));
    }
}

TEST_F(LiveJoinTable, TheTableIsAskedWithoutAQueueToo) {
    for (const Row& row : s_rows) {
        const Strova::VaxoLiveJoinRule& rule = Strova::VaxoLiveJoinRuleOf(row.waiting);
        for (int newcomer = 1; newcomer <= 7; ++newcomer) {
            const livetest::CmdPtr later = Unrun(TypeOf(newcomer), "a", 0);
            EXPECT_EQ(VaxoDescription(Strova::VaxoLiveJoin(rule, "a", *later)),
                      Answer(row, newcomer, true));
            EXPECT_EQ(VaxoDescription(Strova::VaxoLiveJoin(rule, "b", *later)),
                      Answer(row, newcomer, false));
        }
    }
    EXPECT_EQ(Take(), Texts());  // nothing to say about known types
}

TEST_F(LiveJoinTable, ACommandWithoutARuleOfItsOwnAnswersAsTheLastRow) {
    VaxoAVMgrCmd plain(SyncCmd, [] { return 0; });
    const Strova::VaxoLiveJoinRule& rule = Strova::VaxoLiveJoinRuleOf(SyncCmd);
    for (int newcomer = -1; newcomer <= 9; ++newcomer) {
        const livetest::CmdPtr later = Unrun(TypeOf(newcomer), "a", 0);
        EXPECT_EQ(plain.Join(later), CmdJoin_CoExist);
        EXPECT_EQ(Strova::VaxoLiveJoin(rule, "a", *later), CmdJoin_CoExist);
    }
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveJoinTable, TheEncounterLineCarriesTheNewcomersOwnDescription) {
    // Only types without a description get there: the line ends after the blank.
    const livetest::CmdPtr later = Unrun(TypeOf(8), "text that is not shown", 77);
    for (const Row& row : s_rows) {
        if (row.encounter != nullptr) {
            EXPECT_EQ(Strova::VaxoLiveJoin(Strova::VaxoLiveJoinRuleOf(row.waiting), "a", *later),
                      CmdJoin_InvalidateLater);
            EXPECT_EQ(Take(), Texts{std::string("log 1 CmdProxy: ") + row.encounter});
        }
    }
}
