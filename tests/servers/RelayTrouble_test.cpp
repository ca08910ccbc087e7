#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RelayPeers.h"

namespace livetest {
namespace {

using namespace std::chrono_literals;

void Echo(const RelayPeer& peer) {
    std::string bytes;
    while (!(bytes = peer.Receive(1)).empty() && peer.Send(bytes)) {
    }
    peer.Finish();
}

TEST_F(RelayTest, AFreezeHoldsEverythingBackAndLosesNothing) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.Freeze(true);
    std::thread sending([&] {
        EXPECT_TRUE(client.Send(Noise(kMegabyte, 6)));
        client.Finish();
    });
    EXPECT_TRUE(server.Send("down"));
    LetItWork(relay);
    EXPECT_EQ(relay.BytesUp() + relay.BytesDown(), 0U);
    EXPECT_FALSE(server.HasNews() || client.HasNews());
    relay.Freeze(false);
    EXPECT_TRUE(server.Receive(kMegabyte) == Noise(kMegabyte, 6));
    EXPECT_EQ(server.Next(), "fin");
    EXPECT_EQ(client.Receive(4), "down");
    sending.join();
}

TEST_F(RelayTest, WhoComesDuringAFreezeIsServedAfterIt) {
    Relay relay(m_port);
    relay.Freeze(true);
    const RelayPeer client = Dial(relay);
    EXPECT_TRUE(client.Send("hello"));
    LetItWork(relay);
    EXPECT_EQ(relay.Connections(), 0U);
    EXPECT_FALSE(IsCalled() || client.HasNews());
    relay.Freeze(false);
    EXPECT_EQ(Accept().Receive(5), "hello");
}

TEST_F(RelayTest, AHangSwallowsBytesAndTheResetComesWithTheCut) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.Hang(true);
    EXPECT_TRUE(client.Send(Noise(4 * kMegabyte, 7)));  // more than buffers hold
    EXPECT_TRUE(server.Send(Noise(4 * kMegabyte, 8)));
    LetItWork(relay);
    EXPECT_FALSE(server.HasNews() || client.HasNews());
    EXPECT_EQ(relay.BytesUp() + relay.BytesDown(), 0U);
    EXPECT_EQ(relay.Connections(), 1U);
    relay.CutAll();
    EXPECT_EQ(client.Next(), "reset");
    EXPECT_EQ(server.Next(), "reset");
    EXPECT_EQ(relay.Connections(), 0U);
}

TEST_F(RelayTest, WhatIsUnderWayWhenTheCableIsCutIsLost) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.SetDelay(kLong);
    EXPECT_TRUE(client.Send("lost"));
    LetItWork(relay);
    relay.Hang(true);
    relay.SetDelay(0ms);
    relay.Hang(false);
    EXPECT_TRUE(client.Send("kept"));
    EXPECT_EQ(server.Receive(4), "kept");
}

TEST_F(RelayTest, AnEndDuringAHangIsPassedOnAfterIt) {
    Relay relay(m_port);
    RelayPeer finishing = Dial(relay);
    const RelayPeer finished = Accept();
    RelayPeer resetting = Dial(relay);
    const RelayPeer wasReset = Accept();
    relay.Hang(true);
    finishing.Finish();
    std::move(resetting).Reset();
    const RelayPeer late = Dial(relay);
    LetItWork(relay);
    EXPECT_FALSE(finished.HasNews() || wasReset.HasNews() || IsCalled());
    EXPECT_EQ(relay.Connections(), 2U);
    relay.Hang(false);
    EXPECT_EQ(finished.Next(), "fin");
    EXPECT_EQ(wasReset.Next(), "reset");
    EXPECT_TRUE(late.Send("late"));
    EXPECT_EQ(Accept().Receive(4), "late");
}

TEST_F(RelayTest, RefusalResetsNewOnesAndLeavesOpenOnes) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.Refuse(true);
    EXPECT_EQ(Dial(relay).Next(), "reset");
    EXPECT_EQ(relay.Connections(), 1U);
    EXPECT_TRUE(client.Send("still"));
    EXPECT_EQ(server.Receive(5), "still");
    relay.Refuse(false);
    const RelayPeer welcome = Dial(relay);
    EXPECT_TRUE(welcome.Send("again"));
    EXPECT_EQ(Accept().Receive(5), "again");
}

TEST_F(RelayTest, ACutResetsAllBothWaysAndThoseWhoWait) {
    Relay relay(m_port);
    const RelayPeer first = Dial(relay);
    const RelayPeer firstServer = Accept();
    const RelayPeer second = Dial(relay);
    const RelayPeer secondServer = Accept();
    relay.Freeze(true);
    const RelayPeer waiting = Dial(relay);
    relay.CutAll();
    for (const RelayPeer* peer : {&first, &firstServer, &second, &secondServer, &waiting}) {
        EXPECT_EQ(peer->Next(), "reset");
    }
    EXPECT_EQ(relay.Connections(), 0U);
}

TEST_F(RelayTest, AnOrderlyEndIsNoResetEvenWithBytesUnread) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    relay.Freeze(true);
    EXPECT_TRUE(client.Send("unread"));
    EXPECT_TRUE(server.Send("unread"));
    const RelayPeer waiting = Dial(relay);
    relay.EndAll();
    EXPECT_EQ(client.Next(), "fin");
    EXPECT_EQ(server.Next(), "fin");
    EXPECT_EQ(waiting.Next(), "fin");
    EXPECT_EQ(relay.Connections(), 0U);
    LetItWork(relay);
    EXPECT_FALSE(client.WasReset() || server.WasReset());
}

TEST_F(RelayTest, OneSideMayEndWhileTheOtherStillSends) {
    const Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    EXPECT_TRUE(client.Send("request"));
    client.Finish();
    EXPECT_EQ(server.Receive(100), "request");
    EXPECT_EQ(server.Next(), "fin");
    EXPECT_EQ(relay.Connections(), 1U);
    std::thread answering([&] {
        EXPECT_TRUE(server.Send(Noise(kMegabyte, 9)));
        server.Finish();
    });
    EXPECT_TRUE(client.Receive(kMegabyte) == Noise(kMegabyte, 9));
    EXPECT_EQ(client.Next(), "fin");
    answering.join();
    EXPECT_TRUE(relay.AwaitConnections(0, kLong));
}

TEST_F(RelayTest, AResetOfOneSideResetsTheOther) {
    const Relay relay(m_port);
    RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    std::move(client).Reset();
    EXPECT_EQ(server.Next(), "reset");
    EXPECT_TRUE(relay.AwaitConnections(0, kLong));
}

TEST_F(RelayTest, AResetIsNoticedWhereTheRelayDoesNotRead) {
    Relay relay(m_port);
    relay.SetRate(8, 0);
    RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    LetItWork(relay);
    std::move(client).Reset();
    EXPECT_EQ(server.Next(), "reset");
}

TEST_F(RelayTest, WithoutAServerAClientIsReset) {
    unsigned short nobody = 0;
    {
        const Relay gone(m_port);
        nobody = gone.Port();
    }
    const Relay relay(nobody);
    EXPECT_EQ(Dial(relay).Next(), "reset");
    EXPECT_TRUE(relay.AwaitConnections(0, kLong));
}

TEST_F(RelayTest, ManyConnectionsAreKeptApart) {
    constexpr unsigned kMany = 40;
    const Relay relay(m_port);
    std::vector<RelayPeer> clients;
    std::vector<std::thread> echoes;
    for (unsigned i = 0; i < kMany; ++i) {
        clients.push_back(Dial(relay));
        echoes.emplace_back([server = Accept()] { Echo(server); });
    }
    EXPECT_TRUE(relay.AwaitConnections(kMany, kLong));
    for (unsigned i = 0; i < kMany; ++i) {
        EXPECT_TRUE(clients[i].Send(Noise(1000, i)));
        clients[i].Finish();
    }
    for (unsigned i = 0; i < kMany; ++i) {
        EXPECT_TRUE(clients[i].Receive(2000) == Noise(1000, i));
    }
    std::for_each(echoes.begin(), echoes.end(), [](std::thread& each) { each.join(); });
    EXPECT_TRUE(relay.AwaitConnections(0, kLong));
    EXPECT_EQ(relay.BytesUp(), kMany * 1000U);
    EXPECT_EQ(relay.BytesDown(), kMany * 1000U);
}

TEST_F(RelayTest, WaitingForConnectionsEndsWithTheTime) {
    const Relay relay(m_port);
    EXPECT_TRUE(relay.AwaitConnections(0, 0ms));
    EXPECT_FALSE(relay.AwaitConnections(1, 1ms));
    const RelayPeer client = Dial(relay);
    EXPECT_TRUE(relay.AwaitConnections(1, kLong));
    EXPECT_FALSE(relay.AwaitConnections(0, 1ms));
}

TEST_F(RelayTest, ItCanGoWhileBytesFlow) {
    auto relay = std::make_unique<Relay>(m_port);
    const RelayPeer client = Dial(*relay);
    const RelayPeer server = Accept();
    const auto send = [](const RelayPeer& peer) {
        while (peer.Send(std::string(10'000, 'x'))) {
        }
    };
    const auto receive = [](const RelayPeer& peer) {
        while (!peer.Receive(10'000).empty()) {
        }
    };
    std::vector<std::thread> flows;
    for (const RelayPeer* peer : {&client, &server}) {
        flows.emplace_back(send, std::cref(*peer));
        flows.emplace_back(receive, std::cref(*peer));
    }
    while (relay->BytesUp() < kMegabyte || relay->BytesDown() < kMegabyte) {
        LetItWork(*relay);
    }
    relay.reset();
    std::for_each(flows.begin(), flows.end(), [](std::thread& each) { each.join(); });
}

TEST_F(RelayTest, CallsOfManyThreadsDoNotDisturbTheBytes) {
    Relay relay(m_port);
    const RelayPeer client = Dial(relay);
    const RelayPeer server = Accept();
    std::thread sending([&] { EXPECT_TRUE(client.Send(Noise(2 * kMegabyte, 10))); });
    std::vector<std::thread> callers;
    callers.reserve(3);
    for (int i = 0; i < 3; ++i) {
        callers.emplace_back([&relay, i] {
            for (int round = 0; round < 50; ++round) {
                relay.Freeze(round % 2 == i % 2);
                relay.SetRate(80'000'000 * (round % 3), 0);
                relay.SetDelay(std::chrono::milliseconds(round % 4));
                relay.Refuse(round % 2 == 0);
                EXPECT_LE(relay.BytesUp(), 2 * kMegabyte);
                EXPECT_TRUE(relay.AwaitConnections(1, kLong));
            }
        });
    }
    std::for_each(callers.begin(), callers.end(), [](std::thread& each) { each.join(); });
    relay.Freeze(false);
    EXPECT_TRUE(server.Receive(2 * kMegabyte) == Noise(2 * kMegabyte, 10));
    sending.join();
}

}  // namespace
}  // namespace livetest
