#include "avmgr/VaxoAVMgrCmd.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/LogRecorder.h"

namespace {

typedef std::shared_ptr<VaxoAVMgrCmd> CmdPtr;

VaxoAVMgrCmdType TypeOf(int32 value) {
    return static_cast<VaxoAVMgrCmdType>(value);
}

int32 Succeed() {
    return 0;
}

struct TypeRow {
    int32 value;
    const char* description;
};

const TypeRow s_types[] = {
    {-2147483647 - 1, ""}, {-1, ""},          {0, ""},           {1, "GetInRoom"},
    {2, "LeaveRoom"},      {3, "PlayStream"}, {4, "StopStream"}, {5, "StartPublish"},
    {6, "StopPublish"},    {7, "SyncCmd"},    {8, ""},           {2147483647, ""},
};

}  // namespace

TEST(VaxoAVMgrCmd, EveryTypeHasItsDescriptionAndAnyOtherValueTheEmptyText) {
    for (const TypeRow& row : s_types) {
        const VaxoAVMgrCmd cmd(TypeOf(row.value), &Succeed);
        EXPECT_STREQ(cmd.GetDescription(), row.description) << row.value;
        EXPECT_STREQ(VaxoDescription(TypeOf(row.value)), row.description) << row.value;
        EXPECT_EQ(cmd.GetCmdType(), row.value);
    }
}

TEST(VaxoAVMgrCmd, TypesAndJoinResultsHaveTheirNumbers) {
    EXPECT_EQ(GetInRoom, 1);
    EXPECT_EQ(LeaveRoom, 2);
    EXPECT_EQ(PlayStream, 3);
    EXPECT_EQ(StopStream, 4);
    EXPECT_EQ(StartPublish, 5);
    EXPECT_EQ(StopPublish, 6);
    EXPECT_EQ(SyncCmd, 7);
    EXPECT_EQ(CmdJoin_CoExist, 0);
    EXPECT_EQ(CmdJoin_InvalidateFormer, 1);
    EXPECT_EQ(CmdJoin_InvalidateLater, 2);
    EXPECT_EQ(sizeof(VaxoAVMgrCmdType), 4U);
    EXPECT_EQ(sizeof(VaxoAVMgrCmdJoinResult), 4U);
}

TEST(VaxoAVMgrCmd, EveryJoinResultHasItsLogNameAndAnyOtherValueTheEmptyText) {
    EXPECT_STREQ(VaxoDescription(CmdJoin_CoExist), "CoExist");
    EXPECT_STREQ(VaxoDescription(CmdJoin_InvalidateFormer), "InvalidateFormer");
    EXPECT_STREQ(VaxoDescription(CmdJoin_InvalidateLater), "InvalidateLater");
    EXPECT_STREQ(VaxoDescription(static_cast<VaxoAVMgrCmdJoinResult>(3)), "");
    EXPECT_STREQ(VaxoDescription(static_cast<VaxoAVMgrCmdJoinResult>(-1)), "");
}

TEST(VaxoAVMgrCmd, ANewRecordHasNumberZeroAndAnEmptyText) {
    const VaxoAVMgrCmd two(PlayStream, &Succeed);
    const VaxoAVMgrCmd three(PlayStream, &Succeed, [](CmdPtr) { return CmdJoin_CoExist; });
    EXPECT_EQ(two.ddwExtraData, 0U);
    EXPECT_EQ(two.strExtraData.length(), 0U);
    EXPECT_EQ(three.ddwExtraData, 0U);
    EXPECT_EQ(three.strExtraData.length(), 0U);
    EXPECT_EQ(three.GetCmdType(), PlayStream);
}

TEST(VaxoAVMgrCmd, ARecordWithoutAJoinRuleCoexistsWithEverythingAlsoWithNull) {
    VaxoAVMgrCmd cmd(LeaveRoom, &Succeed);
    EXPECT_EQ(cmd.Join(CmdPtr()), CmdJoin_CoExist);
    for (int32 type = 0; type <= 8; ++type) {
        EXPECT_EQ(cmd.Join(std::make_shared<VaxoAVMgrCmd>(TypeOf(type), &Succeed)),
                  CmdJoin_CoExist);
    }
}

TEST(VaxoAVMgrCmd, TheDefaultJoinReleasesItsArgument) {
    VaxoAVMgrCmd cmd(SyncCmd, &Succeed);
    CmdPtr later = std::make_shared<VaxoAVMgrCmd>(SyncCmd, &Succeed);
    cmd.Join(later);
    EXPECT_EQ(later.use_count(), 1);
}

TEST(VaxoAVMgrCmd, JoinPassesTheNewcomerOnAndReturnsTheAnswerUnchangedWithoutALine) {
    LogRecorder log;
    const CmdPtr later = std::make_shared<VaxoAVMgrCmd>(PlayStream, &Succeed);
    for (const int32 answer : {0, 1, 2, 7, -1}) {
        CmdPtr seen;
        VaxoAVMgrCmd cmd(StopStream, &Succeed, [&](CmdPtr offered) {
            seen = offered;
            return static_cast<VaxoAVMgrCmdJoinResult>(answer);
        });
        EXPECT_EQ(cmd.Join(later), answer);
        EXPECT_EQ(seen, later);
    }
    EXPECT_TRUE(log.Take().empty());
}

TEST(VaxoAVMgrCmd, ExecuteReturnsExactlyWhatTheFunctionReturned) {
    for (const int32 status : {0, -1, 5, 1, 2147483647, -2147483647 - 1}) {
        VaxoAVMgrCmd cmd(SyncCmd, [status] { return status; });
        EXPECT_EQ(cmd.Execute(), status);
    }
}

TEST(VaxoAVMgrCmd, ASuccessIsNotLogged) {
    LogRecorder log;
    VaxoAVMgrCmd cmd(SyncCmd, &Succeed);
    cmd.Execute();
    EXPECT_TRUE(log.Take().empty());
}

TEST(VaxoAVMgrCmd, AFailureIsLoggedOnceAtErrorLevelUnderTheTagUnnamed) {
    LogRecorder log;
    VaxoAVMgrCmd cmd(PlayStream, [] { return -1; });
    cmd.ddwExtraData = 18446744073709551615ULL;
    cmd.strExtraData = "stream-1";
    EXPECT_EQ(cmd.Execute(), -1);
    const std::vector<LogLine> expected = {
        {esyslog_error, "unnamed",
         ">>>>>> execute PlayStream(18446744073709551615/stream-1) failed"}};
    EXPECT_EQ(log.Take(), expected);
}

TEST(VaxoAVMgrCmd, AFailureOfAnUnknownTypeWithoutExtraDataPrintsEmptyTexts) {
    for (const int32 type : {0, 8}) {
        LogRecorder log;
        VaxoAVMgrCmd cmd(TypeOf(type), [] { return 5; });
        EXPECT_EQ(cmd.Execute(), 5);
        const std::vector<LogLine> expected = {
            {esyslog_error, "unnamed", ">>>>>> execute (0/) failed"}};
        EXPECT_EQ(log.Take(), expected);
    }
}

TEST(VaxoAVMgrCmd, ARecordMayBeExecutedAgainAndFailsAgainTheSameWay) {
    LogRecorder log;
    int runs = 0;
    VaxoAVMgrCmd cmd(StopPublish, [&runs] { return ++runs; });
    EXPECT_EQ(cmd.Execute(), 1);
    EXPECT_EQ(cmd.Execute(), 2);
    EXPECT_EQ(log.Take().size(), 2U);
}

TEST(VaxoAVMgrCmd, EmptyFunctionsThrowWhenCalledAndNotBefore) {
    VaxoAVMgrCmd cmd(SyncCmd, VaxoAVMgrCmd::ExecuteFunc(), VaxoAVMgrCmd::JoinFunc());
    EXPECT_THROW(cmd.Execute(), std::bad_function_call);
    EXPECT_THROW(cmd.Join(CmdPtr()), std::bad_function_call);
}

namespace {

// A capture that tells how it was passed on.
struct Traveller {
    explicit Traveller(int& counter) : copies(&counter) {}
    Traveller(const Traveller& other) : copies(other.copies) { ++*copies; }
    Traveller(Traveller&& other) noexcept : copies(other.copies) {}
    Traveller& operator=(const Traveller&) = delete;
    Traveller& operator=(Traveller&&) = delete;
    ~Traveller() = default;
    int* copies;
    char large[256] = {};  // too large for the wrapper's own storage
};

}  // namespace

TEST(VaxoAVMgrCmd, TheFunctionsAreTakenOverByMove) {
    int copies = 0;
    VaxoAVMgrCmd::ExecuteFunc func = [t = Traveller(copies)] { return *t.copies; };
    VaxoAVMgrCmd::JoinFunc join = [t = Traveller(copies)](CmdPtr) {
        return static_cast<VaxoAVMgrCmdJoinResult>(*t.copies);
    };
    copies = 0;
    VaxoAVMgrCmd cmd(SyncCmd, std::move(func), std::move(join));
    EXPECT_EQ(copies, 0);
    EXPECT_EQ(cmd.Execute(), 0);
    EXPECT_EQ(cmd.Join(CmdPtr()), CmdJoin_CoExist);
}

TEST(VaxoAVMgrCmd, WhatTheFunctionsCapturedIsFreedWithTheLastOwner) {
    const auto captured = std::make_shared<int>(1);
    CmdPtr cmd(new VaxoAVMgrCmd(
        SyncCmd, [captured] { return *captured; }, [captured](CmdPtr) { return CmdJoin_CoExist; }));
    EXPECT_EQ(captured.use_count(), 3);
    CmdPtr other = cmd;
    cmd.reset();
    EXPECT_EQ(captured.use_count(), 3);
    other.reset();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(VaxoAVMgrCmd, PublicFieldsComeFirstBehindTheVirtualTable) {
    VaxoAVMgrCmd cmd(SyncCmd, &Succeed);
    const auto* const base = reinterpret_cast<const char*>(&cmd);
    const auto number = reinterpret_cast<const char*>(&cmd.ddwExtraData) - base;
    const auto text = reinterpret_cast<const char*>(&cmd.strExtraData) - base;
    // Behind the table pointer, at the number's own alignment.
    const std::ptrdiff_t expected = sizeof(void*) < alignof(decltype(cmd.ddwExtraData))
                                        ? alignof(decltype(cmd.ddwExtraData))
                                        : sizeof(void*);
    EXPECT_EQ(number, expected);
    EXPECT_EQ(text, number + 8);
}

TEST(VaxoAVMgrCmd, VirtualOperationsStandInTheirFixedOrderWithoutADestructor) {
    // In the common C++ ABI a member pointer to a virtual operation holds 1 plus
    // its offset in the table (on 32-bit Arm the 1 is in the second word).
    const auto slot = [](auto member) {
        std::ptrdiff_t words[2];
        static_assert(sizeof(member) == sizeof(words), "two words");
        std::memcpy(words, &member, sizeof(words));
        return (words[0] & ~std::ptrdiff_t{1}) / static_cast<std::ptrdiff_t>(sizeof(void*));
    };
    EXPECT_EQ(slot(&VaxoAVMgrCmd::Execute), 0);
    EXPECT_EQ(slot(&VaxoAVMgrCmd::Join), 1);
    EXPECT_EQ(slot(&VaxoAVMgrCmd::GetCmdType), 2);
    EXPECT_EQ(slot(&VaxoAVMgrCmd::GetDescription), 3);
    EXPECT_FALSE(std::has_virtual_destructor<VaxoAVMgrCmd>::value);
}
