// What a publish is for others: read back by ffprobe over RTMP and HLS.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "engine/live/Member.h"
#include "servers/ServerTools.h"

namespace {

using livetest::LocalServers;
using livetest::Member;
using nlohmann::json;

// Everything ffprobe knows of an address within some seconds of media; null if it failed.
json Probe(const std::string& address) {
    const livetest::Outcome outcome = livetest::RunProgram(
        {"ffprobe", "-v", "error", "-rw_timeout", "8000000", "-read_intervals", "%+3",
         "-show_streams", "-show_packets", "-show_entries",
         "stream=codec_name,width,height,avg_frame_rate,sample_rate,channels,profile:packet=codec_"
         "type,pts_time,dts_time",
         "-of", "json", address});
    const std::size_t begin = outcome.output.find('{');
    json answer = begin == std::string::npos
                      ? json()
                      : json::parse(outcome.output.substr(begin), nullptr, false);
    return answer.is_object() ? answer : json();
}

const json* StreamOf(const json& probe, const std::string& codec) {
    for (const json& stream : probe["streams"]) {
        if (stream.value("codec_name", "") == codec) {
            return &stream;
        }
    }
    return nullptr;
}

void ExpectGrowing(const json& probe, const std::string& type) {
    double last = -1;
    int packets = 0;
    for (const json& packet : probe["packets"]) {
        if (packet.value("codec_type", "") == type && packet.contains("dts_time")) {
            const double stamp = std::stod(packet["dts_time"].get<std::string>());
            EXPECT_GT(stamp, last) << type << " packet " << packets;
            last = stamp;
            ++packets;
        }
    }
    EXPECT_GT(packets, 20) << type;
}

void ExpectWholeStream(const json& probe, int width, int height) {
    ASSERT_TRUE(probe.is_object());
    const json* const video = StreamOf(probe, "h264");
    const json* const audio = StreamOf(probe, "aac");
    ASSERT_NE(video, nullptr) << probe.dump().substr(0, 500);
    ASSERT_NE(audio, nullptr) << probe.dump().substr(0, 500);
    EXPECT_EQ((*video)["width"], width);
    EXPECT_EQ((*video)["height"], height);
    EXPECT_EQ((*video)["profile"], "Main");
    EXPECT_EQ((*audio)["sample_rate"], "48000");
    EXPECT_EQ((*audio)["channels"], 2);
    ExpectGrowing(probe, "video");
    ExpectGrowing(probe, "audio");
}

std::string PlayURL(Member& member, bool hls) {
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    EXPECT_EQ(member.Engine().GetStreamList(streams), 0);
    if (streams.size() != 1) {
        return {};
    }
    const vaxostl::vector<vaxo::strutf8>& addresses =
        hls ? streams[0].hlsURLs : streams[0].rtmpURLs;
    return addresses.size() == 1 ? std::string(addresses[0].c_str()) : std::string();
}

TEST(LivePublish, IsReadOverRtmpAndHlsWithTheSizeAndRateAskedFor) {
    Member member(LocalServers::Shared());
    ASSERT_EQ(member.Enter("probe", "bob"), "OnGetStreamList(0)");
    EXPECT_EQ(member.Engine().SetVideoResolution(480, 270), 0);
    EXPECT_EQ(member.Engine().SetVideoFPS(20), 0);
    ASSERT_EQ(member.Publish("probed"), "OnPublishStateUpdate(0, probed)");
    ASSERT_NE(member.Wait("OnStreamUpdate(probed, 1)"), "");

    const json rtmp = Probe(PlayURL(member, false));
    ExpectWholeStream(rtmp, 480, 270);
    int pictures = 0;
    double first = -1;
    double last = 0;
    for (const json& packet : rtmp["packets"]) {
        if (packet.value("codec_type", "") == "video") {
            last = std::stod(packet["dts_time"].get<std::string>());
            first = first < 0 ? last : first;
            ++pictures;
        }
    }
    // A busy machine may lose some.
    EXPECT_GT((pictures - 1) / (last - first), 12);
    EXPECT_LT((pictures - 1) / (last - first), 21.5);

    json hls;
    EXPECT_TRUE(livetest::Eventually([&] {
        hls = Probe(PlayURL(member, true));
        return hls.is_object() && hls["packets"].size() > 100;
    }));
    ExpectWholeStream(hls, 480, 270);
    EXPECT_EQ(member.Leave(), "OnLogout(0)");
}

TEST(LivePublish, TellsTheChannelAndTheGettersAndIsGoneAfterTheStop) {
    Member publisher(LocalServers::Shared());
    Member viewer(LocalServers::Shared());
    ASSERT_EQ(viewer.Enter("told", "ann"), "OnGetStreamList(0)");
    ASSERT_EQ(publisher.Enter("told", "bob"), "OnGetStreamList(0)");
    EXPECT_STREQ(publisher.Engine().GetLiveChannel().c_str(), "told");
    EXPECT_EQ(publisher.Engine().GetCurrentPublishStreamID().size(), 0U);
    ASSERT_EQ(publisher.Publish("news"), "OnPublishStateUpdate(0, news)");
    EXPECT_STREQ(publisher.Engine().GetCurrentPublishStreamID().c_str(), "news");
    const std::string url = publisher.Engine().GetCurrentPublishStreamURL().c_str();
    EXPECT_EQ(url.find(LocalServers::Shared().MediaURL() + "/42_news?"), 0U) << url;

    ASSERT_NE(viewer.Wait("OnStreamUpdate(news, 1)"), "");
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    EXPECT_EQ(viewer.Engine().GetStreamList(streams), 0);
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_STREQ(streams[0].userID.c_str(), "bob");
    EXPECT_STREQ(streams[0].userName.c_str(), "the name of bob");
    EXPECT_STREQ(streams[0].title.c_str(), "a title");
    EXPECT_EQ(streams[0].status, 1U);
    EXPECT_GT(streams[0].streamGID.size(), 0U);

    EXPECT_EQ(publisher.Engine().StopPublishing(), 0);
    EXPECT_EQ(publisher.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(1, news)");
    EXPECT_NE(viewer.Wait("OnStreamUpdate(news, 2)"), "");
    EXPECT_EQ(publisher.Engine().GetCurrentPublishStreamID().size(), 0U);
}

TEST(LivePublish, ASecondPublisherOfANameIsTurnedAway) {
    Member first(LocalServers::Shared());
    Member second(LocalServers::Shared());
    ASSERT_EQ(first.Enter("twice", "ann"), "OnGetStreamList(0)");
    ASSERT_EQ(second.Enter("twice", "bob"), "OnGetStreamList(0)");
    ASSERT_EQ(first.Publish("same"), "OnPublishStateUpdate(0, same)");
    EXPECT_EQ(second.Publish("same"), "OnPublishStateUpdate(103, same)");
    EXPECT_EQ(first.Engine().StopPublishing(), 0);
    EXPECT_EQ(first.Wait("OnPublishStateUpdate("), "OnPublishStateUpdate(1, same)");
    // The server needs a moment to forget the first one.
    EXPECT_TRUE(livetest::Eventually(
        [&] { return second.Publish("same") == "OnPublishStateUpdate(0, same)"; }));
}

}  // namespace
