// A member of a channel for tests of the channel service against the real server.
#ifndef VAXO_TESTS_ENGINE_CHANNEL_CHANNELMEMBER_H
#define VAXO_TESTS_ENGINE_CHANNEL_CHANNELMEMBER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine/OnLoop.h"
#include "engine/base/EngineLoop.h"
#include "engine/channel/ChannelService.h"
#include "servers/LocalServers.h"

namespace channeltest {

using livetest::LocalServers;
using vaxoengine::ChannelConfig;
using vaxoengine::ChannelError;
using vaxoengine::ChannelService;
using vaxoengine::ChannelStream;
using vaxoengine::EngineLoop;

constexpr std::chrono::seconds kUpperBound(20);

inline ChannelConfig ConfigOf(const std::string& user, const std::string& channel = "room 1/+") {
    LocalServers& servers = LocalServers::Shared();
    ChannelConfig config;
    config.url = servers.ServiceURL();
    config.identity = std::to_string(servers.App().id);
    config.key = servers.App().key;
    config.channel = channel;
    config.userID = user;
    config.userName = user + "'s name";
    return config;
}

inline ChannelStream StreamNamed(const std::string& streamID,
                                 const std::string& title = "a title") {
    ChannelStream stream;
    stream.streamID = streamID;
    stream.title = title;
    stream.rtmpURLs = {"rtmp://h/live/1_s", "rtmp://i/live/1_s"};
    stream.hlsURLs = {"http://h/hls/1_s/index.m3u8"};
    return stream;
}

// A member of a channel and what it heard, in words: "entered 0", "list s1", "added s1",
// "deleted s1", "counts 1/1", "lost", "back", "key frame".
class Member : public vaxoengine::ChannelObserver {
public:
    explicit Member(ChannelConfig config, bool enter = true) {
        OnLoop([&] {
            m_service = std::make_unique<ChannelService>(std::move(config), this);
            if (enter) {
                m_service->Enter();
            }
        });
    }
    virtual ~Member() { Drop(); }
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

    void Enter() {
        OnLoop([&] { m_service->Enter(); });
    }
    void Publish(const ChannelStream& stream) {
        OnLoop([&] { m_service->SetPublished(&stream); });
    }
    void EndPublish() {
        OnLoop([&] { m_service->SetPublished(nullptr); });
    }
    void AskKeyFrame(const std::string& streamID) {
        OnLoop([&] { m_service->AskKeyFrame(streamID); });
    }
    // As a process that ends in the middle of everything.
    void Drop() {
        OnLoop([&] { m_service.reset(); });
    }
    // Until it is done.
    bool Leave() {
        std::promise<void> done;
        auto left = done.get_future();
        OnLoop([&] { m_service->Leave([&] { done.set_value(); }); });
        return left.wait_for(kUpperBound) == std::future_status::ready;
    }
    std::vector<ChannelStream> Streams() {
        std::vector<ChannelStream> streams;
        OnLoop([&] { streams = m_service->Streams(); });
        return streams;
    }
    bool Connected() {
        bool connected = false;
        OnLoop([&] { connected = m_service->Connected(); });
        return connected;
    }

    // Waits for a word that comes after the last one waited for.
    testing::AssertionResult Hears(const std::string& word) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const bool heard = m_news.wait_for(lock, kUpperBound, [&] {
            const auto from = m_words.begin() + static_cast<std::ptrdiff_t>(m_seen);
            const auto found = std::find(from, m_words.end(), word);
            if (found == m_words.end()) {
                return false;
            }
            m_seen = static_cast<std::size_t>(found - m_words.begin()) + 1;
            return true;
        });
        return (heard ? testing::AssertionSuccess() : testing::AssertionFailure())
               << testing::PrintToString(m_words);
    }
    std::vector<std::string> Words() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_words;
    }
    std::size_t Count(const std::string& word) {
        const auto words = Words();
        return static_cast<std::size_t>(std::count(words.begin(), words.end(), word));
    }

    std::function<void()> onEntered = [] {};

protected:
    void OnChannelEntered(ChannelError error) override {
        Note("entered " + std::to_string(error));
        onEntered();
    }
    void OnChannelStream(const ChannelStream& stream, VaxoAVStreamUpdateFlag flag) override {
        const char* const word = flag == CompleteStreamList ? "list "
                                 : flag == AddedStream      ? "added "
                                                            : "deleted ";
        Note(word + stream.streamID);
    }
    void OnChannelCounts(unsigned online, unsigned total) override {
        Note("counts " + std::to_string(online) + "/" + std::to_string(total));
    }
    void OnChannelLost(ChannelError) override { Note("lost"); }
    void OnChannelBack() override { Note("back"); }
    void OnKeyFrameWanted() override { Note("key frame"); }

private:
    void Note(const std::string& word) {
        EXPECT_TRUE(EngineLoop::Shared().IsCurrent());
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_words.push_back(word);
        m_news.notify_all();
    }

    std::unique_ptr<ChannelService> m_service;
    std::mutex m_mutex;
    std::condition_variable m_news;
    std::vector<std::string> m_words;
    std::size_t m_seen = 0;
};

}  // namespace channeltest

#endif
