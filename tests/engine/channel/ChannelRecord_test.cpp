#include "engine/channel/ChannelRecord.h"

#include <gtest/gtest.h>

namespace {

using vaxoengine::ChannelRecord;
using vaxoengine::kRecordAddresses;
using vaxoengine::kRecordBytes;
using vaxoengine::kRecordText;
using vaxoengine::ReadRecord;
using vaxoengine::WriteRecord;

ChannelRecord Publishing() {
    ChannelRecord record;
    record.userID = "u1";
    record.userName = "J\xC3\xBCrgen \"J\" \xF0\x9F\x98\x80\n";
    record.streamID = "s1";
    record.title = "a title";
    record.since = 1790000000123LL;
    record.rtmpURLs = {"rtmp://h/live/1_s1", "rtmp://i/live/1_s1"};
    record.hlsURLs = {"http://h/hls/1_s1/index.m3u8"};
    return record;
}

ChannelRecord ThereAndBack(const ChannelRecord& record) {
    const auto read = ReadRecord(WriteRecord(record));
    EXPECT_TRUE(read.has_value());
    return read.value_or(ChannelRecord());
}

TEST(ChannelRecord, EveryFieldArrivesAsItWas) {
    EXPECT_TRUE(ThereAndBack(Publishing()) == Publishing());
}

TEST(ChannelRecord, AMemberThatPublishesNothingHasNoStream) {
    ChannelRecord record;
    record.userID = "u1";
    EXPECT_EQ(WriteRecord(record), R"({"name":"","user":"u1"})");
    EXPECT_TRUE(ThereAndBack(record) == record);
}

TEST(ChannelRecord, AStreamIdentifierOfAnyBytesArrivesAsItWas) {
    ChannelRecord record = Publishing();
    for (const std::string& bytes :
         {std::string("\xFF\x00\xC3", 3), std::string("\xED\xA0\x80"), std::string("\xC0\xAF"),
          std::string("\xF4\x90\x80\x80"), std::string("a\xE2\x82"), std::string("a\0b", 3),
          std::string(kRecordText, '\xFF')}) {
        record.streamID = bytes;
        EXPECT_EQ(ThereAndBack(record).streamID, bytes);
    }
}

TEST(ChannelRecord, BytesOfANameThatAreNotUtf8AreReplaced) {
    ChannelRecord record = Publishing();
    record.userID = "a\xFFz";
    record.userName = std::string("a\0z", 3);
    record.title = "\xE2\x82";
    const ChannelRecord read = ThereAndBack(record);
    EXPECT_EQ(read.userID, "a\xEF\xBF\xBDz");
    EXPECT_EQ(read.userName, "a\xEF\xBF\xBDz");
    EXPECT_EQ(read.title, "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(ChannelRecord, ALongTextIsCutBetweenTwoCharacters) {
    ChannelRecord record = Publishing();
    record.title = "x";
    for (std::size_t i = 0; i < kRecordText; ++i) {
        record.title += "\xC3\xBC";
    }
    const std::string read = ThereAndBack(record).title;
    EXPECT_EQ(read, record.title.substr(0, kRecordText - 1));
}

TEST(ChannelRecord, AStreamWhoseIdentifierIsTooLongIsLeftOut) {
    ChannelRecord record = Publishing();
    record.streamID.assign(kRecordText, 's');
    EXPECT_EQ(ThereAndBack(record).streamID, record.streamID);
    record.streamID += 's';
    EXPECT_EQ(ThereAndBack(record).streamID, "");
}

TEST(ChannelRecord, OnlyUsableAddressesAreWritten) {
    ChannelRecord record = Publishing();
    record.rtmpURLs = {"",
                       "rtmp://h/a b",
                       "rtmp://h/\"",
                       "rtmp://h/\xC3\xBC",
                       "rtmp://h/ok",
                       "rtmp://h/" + std::string(kRecordText, 'x')};
    record.hlsURLs.assign(kRecordAddresses + 1, "http://h/x");
    const ChannelRecord read = ThereAndBack(record);
    EXPECT_EQ(read.rtmpURLs, std::vector<std::string>{"rtmp://h/ok"});
    EXPECT_EQ(read.hlsURLs.size(), kRecordAddresses);
}

TEST(ChannelRecord, TheLargestRecordIsWithinTheLimit) {
    ChannelRecord record;
    record.userID.assign(2 * kRecordText, '\x01');
    record.userName = record.userID;
    record.title = record.userID;
    record.streamID.assign(kRecordText, '\x01');
    record.rtmpURLs.assign(2 * kRecordAddresses, std::string(kRecordText, '/'));
    record.hlsURLs = record.rtmpURLs;
    EXPECT_LE(WriteRecord(record).size(), kRecordBytes);
    EXPECT_EQ(ThereAndBack(record).hlsURLs.size(), kRecordAddresses);
}

TEST(ChannelRecord, UnknownNamesArePassedOver) {
    const auto read =
        ReadRecord(R"({"v":9,"user":"u","more":{"a":[1]},"stream":{"id":"s","since":1,"x":null}})");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->userID, "u");
    EXPECT_EQ(read->streamID, "s");
}

TEST(ChannelRecord, ABrokenPayloadIsNoRecord) {
    for (const char* payload : {"",
                                "x",
                                "[]",
                                "null",
                                "{",
                                R"({"user":1})",
                                "{\"user\":\"\xFF\"}",
                                R"({"user":"a\u0000b"})",
                                R"({"stream":1})",
                                R"({"stream":null})",
                                R"({"stream":{}})",
                                R"({"stream":{"id":"s"}})",
                                R"({"stream":{"id":"","since":1}})",
                                R"({"stream":{"id":7,"since":1}})",
                                R"({"stream":{"idHex":"f","since":1}})",
                                R"({"stream":{"idHex":"zz","since":1}})",
                                R"({"stream":{"id":"s","since":-1}})",
                                R"({"stream":{"id":"s","since":1.5}})",
                                R"({"stream":{"id":"s","since":18446744073709551615}})",
                                R"({"stream":{"id":"s","since":1,"rtmp":"rtmp://h"}})",
                                R"({"stream":{"id":"s","since":1,"rtmp":[1]}})",
                                R"({"stream":{"id":"s","since":1,"hls":["a b"]}})"}) {
        EXPECT_FALSE(ReadRecord(payload).has_value()) << payload;
    }
}

TEST(ChannelRecord, APayloadOverTheLimitsIsNoRecord) {
    const std::string text(kRecordText, 'x');
    EXPECT_TRUE(ReadRecord("{\"user\":\"" + text + "\"}").has_value());
    EXPECT_FALSE(ReadRecord("{\"user\":\"" + text + "x\"}").has_value());
    std::string list;
    for (std::size_t i = 0; i < kRecordAddresses; ++i) {
        list += "\"a\",";
    }
    const std::string head = "{\"stream\":{\"id\":\"s\",\"since\":1,\"rtmp\":[";
    EXPECT_TRUE(ReadRecord(head + list.substr(0, list.size() - 1) + "]}}").has_value());
    EXPECT_FALSE(ReadRecord(head + list + "\"a\"]}}").has_value());
    EXPECT_TRUE(ReadRecord("{}" + std::string(kRecordBytes - 2, ' ')).has_value());
    EXPECT_FALSE(ReadRecord("{}" + std::string(kRecordBytes - 1, ' ')).has_value());
    EXPECT_FALSE(ReadRecord(std::string(kRecordBytes, '[')).has_value());
    EXPECT_FALSE(ReadRecord("{\"a\":" + std::string(30000, '[') + std::string(30000, ']') + "x")
                     .has_value());
}

}  // namespace
