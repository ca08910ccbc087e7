// The tone that the application mixes in: heard by who plays the stream, when it is on.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "ExampleRun.h"
#include "servers/LocalServers.h"
#include "servers/ServerTools.h"

namespace {

constexpr double kRate = 8000;
constexpr double kTone = 1000;    // of the example
constexpr double kNobody = 1370;  // nothing sounds there

// A second of what the stream sounds like, as ffmpeg plays it: samples of one channel.
std::vector<std::int16_t> Listen(const std::string& stream) {
    const livetest::LocalServers& servers = livetest::LocalServers::Shared();
    const std::string name = VaxoMediaName(servers.App().id, stream);
    const std::string query =
        VaxoSignQuery(livetest::SignerOf(servers.App()), "play", name, livetest::InSeconds(60));
    const std::string file = servers.Directory() + "/heard.raw";
    const livetest::Outcome outcome = livetest::RunProgram(
        {"ffmpeg", "-nostdin", "-y", "-v", "error", "-rw_timeout", "8000000", "-i",
         servers.MediaURL() + "/" + name + "?" + query, "-vn", "-t", "1", "-ac", "1", "-ar",
         std::to_string(static_cast<int>(kRate)), "-f", "s16le", file});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const std::string bytes = livetest::Slurp(file);
    std::vector<std::int16_t> samples(bytes.size() / sizeof(std::int16_t));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int16_t));
    return samples;
}

// How much of the sound has this frequency: the amplitude, of 32767.
double Amplitude(const std::vector<std::int16_t>& samples, double hertz) {
    const double turn = 2 * std::acos(-1.0) * hertz / kRate;
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        real += samples[i] * std::cos(turn * static_cast<double>(i));
        imaginary += samples[i] * std::sin(turn * static_cast<double>(i));
    }
    const auto count = static_cast<double>(samples.size());
    return samples.empty() ? 0 : 2 * std::hypot(real, imaginary) / count;
}

TEST(AuxiliaryAudio, TheToneSoundsWhileItIsOn) {
    const auto program = exampletest::Start("auxiliary_audio", {"tone", "ann", "tone"});
    ASSERT_TRUE(program->AwaitOutput("publish tone: BEGIN")) << program->Output();
    const std::vector<std::int16_t> without = Listen("tone");
    EXPECT_GT(without.size(), 4000U);
    EXPECT_LT(Amplitude(without, kTone), 300);

    program->Write("\n");
    ASSERT_TRUE(program->AwaitOutput("tone on"));
    std::vector<std::int16_t> with;
    EXPECT_TRUE(livetest::Eventually([&] {
        with = Listen("tone");
        return Amplitude(with, kTone) > 3000;
    })) << Amplitude(with, kTone);
    EXPECT_LT(Amplitude(with, kNobody), 300) << "noise, and no tone";

    program->Write("\n");
    ASSERT_TRUE(program->AwaitOutput("tone off"));
    EXPECT_TRUE(livetest::Eventually([&] { return Amplitude(Listen("tone"), kTone) < 300; }));

    program->CloseInput();
    EXPECT_EQ(program->End(), 0) << program->Output() << program->Error();
}

}  // namespace
