#include "engine/channel/ChannelMembers.h"

#include <gtest/gtest.h>

namespace {

using vaxoengine::ChannelMembers;
using vaxoengine::ChannelRecord;

ChannelRecord Stream(const std::string& streamID, long long since,
                     const std::string& title = std::string()) {
    ChannelRecord record;
    record.userID = "u";
    record.streamID = streamID;
    record.since = since;
    record.title = title;
    return record;
}

// "+gid=title" and "-gid=title", in order.
std::string Changes(ChannelMembers* members) {
    std::string text;
    for (const auto& change : members->TakeChanges()) {
        EXPECT_TRUE(change.flag == AddedStream || change.flag == DeletedStream);
        text += (text.empty() ? "" : " ");
        text += (change.flag == AddedStream ? "+" : "-");
        text += change.stream.streamGID + "=" + change.stream.title;
    }
    return text;
}

TEST(ChannelMembers, AStreamTellsWhatItsRecordSays) {
    ChannelMembers members("42/room/");
    ChannelRecord record = Stream("s", 1, "t");
    record.userName = "n";
    record.rtmpURLs = {"r"};
    record.hlsURLs = {"h1", "h2"};
    members.Put("a", record);
    const auto streams = members.Streams();
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(streams[0].streamGID, "42/room/a");
    EXPECT_EQ(streams[0].streamID, "s");
    EXPECT_EQ(streams[0].userID, "u");
    EXPECT_EQ(streams[0].userName, "n");
    EXPECT_EQ(streams[0].title, "t");
    EXPECT_EQ(streams[0].rtmpURLs, record.rtmpURLs);
    EXPECT_EQ(streams[0].hlsURLs, record.hlsURLs);
    EXPECT_EQ(streams[0].status, 1U);
}

TEST(ChannelMembers, ChangesAreToldOnce) {
    ChannelMembers members("");
    members.Put("a", Stream("s", 1, "old"));
    members.Put("b", ChannelRecord());
    EXPECT_EQ(Changes(&members), "+a=old");
    EXPECT_EQ(Changes(&members), "");
    members.Put("a", Stream("s", 1, "old"));
    EXPECT_EQ(Changes(&members), "");
    members.Put("a", Stream("s", 1, "new"));
    EXPECT_EQ(Changes(&members), "+a=new");
    members.Remove("a");
    EXPECT_EQ(Changes(&members), "-a=new");
    members.Remove("a");
    EXPECT_EQ(Changes(&members), "");
}

TEST(ChannelMembers, WhatCameAndWentInBetweenIsNotTold) {
    ChannelMembers members("");
    members.Put("a", Stream("s", 1));
    members.Remove("a");
    EXPECT_EQ(Changes(&members), "");
    members.Put("b", Stream("t", 1));
    EXPECT_EQ(Changes(&members), "+b=");
    members.Remove("b");
    members.Put("b", Stream("t", 1));
    EXPECT_EQ(Changes(&members), "");
}

TEST(ChannelMembers, AMemberThatEndsItsStreamStays) {
    ChannelMembers members("");
    members.Put("a", Stream("s", 1));
    EXPECT_EQ(Changes(&members), "+a=");
    members.Put("a", ChannelRecord());
    EXPECT_EQ(Changes(&members), "-a=");
    EXPECT_EQ(members.Online(), 1U);
}

TEST(ChannelMembers, AnotherStreamOfTheSameMemberReplacesTheFirst) {
    ChannelMembers members("");
    members.Put("a", Stream("s", 1, "one"));
    EXPECT_EQ(Changes(&members), "+a=one");
    members.Put("a", Stream("t", 2, "two"));
    EXPECT_EQ(Changes(&members), "-a=one +a=two");
}

TEST(ChannelMembers, OfTwoWithOneStreamIdentifierTheOlderIsListed) {
    for (const bool olderFirst : {true, false}) {
        ChannelMembers members("");
        members.Put(olderFirst ? "b" : "a", Stream("s", olderFirst ? 1 : 2));
        members.Put(olderFirst ? "a" : "b", Stream("s", olderFirst ? 2 : 1));
        EXPECT_EQ(Changes(&members), "+b=");
        ASSERT_EQ(members.Streams().size(), 1U);
        members.Remove("b");
        EXPECT_EQ(Changes(&members), "-b= +a=");
    }
}

TEST(ChannelMembers, AtTheSameMomentTheSmallerSessionIsListed) {
    ChannelMembers members("");
    members.Put("b", Stream("s", 1));
    EXPECT_EQ(Changes(&members), "+b=");
    members.Put("a", Stream("s", 1));
    EXPECT_EQ(Changes(&members), "-b= +a=");
}

TEST(ChannelMembers, TheOnesInDoubtGoUnlessTheyAreSaidAgain) {
    ChannelMembers members("");
    members.Put("a", Stream("s", 1));
    members.Put("b", Stream("t", 1));
    EXPECT_EQ(Changes(&members), "+a= +b=");
    EXPECT_FALSE(members.AnyDoubtful());
    members.DoubtAll();
    members.Put("b", Stream("t", 1));
    EXPECT_TRUE(members.AnyDoubtful());
    EXPECT_EQ(Changes(&members), "");
    members.DropDoubtful();
    EXPECT_EQ(Changes(&members), "-a=");
    EXPECT_FALSE(members.AnyDoubtful());
    EXPECT_EQ(members.Online(), 1U);
}

TEST(ChannelMembers, TheTotalCountsEveryMemberOnce) {
    ChannelMembers members("");
    members.Put("a", ChannelRecord());
    members.Put("b", ChannelRecord());
    members.Put("b", Stream("s", 1));
    members.Remove("a");
    EXPECT_EQ(members.Online(), 1U);
    EXPECT_EQ(members.Total(), 2U);
    members.Put("a", ChannelRecord());
    EXPECT_EQ(members.Online(), 2U);
    EXPECT_EQ(members.Total(), 2U);
    members.Put("c", ChannelRecord());
    EXPECT_EQ(members.Total(), 3U);
}

TEST(ChannelMembers, ThereIsALimitToSessionsAndMembers) {
    ChannelMembers members("");
    members.Put("", ChannelRecord());
    members.Put(std::string(vaxoengine::kSessionBytes + 1, 'x'), ChannelRecord());
    EXPECT_EQ(members.Online(), 0U);
    for (std::size_t i = 0; i < vaxoengine::kMembers + 5; ++i) {
        members.Put(std::to_string(i), ChannelRecord());
    }
    EXPECT_EQ(members.Online(), vaxoengine::kMembers);
    members.Put("0", Stream("s", 1));
    EXPECT_EQ(members.Streams().size(), 1U);
}

}  // namespace
