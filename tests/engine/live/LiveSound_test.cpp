// The sound that arrives: microphone, mute, auxiliary audio. Heard by ffmpeg.
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VaxoLiveStats.h"
#include "engine/live/Member.h"
#include "servers/ServerTools.h"

namespace {

using livetest::LocalServers;
using livetest::Member;

// A tone of 1000 Hz at a quarter of the full scale, as long as it is asked for.
class Tone final : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* pData, int* pDataLen, int* pSampleRate,
                       int* pNumChannels) override {
        const int room = *pDataLen / 2;
        const int samples = room < 441 ? room : 441;  // 10 ms of 44100, one channel
        std::vector<std::int16_t> sound(static_cast<std::size_t>(samples));
        for (std::int16_t& sample : sound) {
            sample = static_cast<std::int16_t>(8192 * std::sin(m_phase));
            m_phase += 2 * 3.14159265358979 * 1000 / 44100;
        }
        std::memcpy(pData, sound.data(), sound.size() * 2);
        *pDataLen = samples * 2;
        *pSampleRate = 44100;
        *pNumChannels = 1;
        ++calls;
    }

    std::atomic<int> calls{0};

private:
    double m_phase = 0;
};

double MeanVolume(const std::string& address, const std::string& filter) {
    const livetest::Outcome outcome = livetest::RunProgram(
        {"ffmpeg", "-v", "info", "-nostats", "-rw_timeout", "8000000", "-i", address, "-vn", "-t",
         "1", "-af", filter + "volumedetect", "-f", "null", "-"});
    const std::size_t at = outcome.output.rfind("mean_volume: ");
    return at == std::string::npos ? 1 : std::atof(outcome.output.c_str() + at + 13);
}

class LiveSound : public ::testing::Test {
protected:
    void Begin(const std::string& channel) {
        ASSERT_EQ(member.Enter(channel, "bob"), "OnGetStreamList(0)");
        member.Engine().SetVideoResolution(160, 90);
        ASSERT_EQ(member.Publish(channel), "OnPublishStateUpdate(0, " + channel + ")");
    }

    // Decibels; silence is about -91.
    double Heard() { return MeanVolume(Address(), ""); }
    double HeardHigh() { return MeanVolume(Address(), "highpass=f=800,highpass=f=800,"); }

    Member member{LocalServers::Shared()};

private:
    std::string Address() { return member.Engine().GetCurrentPublishStreamURL().c_str(); }
};

TEST_F(LiveSound, AMicrophoneThatIsOffIsSilentAndComesBack) {
    Begin("mute");
    EXPECT_TRUE(livetest::Eventually([this] { return Heard() > -30 && Heard() < 0; }));
    EXPECT_EQ(member.Engine().EnableMic(false), 0);
    EXPECT_TRUE(livetest::Eventually([this] { return Heard() < -70; }));
    EXPECT_EQ(member.Engine().EnableMic(true), 0);
    EXPECT_TRUE(livetest::Eventually([this] { return Heard() > -30; }));
    EXPECT_EQ(member.Count("OnPublishStateUpdate("), 0U) << "the connection was lost";
}

TEST_F(LiveSound, AuxiliaryAudioIsMixedIn) {
    Begin("aux");
    Tone tone;
    const double without = HeardHigh();  // the microphone's tone has 440 Hz
    EXPECT_EQ(member.Engine().SetAuxCallback(&tone), 0);
    EXPECT_EQ(member.Engine().EnableAux(true), 0);
    EXPECT_TRUE(livetest::Eventually([&] { return HeardHigh() > without + 10; }));
    EXPECT_EQ(member.Engine().EnableAux(false), 0);
    EXPECT_TRUE(livetest::Eventually([&] { return HeardHigh() < without + 5; }));
    EXPECT_EQ(member.Engine().SetAuxCallback(nullptr), 0);
    const int calls = tone.calls;
    EXPECT_EQ(member.Engine().EnableAux(true), 0);
    EXPECT_EQ(member.Leave(), "OnLogout(0)");
    EXPECT_EQ(tone.calls, calls);
}

TEST_F(LiveSound, ALowerBitrateIsSentWithoutALoss) {
    Begin("bits");
    member.Engine().SetVideoResolution(640, 360);
    const auto sent = [] { return Strova::VaxoLiveGetStats().bitrate; };
    EXPECT_TRUE(livetest::Eventually([&] { return sent() > 600000; })) << sent();
    EXPECT_EQ(member.Engine().SetVideoBitrate(200000), 0);
    EXPECT_TRUE(livetest::Eventually([&] { return sent() > 0 && sent() < 420000; })) << sent();
    EXPECT_EQ(member.Engine().SetVideoBitrate(800000), 0);
    EXPECT_TRUE(livetest::Eventually([&] { return sent() > 600000; })) << sent();
    EXPECT_EQ(member.Count("OnPublishStateUpdate("), 0U) << "the connection was lost";
}

}  // namespace
