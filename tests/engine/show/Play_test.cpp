#include "engine/show/Play.h"

#include <atomic>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "engine/player/PlayerRun.h"

namespace {

using livetest::LocalServers;
using livetest::OnEngine;
using livetest::PlayAddress;
using livetest::Program;
using livetest::PublishAddress;
using livetest::Tracks;
using vaxoengine::Play;
using vaxoengine::PlayHost;

// A play of one stream at an address, and what it asks for and answers.
class PlayScene {
public:
    PlayScene(const std::string& stream, const std::string& address) {
        m_host.inChannel = [] { return true; };
        m_host.listed = [](const std::string&) { return true; };
        m_host.signedAddress = [address](const std::string&) { return address; };
        m_host.whyAddress = [](const std::string&) { return std::string(); };
        m_host.begins = [this](const std::string&) { ++asked; };
        m_host.answer = [this](Mediq::VaxoAVState, const std::string&) { answered = true; };
        m_host.change = [](Mediq::VaxoAVState, const std::string&) {};
        m_host.size = [](const std::string&, int, int) {};
        OnEngine([&] {
            m_play = std::make_unique<Play>(stream, m_host, [this] { m_play.reset(); });
            m_play->Begin({true, "none:sink"});
        });
    }
    ~PlayScene() {
        OnEngine([this] { m_play.reset(); });
    }
    PlayScene(const PlayScene&) = delete;
    PlayScene& operator=(const PlayScene&) = delete;

    std::atomic<int> asked{0};
    std::atomic<bool> answered{false};

private:
    PlayHost m_host;
    std::unique_ptr<Play> m_play;
};

// The server gives sound to nobody who has no picture yet, so none ever comes.
TEST(Play, KeyFrameIsAskedForUntilARegularOneIsDue) {
    const Program publisher(livetest::Publisher(PublishAddress("without-pictures"), Tracks::audio));
    ASSERT_TRUE(livetest::Eventually([] {
        return livetest::IsPublished(
            VaxoMediaName(LocalServers::Shared().App().id, "without-pictures"));
    })) << publisher.Output();
    const PlayScene scene("without-pictures", PlayAddress("without-pictures"));
    EXPECT_TRUE(livetest::Eventually([&] { return scene.asked == 3; })) << scene.asked;
    EXPECT_FALSE(scene.answered);
}

TEST(Play, NoKeyFrameIsAskedForWhereThereIsNoServer) {
    const PlayScene scene("s", "rtmp://127.0.0.1:1/live/42_s?sig=x");
    ASSERT_TRUE(livetest::Eventually([&] { return scene.answered.load(); }));
    EXPECT_EQ(scene.asked, 0);
}

}  // namespace
