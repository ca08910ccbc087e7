// The pulse of the real server, through a relay that misbehaves.
#include "engine/output/ServerPulse.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "Within.h"
#include "engine/OnLoop.h"
#include "servers/LocalServers.h"
#include "servers/Relay.h"

namespace {

using livetest::LocalServers;
using livetest::Relay;
using vaxoengine::ServerPulse;

constexpr std::chrono::seconds kLimit(20);
constexpr unsigned long long kGreeting = 1 + 2 * 1536;  // what a server says first

unsigned short MediaPort() {
    const std::string url = LocalServers::Shared().MediaURL();
    return static_cast<unsigned short>(std::stoi(url.substr(url.rfind(':') + 1)));
}

class Pulse : public testing::Test {
protected:
    void Start() {
        OnLoop([&] {
            m_pulse = std::make_unique<ServerPulse>(
                "rtmp://127.0.0.1:" + std::to_string(relay.Port()) + "/live/s?sig=x",
                [this] { ++told; });
        });
    }
    ~Pulse() override {
        OnLoop([&] { m_pulse.reset(); });
    }
    int Told() {
        int count = 0;
        OnLoop([&] { count = told; });
        return count;
    }
    bool Beats() {  // answers that came after this call
        const unsigned long long before = relay.BytesDown();
        return Within(kLimit,
                      [&] { return before >= kGreeting && relay.BytesDown() >= before + 2 * 18; });
    }
    bool IsGreeted() {
        return Within(kLimit, [&] { return relay.BytesDown() >= kGreeting; });
    }

    Relay relay{MediaPort()};

private:
    int told = 0;
    std::unique_ptr<ServerPulse> m_pulse;
};

TEST_F(Pulse, OfALiveServerIsAnsweredAndNothingIsTold) {
    Start();
    ASSERT_TRUE(IsGreeted());
    EXPECT_TRUE(Beats());
    EXPECT_EQ(Told(), 0);
    EXPECT_EQ(relay.Connections(), 1U);
}

TEST_F(Pulse, OfAServerThatFreezesIsMissedOnceWithinSixSeconds) {
    Start();
    ASSERT_TRUE(IsGreeted());
    const auto before = std::chrono::steady_clock::now();
    relay.Freeze(true);
    EXPECT_TRUE(Within(kLimit, [&] { return Told() == 1; }));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(6));
    relay.Freeze(false);
    EXPECT_TRUE(relay.AwaitConnections(0, kLimit)) << "it goes on when nobody wants to know";
    EXPECT_EQ(Told(), 1);
}

TEST_F(Pulse, OfAServerThatAcceptsAndNeverSpeaksIsMissed) {
    relay.Freeze(true);
    Start();
    EXPECT_TRUE(Within(kLimit, [&] { return Told() == 1; }));
}

TEST_F(Pulse, ThatIsTurnedAwayIsTakenAgainWithAnotherConnection) {
    Start();
    ASSERT_TRUE(IsGreeted());
    relay.CutAll();
    EXPECT_TRUE(relay.AwaitConnections(0, kLimit));
    EXPECT_TRUE(relay.AwaitConnections(1, kLimit));
    EXPECT_TRUE(Beats());
    EXPECT_EQ(Told(), 0);
}

}  // namespace
