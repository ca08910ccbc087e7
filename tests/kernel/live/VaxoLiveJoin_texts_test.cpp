// How joins compare texts, and which texts they compare.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveJoinSteps.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "live/VaxoLiveJoin.h"

namespace {

using livetest::Text;
using livetest::Texts;

class LiveJoinTexts : public livetest::LiveJoinFixture {
protected:
    // What a waiting command of this type with `waiting` answers to a newcomer with `offered`.
    VaxoAVMgrCmdJoinResult Join(VaxoAVMgrCmdType type, const vaxo::strutf8& waiting,
                                VaxoAVMgrCmdType newcomer, const vaxo::strutf8& offered) {
        HoldQueue();
        Wait(type, waiting);
        const VaxoAVMgrCmdJoinResult result = proxy->AddCmd(Unrun(newcomer, offered, 0));
        Drain();
        return result;
    }
};

struct Comparison {
    vaxo::strutf8 waiting;
    vaxo::strutf8 offered;
    bool same;
};

vaxo::strutf8 Emptied() {
    vaxo::strutf8 text("had a buffer");
    text.resize(0);
    return text;
}

std::vector<Comparison> Comparisons() {
    const std::string big(5000, 'x');
    const vaxo::strutf8 longText(big.c_str(), 5000);
    const vaxo::strutf8 longOther = longText.substr(0, 4999) + "y";
    return {
        {"room", "room", true},
        {"room", "Room", false},   // case
        {"room", "room1", false},  // the same beginning, one longer than the other
        {"room1", "room", false},
        {"room1", "room2", false},
        {"room", "room ", false},
        {"", "", true},
        {"", Emptied(), true},  // empty with a buffer and without
        {Emptied(), "", true},
        {"", "a", false},
        {"a", "", false},
        {{"a\0b", 3}, {"a\0b", 3}, true},  // zero bytes count
        {{"a\0b", 3}, {"a\0c", 3}, false},
        {{"a\0b", 3}, "a", false},
        {"a", {"a\0b", 3}, false},
        {{"\0", 1}, "", false},
        {{"\0", 1}, {"\0\0", 2}, false},
        {"\xC3\xBC", "\xC3\xBC", true},  // bytes, well-formed or not, composed or not
        {"\xFF\xFE", "\xFF\xFE", true},
        {"\xC3\xBC", "u\xCC\x88", false},
        {longText, longText, true},
        {longText, longOther, false},
    };
}

}  // namespace

TEST_F(LiveJoinTexts, APlayAndItsStopCompareStreamsByteForByte) {
    for (const Comparison& texts : Comparisons()) {
        SCOPED_TRACE(Text(texts.waiting) + " / " + Text(texts.offered));
        const auto expected = texts.same ? CmdJoin_InvalidateFormer : CmdJoin_CoExist;
        EXPECT_EQ(Join(PlayStream, texts.waiting, PlayStream, texts.offered), expected);
        EXPECT_EQ(Join(PlayStream, texts.waiting, StopStream, texts.offered), expected);
        EXPECT_EQ(Join(StopStream, texts.waiting, PlayStream, texts.offered), expected);
        EXPECT_EQ(Join(StopStream, texts.waiting, StopStream, texts.offered), expected);
    }
}

TEST_F(LiveJoinTexts, APublishAndAChannelEntryCompareByteForByte) {
    for (const Comparison& texts : Comparisons()) {
        SCOPED_TRACE(Text(texts.waiting) + " / " + Text(texts.offered));
        const auto expected = texts.same ? CmdJoin_CoExist : CmdJoin_InvalidateFormer;
        EXPECT_EQ(Join(StartPublish, texts.waiting, GetInRoom, texts.offered), expected);
        EXPECT_EQ(Join(GetInRoom, texts.waiting, StartPublish, texts.offered), expected);
    }
}

TEST_F(LiveJoinTexts, AWaitingPublishComparesItsChannelAndNotItsStream) {
    HoldQueue();
    proxy->StartPublishing("room2", "room2", "room1");
    EXPECT_EQ(proxy->GetStreamList("room2", "room2", "room1", 0), 0);
    EXPECT_EQ(Waiting(), (Texts{"StartPublish(0/room2)", "GetInRoom(0/room1)"}));
    EXPECT_EQ(proxy->GetStreamList("room1", "room1", "room2", 0), 0);
    EXPECT_EQ(Waiting(), Texts{"GetInRoom(0/room2)"});
}

TEST_F(LiveJoinTexts, AWaitingChannelEntryComparesItsChannelWithTheStreamOfAPublish) {
    HoldQueue();
    proxy->GetStreamList("user", "name", "room1", 0);
    EXPECT_EQ(proxy->StartPublishing("t", "room1", "room2"), 0);
    EXPECT_EQ(Waiting(), (Texts{"GetInRoom(0/room1)", "StartPublish(0/room1)"}));
    Drain();

    HoldQueue();
    proxy->GetStreamList("user", "name", "room1", 0);
    EXPECT_EQ(proxy->StartPublishing("t", "s1", "room1"), 0);  // the same channel does not help
    EXPECT_EQ(Waiting(), Texts{"StartPublish(0/s1)"});
}

TEST_F(LiveJoinTexts, APlayChannelIsNotCompared) {
    HoldQueue();
    proxy->PlayStream("a", 1);
    proxy->PlayStream("b", 1);
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/a)", "PlayStream(0/b)"}));
    proxy->PlayStream("a", 2);
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/b)", "PlayStream(0/a)"}));
}

TEST_F(LiveJoinTexts, RulesWithoutAComparisonDoNotLookAtTheText) {
    const auto former = CmdJoin_InvalidateFormer;
    const char* const texts[] = {"", "room1", "room2"};
    for (const char* const text : texts) {
        EXPECT_EQ(Join(GetInRoom, "room1", GetInRoom, text), former);
        EXPECT_EQ(Join(StartPublish, "room1", StartPublish, text), former);
        EXPECT_EQ(Join(LeaveRoom, "", LeaveRoom, text), former);
        EXPECT_EQ(Join(LeaveRoom, "", PlayStream, text), former);
        EXPECT_EQ(Join(LeaveRoom, "", StopStream, text), CmdJoin_CoExist);
        EXPECT_EQ(Join(StopPublish, "", StopPublish, text), CmdJoin_CoExist);
        EXPECT_EQ(Join(PlayStream, "room1", StartPublish, text), CmdJoin_CoExist);
        EXPECT_EQ(Join(PlayStream, "room1", SyncCmd, text), CmdJoin_CoExist);
    }
}

TEST_F(LiveJoinTexts, ARuleKeepsWhatItComparesWithWhateverBecomesOfTheRecordsText) {
    HoldQueue();
    const livetest::CmdPtr play = livetest::CommandOf([this] { proxy->PlayStream("a", 0); });
    ASSERT_TRUE(play);
    play->strExtraData = "b";
    proxy->StopPlayStream("b");
    EXPECT_EQ(Waiting(), (Texts{"PlayStream(0/b)", "StopStream(0/b)"}));
    proxy->StopPlayStream("a");
    EXPECT_EQ(Waiting(), (Texts{"StopStream(0/b)", "StopStream(0/a)"}));
}
