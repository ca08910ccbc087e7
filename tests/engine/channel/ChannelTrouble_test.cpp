// The channel service against a server that refuses, is not there, or goes away.
#include "engine/channel/ChannelService.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "engine/channel/ChannelMember.h"

namespace channeltest {
namespace {

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

// bob and ann in a channel where ann publishes "s1", as both know.
class ChannelWithAStream : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bob.Hears("entered 0"));
        ASSERT_TRUE(ann.Hears("entered 0"));
        ann.Publish(StreamNamed("s1"));
        ASSERT_TRUE(bob.Hears("added s1"));
        ASSERT_TRUE(ann.Hears("added s1"));
    }

    Member bob{ConfigOf("bob")};
    Member ann{ConfigOf("ann")};
};

TEST(ChannelTrouble, AWrongKeyOrIdentityIsRefused) {
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

TEST(ChannelTrouble, TheTopicsOfAnotherApplicationAreForbidden) {
    ChannelConfig config = ConfigOf("ann");
    config.topicIdentity = std::to_string(LocalServers::Shared().OtherApp().id);
    Member ann(config);
    EXPECT_TRUE(ann.Hears("entered 3"));
}

TEST(ChannelTrouble, AChannelWhoseNameIsTooLongIsForbidden) {
    Member ann(ConfigOf("ann", std::string(512, 'x')));
    EXPECT_TRUE(ann.Hears("entered 0"));
    Member bob(ConfigOf("bob", std::string(513, 'x')));
    EXPECT_TRUE(bob.Hears("entered 3"));
    Member eve(ConfigOf("eve", std::string(171, '/')));
    EXPECT_TRUE(eve.Hears("entered 3"));
}

TEST(ChannelTrouble, WithoutAServerItIsUnreachable) {
    const Port closed(false);
    for (const std::string& url :
         {closed.At("mqtts"), closed.At("mqtt"), std::string("mqtts://name.invalid:8883")}) {
        ChannelConfig config = ConfigOf("ann");
        config.url = url;
        Member ann(config);
        EXPECT_TRUE(ann.Hears("entered 1")) << url;
    }
}

TEST(ChannelTrouble, AServerThatClosesAtOnceIsUnreachable) {
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

TEST(ChannelTrouble, AServerThatNeverAnswersIsATimeout) {
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

TEST(ChannelTrouble, WithoutAUsableAddressItSaysSo) {
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

TEST_F(ChannelWithAStream, AMemberThatIsDroppedTakesItsStreamAlong) {
    const auto heard = ann.Words();
    ann.Drop();
    EXPECT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words(), heard);
}

TEST_F(ChannelWithAStream, AfterARestartOfTheServerEverythingIsThereAgain) {
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

TEST_F(ChannelWithAStream, AServerThatIsFrozenIsNoticedWithinSixSecondsAndComesBack) {
    const auto before = std::chrono::steady_clock::now();
    LocalServers::Shared().FreezeChannel();
    ASSERT_TRUE(bob.Hears("lost"));
    ASSERT_TRUE(ann.Hears("lost"));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(6));
    LocalServers::Shared().ThawChannel();
    ASSERT_TRUE(bob.Hears("back"));
    ASSERT_TRUE(ann.Hears("back"));
    Member late(ConfigOf("late"));
    EXPECT_TRUE(late.Hears("list s1"));
}

TEST_F(ChannelWithAStream, AMemberThatDidNotReturnAfterARestartIsGoneInTheEnd) {
    LocalServers::Shared().KillChannel();
    ASSERT_TRUE(bob.Hears("lost"));
    ann.Drop();
    LocalServers::Shared().StartChannel();
    ASSERT_TRUE(bob.Hears("back"));
    EXPECT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(bob.Hears("counts 1/2"));
}

}  // namespace
}  // namespace channeltest
