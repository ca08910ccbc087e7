#include "Relay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "RelayPeers.h"

namespace livetest {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

TEST_F(RelayTest, BytesPassUnchangedAndInOrderBothWays) {
    const Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    const std::string up = Noise(4 * kMegabyte, 1);
    const std::string down = Noise(5 * kMegabyte, 2);
    std::thread uploading([&] { EXPECT_TRUE(client.Send(up)); });
    std::thread downloading([&] { EXPECT_TRUE(server.Send(down)); });
    std::string downloaded;
    std::thread receiving([&] { downloaded = client.Receive(down.size()); });
    EXPECT_TRUE(server.Receive(up.size()) == up);
    uploading.join();
    downloading.join();
    receiving.join();
    EXPECT_TRUE(downloaded == down);
    EXPECT_EQ(relay.BytesUp(), up.size());
    EXPECT_EQ(relay.BytesDown(), down.size());
}

// Bytes that arrived against the time they had: never more than the rate and one burst.
void ExpectRate(Relay& relay, const RelayPeer& from, const RelayPeer& to, bool up) {
    constexpr int kRate = 8'000'000;
    constexpr std::size_t kSize = kMegabyte / 2;
    const auto begin = RelayClock::now();
    relay.SetRate(up ? kRate : 0, up ? 0 : kRate);
    std::thread sending([&] { EXPECT_TRUE(from.Send(Noise(kSize, 3))); });
    EXPECT_TRUE(to.Receive(kSize) == Noise(kSize, 3));
    const Seconds elapsed = RelayClock::now() - begin;
    sending.join();
    const double bytesASecond = kRate / 8.0;
    EXPECT_LE(kSize, bytesASecond * (elapsed + Seconds(Relay::kBurst)).count());
    EXPECT_EQ(up ? relay.BytesUp() : relay.BytesDown(), kSize);
}

TEST_F(RelayTest, NoMorePassesUpThanTheRateAllows) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    ExpectRate(relay, client, server, true);
}

TEST_F(RelayTest, NoMorePassesDownThanTheRateAllows) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    ExpectRate(relay, server, client, false);
}

TEST_F(RelayTest, ConnectionsShareARateAndTakeTurns) {
    Relay relay(m_port);
    const auto begin = RelayClock::now();
    relay.SetRate(4'000'000, 0);
    std::vector<RelayPeer> clients;
    std::vector<RelayPeer> servers;
    std::vector<std::thread> sending;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(Dial(relay));
        servers.push_back(Accept());
    }
    sending.reserve(clients.size());
    for (const RelayPeer& client : clients) {
        sending.emplace_back([&client] { EXPECT_TRUE(client.Send(Noise(kMegabyte / 10, 4))); });
    }
    for (const RelayPeer& server : servers) {
        EXPECT_TRUE(server.Receive(kMegabyte / 10) == Noise(kMegabyte / 10, 4));
    }
    const Seconds elapsed = RelayClock::now() - begin;
    std::for_each(sending.begin(), sending.end(), [](std::thread& each) { each.join(); });
    EXPECT_LE(kMegabyte * 3 / 10, 500'000 * (elapsed + Seconds(Relay::kBurst)).count());
}

TEST_F(RelayTest, ALiftedLimitLetsEverythingPassAtOnce) {
    Relay relay(m_port);
    relay.SetRate(8, 8);  // a byte a second: the test would never end
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    std::thread sending([&] { EXPECT_TRUE(client.Send(Noise(kMegabyte, 5))); });
    LetItWork(relay);
    EXPECT_EQ(relay.BytesUp(), 0U);
    relay.SetRate(0, 8);
    EXPECT_TRUE(server.Receive(kMegabyte) == Noise(kMegabyte, 5));
    sending.join();
}

TEST_F(RelayTest, ASenderFeelsSoonThatNobodyReads) {
    const Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    EXPECT_LT(client.Stuff(relay), 4 * kMegabyte);  // less than the relay could hold
    EXPECT_LT(server.Stuff(relay), 4 * kMegabyte);
}

TEST_F(RelayTest, ASenderFeelsSoonThatTheRelayStandsStill) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.Freeze(true);
    EXPECT_LT(client.Stuff(relay), kMegabyte);
    EXPECT_LT(server.Stuff(relay), kMegabyte);
}

TEST_F(RelayTest, ADelayHoldsForBothDirectionsAndForTheEnd) {
    Relay relay(m_port);
    const auto begin = RelayClock::now();
    relay.SetDelay(100ms);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    EXPECT_TRUE(client.Send("there"));
    EXPECT_EQ(server.Receive(5), "there");
    EXPECT_GE(RelayClock::now() - begin, 100ms);
    EXPECT_TRUE(server.Send("back"));
    EXPECT_EQ(client.Receive(4), "back");
    EXPECT_GE(RelayClock::now() - begin, 200ms);
    client.Finish();
    EXPECT_EQ(server.Next(), "fin");
    EXPECT_GE(RelayClock::now() - begin, 300ms);
}

TEST_F(RelayTest, AShorterDelayDoesNotOvertakeWhatIsUnderWay) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    const auto begin = RelayClock::now();
    relay.SetDelay(200ms);
    EXPECT_TRUE(client.Send("first"));
    LetItWork(relay);
    relay.SetDelay(0ms);
    EXPECT_TRUE(client.Send("second"));
    client.Finish();
    EXPECT_EQ(server.Receive(100), "firstsecond");
    EXPECT_GE(RelayClock::now() - begin, 200ms);
}

}  // namespace
}  // namespace livetest
