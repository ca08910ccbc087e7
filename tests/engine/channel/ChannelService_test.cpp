// The channel service against the real server.
#include "engine/channel/ChannelService.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/base/EngineLoop.h"
#include "engine/channel/ChannelRecord.h"
#include "servers/LocalServers.h"

namespace {

using livetest::LocalServers;
using std::chrono::milliseconds;
using std::chrono::seconds;
using vaxoengine::ChannelConfig;
using vaxoengine::ChannelError;
using vaxoengine::ChannelService;
using vaxoengine::ChannelStream;
using vaxoengine::EngineLoop;

constexpr seconds kUpperBound(20);

// Runs on the engine's thread and waits for it.
template <class Func>
void OnLoop(Func func) {
    if (EngineLoop::Shared().IsCurrent()) {
        func();
        return;
    }
    std::promise<void> done;
    EngineLoop::Shared().Post([&] {
        func();
        done.set_value();
    });
    done.get_future().wait();
}

ChannelConfig ConfigOf(const std::string& user, const std::string& channel = "room 1/+") {
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

ChannelStream StreamNamed(const std::string& streamID, const std::string& title = "a title") {
    ChannelStream stream;
    stream.streamID = streamID;
    stream.title = title;
    stream.rtmpURLs = {"rtmp://h/live/1_s", "rtmp://i/live/1_s"};
    stream.hlsURLs = {"http://h/hls/1_s/index.m3u8"};
    return stream;
}

// A member of a channel and what it heard, in words: "entered 0", "list s1", "added s1",
// "deleted s1", "counts 1/1", "lost", "back".
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

// A port of this machine; listening, it accepts and never answers.
class Port {
public:
    explicit Port(bool listening) : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(m_socket, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
        m_port = ntohs(address.sin_port);
        if (listening) {
            EXPECT_EQ(listen(m_socket, 5), 0);
        }
    }
    ~Port() { close(m_socket); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    std::string At(const std::string& scheme) const {
        return scheme + "://127.0.0.1:" + std::to_string(m_port);
    }
    // Takes the next connection and closes it; `afterHearing`: something that was said.
    void TurnAway(bool afterHearing) const {
        const int taken = accept(m_socket, nullptr, nullptr);
        char heard[4096];
        if (afterHearing) {
            EXPECT_GT(recv(taken, heard, sizeof heard, 0), 0);
        }
        close(taken);
    }

private:
    const int m_socket;
    int m_port = 0;
};

TEST(ChannelService, TwoMembersSeeEachOthersStreamComeAndGoWithEveryField) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    EXPECT_TRUE(ann.Connected());
    ann.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    ASSERT_TRUE(ann.Hears("added s1"));
    const auto streams = bob.Streams();
    ASSERT_EQ(streams.size(), 1U);
    ChannelStream expected = StreamNamed("s1");
    expected.userID = "ann";
    expected.userName = "ann's name";
    expected.status = 1;
    expected.streamGID = streams[0].streamGID;
    EXPECT_TRUE(streams[0] == expected);
    const std::string prefix = ConfigOf("ann").identity + "/room 1/+/";
    EXPECT_EQ(streams[0].streamGID.substr(0, prefix.size()), prefix);

    bob.Publish(StreamNamed("s2"));
    ASSERT_TRUE(ann.Hears("added s2"));
    ann.Publish(StreamNamed("s1", "another title"));
    ASSERT_TRUE(bob.Hears("added s1"));
    EXPECT_EQ(bob.Streams()[0].title, "another title");
    ann.EndPublish();
    ASSERT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(ann.Leave());
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(bob.Streams().size(), 1U);
}

TEST(ChannelService, EntryListsEveryStreamBeforeAnyChange) {
    std::vector<std::unique_ptr<Member>> others;
    for (int i = 0; i < 30; ++i) {
        others.push_back(std::make_unique<Member>(ConfigOf("u" + std::to_string(i)), false));
        others.back()->Publish(StreamNamed("s" + std::to_string(i)));
        others.back()->Enter();
    }
    for (const auto& other : others) {
        ASSERT_TRUE(other->Hears("entered 0"));
    }
    Member ann(ConfigOf("ann"), false);
    ann.Publish(StreamNamed("own"));
    ann.Enter();
    ASSERT_TRUE(ann.Hears("counts 31/31"));
    const auto words = ann.Words();
    ASSERT_EQ(words.size(), 33U);
    EXPECT_EQ(words[0], "entered 0");
    EXPECT_EQ(ann.Count("list own"), 1U);
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(ann.Count("list s" + std::to_string(i)), 1U);
    }
}

TEST(ChannelService, ChannelsDoNotSeeEachOther) {
    Member bob(ConfigOf("bob", "room"));
    ASSERT_TRUE(bob.Hears("counts 1/1"));
    Member ann(ConfigOf("ann", "room2"), false);
    ann.Publish(StreamNamed("s1"));
    ann.Enter();
    ASSERT_TRUE(ann.Hears("counts 1/1"));
    Member eve(ConfigOf("eve", "room"));
    ASSERT_TRUE(bob.Hears("counts 2/2"));
    EXPECT_EQ(bob.Count("added s1"), 0U);
}

TEST(ChannelService, AStreamIdentifierOfAnyBytesArrivesAsItWas) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"), false);
    ann.Publish(StreamNamed("\xFF/\xC3"));
    ann.Enter();
    EXPECT_TRUE(bob.Hears("added \xFF/\xC3"));
}

TEST(ChannelService, OfTwoStreamsWithOneIdentifierTheOlderIsListedUntilItGoes) {
    Member bob(ConfigOf("bob"));
    Member first(ConfigOf("first"));
    Member second(ConfigOf("second"));
    for (Member* const member : {&bob, &first, &second}) {
        ASSERT_TRUE(member->Hears("entered 0"));
    }
    first.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    std::this_thread::sleep_for(milliseconds(2));  // the clock that decides has gone on
    second.Publish(StreamNamed("s1"));
    second.Publish(StreamNamed("s1", "changed"));
    Member late(ConfigOf("late"));
    ASSERT_TRUE(late.Hears("list s1"));
    EXPECT_EQ(late.Streams()[0].userID, "first");
    EXPECT_EQ(bob.Streams().size(), 1U);
    EXPECT_TRUE(first.Leave());
    ASSERT_TRUE(bob.Hears("deleted s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    EXPECT_EQ(bob.Streams()[0].userID, "second");
}

TEST(ChannelService, AWrongKeyOrIdentityIsRefused) {
    ChannelConfig config = ConfigOf("ann");
    config.key[0] = static_cast<char>(config.key[0] ^ 1);
    Member wrongKey(config);
    EXPECT_TRUE(wrongKey.Hears("entered 2"));
    config.key.clear();
    Member noKey(config);
    EXPECT_TRUE(noKey.Hears("entered 2"));
    config = ConfigOf("ann");
    config.identity = "999999";
    Member wrongIdentity(config);
    EXPECT_TRUE(wrongIdentity.Hears("entered 2"));
    EXPECT_FALSE(wrongIdentity.Connected());
}

TEST(ChannelService, TheTopicsOfAnotherApplicationAreForbidden) {
    ChannelConfig config = ConfigOf("ann");
    config.topicIdentity = std::to_string(LocalServers::Shared().OtherApp().id);
    Member ann(config);
    EXPECT_TRUE(ann.Hears("entered 3"));
}

TEST(ChannelService, AChannelWhoseNameIsTooLongIsForbidden) {
    Member ann(ConfigOf("ann", std::string(512, 'x')));
    EXPECT_TRUE(ann.Hears("entered 0"));
    Member bob(ConfigOf("bob", std::string(513, 'x')));
    EXPECT_TRUE(bob.Hears("entered 3"));
    Member eve(ConfigOf("eve", std::string(171, '/')));
    EXPECT_TRUE(eve.Hears("entered 3"));
}

TEST(ChannelService, WithoutAServerItIsUnreachable) {
    const Port closed(false);
    for (const std::string& url :
         {closed.At("mqtts"), closed.At("mqtt"), std::string("mqtts://name.invalid:8883")}) {
        ChannelConfig config = ConfigOf("ann");
        config.url = url;
        Member ann(config);
        EXPECT_TRUE(ann.Hears("entered 1")) << url;
    }
}

TEST(ChannelService, AServerThatClosesAtOnceIsUnreachable) {
    const Port port(true);
    for (const char* scheme : {"mqtts", "mqtt"}) {
        for (const bool afterHearing : {true, false}) {
            ChannelConfig config = ConfigOf("ann");
            config.url = port.At(scheme);
            Member ann(config);
            port.TurnAway(afterHearing);
            EXPECT_TRUE(ann.Hears("entered 1")) << scheme << afterHearing;
        }
    }
}

TEST(ChannelService, AServerThatNeverAnswersIsATimeout) {
    const Port silent(true);
    const auto before = std::clock();
    std::vector<std::unique_ptr<Member>> members;
    for (const char* scheme : {"mqtts", "mqtt"}) {
        ChannelConfig config = ConfigOf("ann");
        config.url = silent.At(scheme);
        members.push_back(std::make_unique<Member>(config));
    }
    for (const auto& member : members) {
        EXPECT_TRUE(member->Hears("entered 4"));
    }
    // Waiting costs nothing: far less than the eight seconds it takes.
    EXPECT_LT(std::clock() - before, 2 * CLOCKS_PER_SEC);
}

TEST(ChannelService, WithoutAUsableAddressItSaysSo) {
    for (const char* url :
         {"", "x", "http://127.0.0.1:1", "mqtts://", "mqtts://:1883", "mqtts://h:0",
          "mqtts://h:65536", "mqtts://h:x", "mqtts://h:", "mqtts://u@h:1", "mqtts://h:1/p",
          "mqtts://[::1", "mqtts://[::1]x", "mqtts://a b"}) {
        ChannelConfig config = ConfigOf("ann");
        config.url = url;
        Member ann(config);
        EXPECT_TRUE(ann.Hears("entered 5")) << url;
    }
}

TEST(ChannelService, AMemberThatIsDroppedTakesItsStreamAlong) {
    Member bob(ConfigOf("bob"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    ann.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    ASSERT_TRUE(ann.Hears("added s1"));
    const auto heard = ann.Words();
    ann.Drop();
    EXPECT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words(), heard);
}

TEST(ChannelService, AfterARestartOfTheServerEverythingIsThereAgain) {
    Member bob(ConfigOf("bob"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    ann.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    ASSERT_TRUE(ann.Hears("added s1"));
    LocalServers::Shared().KillChannel();
    ASSERT_TRUE(bob.Hears("lost"));
    ASSERT_TRUE(ann.Hears("lost"));
    EXPECT_FALSE(bob.Connected());
    EXPECT_EQ(bob.Streams().size(), 1U);
    ann.Publish(StreamNamed("s2"));
    LocalServers::Shared().StartChannel();
    ASSERT_TRUE(bob.Hears("back"));
    ASSERT_TRUE(ann.Hears("back"));
    ASSERT_TRUE(bob.Hears("added s2"));
    EXPECT_EQ(bob.Count("deleted s1"), 1U);
    Member late(ConfigOf("late"));
    ASSERT_TRUE(late.Hears("list s2"));
    ASSERT_TRUE(bob.Hears("counts 3/3"));
    EXPECT_EQ(bob.Count("added s1"), 1U);
}

TEST(ChannelService, AMemberThatDidNotReturnAfterARestartIsGoneInTheEnd) {
    Member bob(ConfigOf("bob"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    ann.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    LocalServers::Shared().KillChannel();
    ASSERT_TRUE(bob.Hears("lost"));
    ann.Drop();
    LocalServers::Shared().StartChannel();
    ASSERT_TRUE(bob.Hears("back"));
    EXPECT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(bob.Hears("counts 1/2"));
}

TEST(ChannelService, LeavingIsAnsweredWhetherConnectedOrNot) {
    Member idle(ConfigOf("idle"), false);
    EXPECT_TRUE(idle.Leave());
    EXPECT_TRUE(idle.Leave());
    Member entering(ConfigOf("entering"));
    EXPECT_TRUE(entering.Leave());
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("counts 1/1"));
    LocalServers::Shared().KillChannel();
    EXPECT_TRUE(ann.Leave());
    LocalServers::Shared().StartChannel();
}

TEST(ChannelService, TheObserverMayDestroyTheServiceInItsCall) {
    Member bob(ConfigOf("bob"), false);
    bob.Publish(StreamNamed("s1"));
    bob.Enter();
    ASSERT_TRUE(bob.Hears("list s1"));
    Member ann(ConfigOf("ann"), false);
    ann.onEntered = [&] { ann.Drop(); };
    ann.Enter();
    ASSERT_TRUE(ann.Hears("entered 0"));
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words().size(), 1U);
}

TEST(ChannelService, NothingIsHeardAfterLeave) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("counts 2/2"));
    ASSERT_TRUE(bob.Hears("counts 2/2"));
    const auto heard = ann.Words();
    EXPECT_TRUE(ann.Leave());
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words(), heard);
}

TEST(ChannelServiceDeathTest, AProcessMayEndInTheMiddleOfEverything) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            std::vector<std::unique_ptr<Member>> members;
            for (int i = 0; i < 4; ++i) {
                members.push_back(std::make_unique<Member>(ConfigOf("ann")));
            }
            if (members[0]->Hears("entered 0")) {
                std::exit(0);
            }
        },
        testing::ExitedWithCode(0), "");
}

std::size_t EntriesOf(const char* directory) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        count += entry.path().empty() ? 0U : 1U;
    }
    return count;
}

bool Reaches(const char* directory, std::size_t count) {
    const auto until = std::chrono::steady_clock::now() + kUpperBound;
    while (EntriesOf(directory) > count) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(10));
    }
    return true;
}

TEST(ChannelService, FiftyEntriesLeaveNoThreadAndNoHandleBehind) {
    {
        Member first(ConfigOf("first"));  // what stays for the life of the process
        ASSERT_TRUE(first.Hears("entered 0"));
        EXPECT_TRUE(first.Leave());
    }
    std::this_thread::sleep_for(milliseconds(100));
    const std::size_t threads = EntriesOf("/proc/self/task");
    const std::size_t handles = EntriesOf("/proc/self/fd");
    for (int i = 0; i < 50; ++i) {
        Member ann(ConfigOf("ann"));
        if (i % 3 != 0) {
            ASSERT_TRUE(ann.Hears("entered 0"));
        }
        if (i % 2 == 0) {
            EXPECT_TRUE(ann.Leave());
        }
    }
    EXPECT_TRUE(Reaches("/proc/self/task", threads));
    EXPECT_TRUE(Reaches("/proc/self/fd", handles));
}

}  // namespace
