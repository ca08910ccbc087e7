#include "engine/source/MediaSource.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SourceRun.h"
#include "TempFolder.h"
#include "engine/source/ClockStamp.h"
#include "engine/source/PictureRate.h"

namespace {

using namespace vaxoengine;

constexpr const char* kPictures = "-f lavfi -i testsrc=size=320x240:rate=25 ";
constexpr const char* kSound = "-f lavfi -i sine=frequency=440 ";

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

void ExpectGrowing(const std::vector<Taken>& samples) {
    for (std::size_t i = 1; i < samples.size(); i++) {
        ASSERT_GT(samples[i].stamp, samples[i - 1].stamp) << i;
    }
}

std::size_t PictureBytes(const SourceFormat& format) {
    return static_cast<std::size_t>(format.width * format.height * 3 / 2);
}

// The left channel from the samples' bytes.
std::vector<double> Left(const std::vector<Taken>& sound) {
    std::vector<double> left;
    for (const Taken& taken : sound) {
        for (std::size_t i = 0; i + 4 <= taken.bytes.size(); i += 4) {
            std::int16_t value = 0;
            std::memcpy(&value, taken.bytes.data() + i, sizeof value);
            left.push_back(value);
        }
    }
    return left;
}

// How much of the sound's power lies at that frequency: 1 for a pure tone.
double ShareAt(double hertz, const std::vector<double>& sound) {
    double real = 0;
    double imaginary = 0;
    double power = 0;
    for (std::size_t i = 0; i < sound.size(); i++) {
        const double angle = 2 * 3.14159265358979 * hertz * static_cast<double>(i) / 48000;
        real += sound[i] * std::cos(angle);
        imaginary += sound[i] * std::sin(angle);
        power += sound[i] * sound[i];
    }
    const auto count = static_cast<double>(sound.size());
    return power > 0 ? 2 * (real * real + imaginary * imaginary) / (count * power) : 0;
}

bool IsBlack(const Taken& picture, const SourceFormat& format) {
    const auto luma = static_cast<std::size_t>(format.width * format.height);
    const auto middle = picture.bytes.begin() + static_cast<std::ptrdiff_t>(luma);
    return picture.bytes.size() == PictureBytes(format) &&
           std::all_of(picture.bytes.begin(), middle, [](unsigned char y) { return y <= 16; }) &&
           std::all_of(middle, picture.bytes.end(), [](unsigned char c) { return c == 128; });
}

bool IsSilent(const std::vector<Taken>& sound) {
    const auto left = Left(sound);
    return !left.empty() && std::all_of(left.begin(), left.end(), [](double v) { return v == 0; });
}

TEST(MediaSource, TestPictureHasTheWishedShapeAndRate) {
    const SourceFormat format{320, 180, 20};
    SourceRun run(kTestPicture, "", format);
    ASSERT_TRUE(run.Started());
    const auto pictures = run.Video(21);
    ASSERT_GE(pictures.size(), 21U);
    EXPECT_TRUE(Has(pictures[0].caps, "format=(string)I420"));
    EXPECT_TRUE(Has(pictures[0].caps, "width=(int)320, height=(int)180"));
    EXPECT_TRUE(Has(pictures[0].caps, "framerate=(fraction)20/1"));
    EXPECT_TRUE(Has(pictures[0].caps, "pixel-aspect-ratio=(fraction)1/1"));
    EXPECT_EQ(pictures[0].bytes.size(), PictureBytes(format));
    for (std::size_t i = 1; i < 21; i++) {
        const auto step = static_cast<double>(pictures[i].stamp - pictures[i - 1].stamp);
        EXPECT_NEAR(step / 1e6, 50, 2);
    }
    // Between the owner's base and now, near now even though the base is long ago.
    EXPECT_GE(pictures[0].stamp, 50 * GST_SECOND);
    EXPECT_LE(pictures[20].stamp, run.Now() + GST_SECOND / 20);
}

TEST(MediaSource, TestPictureMovesAndShowsAReadableClock) {
    const auto wallClock = [] {
        return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                              std::chrono::system_clock::now().time_since_epoch())
                                              .count());
    };
    const std::uint32_t before = wallClock();
    SourceRun run(kTestPicture, "");
    const auto pictures = run.Video(10);
    const std::uint32_t after = wallClock();
    ASSERT_GE(pictures.size(), 10U);
    std::uint32_t last = before;
    for (const Taken& picture : pictures) {
        std::uint32_t shown = 0;
        ASSERT_TRUE(ReadClockStamp(picture.bytes.data(), 640, 360, 640, 1, shown));
        EXPECT_LE(shown - last, after - before);  // modulo 2^32, as the stamps are
        EXPECT_LE(after - shown, after - before);
        last = shown;
    }
    const auto below = [](const Taken& picture) {
        return std::vector<unsigned char>(picture.bytes.begin() + 640 * 20,
                                          picture.bytes.begin() + 640 * 100);
    };
    EXPECT_NE(below(pictures[0]), below(pictures[9]));
}

TEST(MediaSource, TestToneIsStereoAndA440) {
    SourceRun run("", kTestTone);
    ASSERT_TRUE(run.Started());
    const auto sound = run.Audio(50);
    ASSERT_GE(sound.size(), 50U);
    ExpectGrowing(sound);
    EXPECT_TRUE(Has(sound[0].caps, "format=(string)S16LE"));
    EXPECT_TRUE(Has(sound[0].caps, "rate=(int)48000"));
    EXPECT_TRUE(Has(sound[0].caps, "channels=(int)2"));
    EXPECT_TRUE(Has(sound[0].caps, "layout=(string)interleaved"));
    const auto left = Left(sound);
    EXPECT_GT(ShareAt(440, left), 0.95);
    EXPECT_LT(ShareAt(880, left), 0.05);
    EXPECT_NEAR(*std::max_element(left.begin(), left.end()), 0.2 * 32767, 100);
    const double seconds = static_cast<double>(sound[49].stamp - sound[0].stamp) / 1e9;
    EXPECT_NEAR(seconds, 0.49, 0.02);
    EXPECT_TRUE(run.Video(0).empty());
}

TEST(MediaSource, BlackIsBlackAndSilenceIsSilent) {
    const SourceFormat format{160, 120, 10};
    SourceRun run(kBlack, kSilence, format);
    const auto pictures = run.Video(3);
    const auto sound = run.Audio(10);
    ASSERT_GE(pictures.size(), 3U);
    ASSERT_GE(sound.size(), 10U);
    EXPECT_TRUE(IsBlack(pictures[2], format));
    EXPECT_TRUE(IsSilent(sound));
    ExpectGrowing(pictures);
    ExpectGrowing(sound);
}

TEST(MediaSource, ShapesAndRatesOutOfBoundsAreRefused) {
    for (const SourceFormat format :
         {SourceFormat{0, 360, 15}, SourceFormat{640, -2, 15}, SourceFormat{640, 360, 0},
          SourceFormat{100000, 360, 15}, SourceFormat{640, 360, 1000}}) {
        SourceRun run(kBlack, "", format);
        EXPECT_FALSE(run.Started());
    }
}

TEST(MediaSource, UnknownDevicesAreRefusedWithoutTrouble) {
    for (const std::string id :
         {"v4l2:/dev/video99", "nonsense", "none:sink", "fakesrc", "v4l2:\" ! fakesink"}) {
        SourceRun video(id, "");
        EXPECT_FALSE(video.Started()) << id;
        SourceRun audio(kBlack, id);
        EXPECT_FALSE(audio.Started()) << id;
        OnLoop([] {});
        EXPECT_TRUE(audio.Troubles(0).empty());
    }
}

class FileSource : public testing::Test {
protected:
    // One second of pictures and sound, 320x240 at 25.
    std::string Both(const std::string& name) const {
        const std::string path = folder.Encode(
            name, std::string(kPictures) + kSound + "-t 1 -pix_fmt yuv420p -c:v libx264 -c:a aac");
        EXPECT_NE(path, "");
        return "file://" + path;
    }
    void ExpectTrouble(const std::string& path) const {
        SourceRun run("file://" + path, "file://" + path);
        if (run.Started()) {
            EXPECT_EQ(run.Troubles(1).size(), 1U) << path;
            EXPECT_TRUE(run.TroubleCameOnTheLoop());
        }
        EXPECT_TRUE(run.Video(0).empty());
    }

    const TempFolder folder;
};

TEST_F(FileSource, PlaysPictureAndSoundInALoop) {
    const std::string address = Both("both.mp4");
    const SourceFormat format{640, 360, 15};
    SourceRun run(address, address, format);
    ASSERT_TRUE(run.Started());
    const auto pictures = run.Video(40);  // more than two and a half rounds
    ASSERT_GE(pictures.size(), 40U);
    const auto sound = run.Audio(80);
    ExpectGrowing(pictures);
    ExpectGrowing(sound);
    EXPECT_TRUE(run.Troubles(0).empty());
    // Its own pace: time passes as in the file, and the pause between rounds is short.
    const auto took = static_cast<double>(pictures[39].stamp - pictures[0].stamp) / 1e9;
    EXPECT_GE(took, 39 / 15.0 - 0.3);
    EXPECT_TRUE(Has(pictures[0].caps, "width=(int)640, height=(int)360"));
    EXPECT_TRUE(Has(pictures[0].caps, "framerate=(fraction)15/1"));
    EXPECT_EQ(pictures[0].bytes.size(), PictureBytes(format));
    // 4:3 in 16:9 leaves bars at the sides and a picture between them.
    EXPECT_LE(pictures[0].bytes[640 * 180 + 10], 16);
    EXPECT_LE(pictures[0].bytes[640 * 180 + 630], 16);
    EXPECT_NE(std::count_if(pictures[0].bytes.begin() + 640 * 180 + 100,
                            pictures[0].bytes.begin() + 640 * 180 + 540,
                            [](unsigned char y) { return y > 60; }),
              0);
    // The first round only: a pause would shift the phase.
    EXPECT_GT(ShareAt(440, Left({sound.begin() + 5, sound.begin() + 35})), 0.9);
    // Both from one source: they begin together.
    const auto apart = static_cast<double>(pictures[0].stamp) - static_cast<double>(sound[0].stamp);
    EXPECT_LT(std::abs(apart) / 1e9, 0.15);
}

TEST_F(FileSource, SlowFileKeepsItsRate) {
    const std::string path =
        folder.Encode("slow.mkv", "-f lavfi -i testsrc=size=320x240:rate=8 -t 2 -c:v mpeg4");
    SourceRun run("file://" + path, "", {320, 240, 30});
    const auto pictures = run.Video(10);
    ASSERT_GE(pictures.size(), 10U);
    EXPECT_NEAR(static_cast<double>(pictures[9].stamp - pictures[0].stamp) / 1e9, 9 / 8.0, 0.1);
    EXPECT_TRUE(Has(pictures[0].caps, "framerate=(fraction)8/1"));
}

TEST_F(FileSource, WithoutSoundGivesSilence) {
    const std::string path =
        folder.Encode("mute.mp4", std::string(kPictures) + "-t 1 -pix_fmt yuv420p -c:v libx264");
    SourceRun run("file://" + path, "file://" + path);
    ASSERT_TRUE(run.Started());
    const auto pictures = run.Video(20);
    EXPECT_GE(pictures.size(), 20U);
    ExpectGrowing(pictures);
    const auto sound = run.Audio(20);
    EXPECT_GE(sound.size(), 20U);
    EXPECT_TRUE(IsSilent(sound));
    EXPECT_TRUE(run.Troubles(0).empty());
}

TEST_F(FileSource, WithoutPicturesGivesBlack) {
    const std::string path = folder.Encode("tone.ogg", std::string(kSound) + "-t 1");
    const SourceFormat format{160, 120, 15};
    {
        SourceRun run("file://" + path, "file://" + path, format);
        const auto sound = run.Audio(30);
        const auto pictures = run.Video(20);
        ASSERT_GE(pictures.size(), 20U);
        EXPECT_TRUE(IsBlack(pictures[19], format));
        EXPECT_GT(ShareAt(440, Left({sound.begin() + 5, sound.begin() + 25})), 0.9);
    }
    SourceRun picturesOnly("file://" + path, "", format);
    const auto pictures = picturesOnly.Video(5);
    ASSERT_GE(pictures.size(), 5U);
    EXPECT_TRUE(IsBlack(pictures[4], format));
}

TEST_F(FileSource, MayBeJoinedWithAnotherSource) {
    const std::string address = Both("both.mp4");
    SourceRun run(address, kTestTone);
    const auto pictures = run.Video(25);
    const auto sound = run.Audio(100);
    EXPECT_GE(pictures.size(), 25U);
    EXPECT_GE(sound.size(), 100U);
    ExpectGrowing(pictures);
    ExpectGrowing(sound);
}

TEST_F(FileSource, StillPictureIsRepeated) {
    const std::string path = folder.Encode("still.png", std::string(kPictures) + "-frames:v 1");
    SourceRun run("file://" + path, "", {320, 240, 15});
    const auto pictures = run.Video(4);
    ASSERT_GE(pictures.size(), 4U);
    ExpectGrowing(pictures);
    EXPECT_EQ(pictures[0].bytes, pictures[3].bytes);
    EXPECT_TRUE(Has(pictures[0].caps, "framerate=(fraction)15/1"));
}

TEST_F(FileSource, NamesWithSpacesAndPercentSignsWork) {
    const std::string address = Both("a b %20 100% ! fakesink.mp4");
    SourceRun run(address, address);
    EXPECT_TRUE(run.Started());
    EXPECT_GE(run.Video(3).size(), 3U);
}

TEST_F(FileSource, WhatIsNoFileIsRefused) {
    for (const std::string& address :
         {"file://" + folder.Path("missing.mp4"), "file://" + folder.Path(""),
          std::string("file:relative.mp4"), std::string("file://"), std::string("file:///dev/zero"),
          std::string("http://127.0.0.1:9/a.mp4")}) {
        SourceRun run(address, address);
        EXPECT_FALSE(run.Started()) << address;
    }
}

TEST_F(FileSource, WhatCannotBeDecodedIsTrouble) {
    ExpectTrouble(folder.Write("text.mp4", "Dear all,\nthis is a letter.\n"));
    ExpectTrouble(folder.Write("empty.mp4", ""));
    ExpectTrouble(folder.Write("noise.bin", std::string(5000, '\x9D')));
}

TEST_F(FileSource, PlayListIsNotFollowed) {
    const std::string part =
        folder.Encode("part.ts", std::string(kPictures) + "-t 1 -pix_fmt yuv420p -c:v libx264");
    ExpectTrouble(folder.Write("list.m3u8",
                               "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n"
                               "#EXTINF:1.0,\nfile://" +
                                   part + "\n#EXT-X-ENDLIST\n"));
}

TEST_F(FileSource, TroubleMayDestroyTheSource) {
    const std::string address = "file://" + folder.Write("text.mp4", "no film\n");
    std::unique_ptr<MediaSource> source;
    std::promise<void> gone;
    OnLoop([&] {
        source = std::make_unique<MediaSource>(address, address, SourceFormat{}, SourceSinks{},
                                               [&](const std::string& /*text*/) {
                                                   source.reset();
                                                   gone.set_value();
                                               });
        EXPECT_TRUE(source->Start(0));
    });
    EXPECT_EQ(gone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    OnLoop([] {});
    EXPECT_EQ(source, nullptr);
}

TEST_F(FileSource, EndsQuietlyAtAnyMoment) {
    const std::string address = Both("both.mp4");
    for (const std::size_t count : {0U, 1U, 5U, 14U}) {
        SourceRun run(address, address);
        EXPECT_GE(run.Video(count).size(), count);
        run.Stop();
        const std::size_t pictures = run.Video(0).size();
        const std::size_t sound = run.Audio(0).size();
        OnLoop([] {});
        EXPECT_EQ(run.Video(0).size(), pictures);
        EXPECT_EQ(run.Audio(0).size(), sound);
    }
}

TEST(MediaSource, EndsQuietlyWhileASampleIsBeingTaken) {
    std::promise<void> inside;
    std::promise<void> goOn;
    std::shared_future<void> released = goOn.get_future().share();
    std::atomic<bool> ended{false};
    std::atomic<int> afterwards{0};
    std::unique_ptr<MediaSource> source;
    OnLoop([&] {
        source =
            std::make_unique<MediaSource>(kTestPicture, "", SourceFormat{},
                                          SourceSinks{[&, first = true](GstSample* sample) mutable {
                                                          gst_sample_unref(sample);
                                                          afterwards += ended ? 1 : 0;
                                                          if (first) {
                                                              first = false;
                                                              inside.set_value();
                                                              released.wait();
                                                          }
                                                      },
                                                      nullptr},
                                          nullptr);
        EXPECT_TRUE(source->Start(0));
    });
    inside.get_future().wait();
    std::promise<void> destroyed;
    EngineLoop::Shared().Post([&] {
        source.reset();
        ended = true;
        destroyed.set_value();
    });
    goOn.set_value();
    EXPECT_EQ(destroyed.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    OnLoop([] {});
    EXPECT_EQ(afterwards, 0);
}

TEST(PictureRate, ThinsOutToTheRateAndBeginsAnewAfterAJump) {
    const auto passed = [](PictureRate& rate, int from, int to, int each) {
        int count = 0;
        for (int ms = from; ms < to; ms += each) {
            count += rate.Passes(static_cast<GstClockTime>(ms) * GST_MSECOND) ? 1 : 0;
        }
        return count;
    };
    PictureRate rate(15);
    EXPECT_NEAR(passed(rate, 0, 10000, 10), 150, 2);
    EXPECT_NEAR(passed(rate, 0, 10000, 40), 150, 2);
    PictureRate even(25);
    EXPECT_EQ(passed(even, 0, 4000, 40), 100);
    EXPECT_TRUE(even.Passes(GST_CLOCK_TIME_NONE));
}

TEST(PictureRate, CapsPromiseNoMoreThanTheRate) {
    const auto rateOf = [](const char* text) {
        gst_init(nullptr, nullptr);
        const GstCapsRef caps(WithHighestRate(gst_caps_from_string(text), 15));
        int over = 0;
        int under = 0;
        gst_structure_get_fraction(gst_caps_get_structure(caps.get(), 0), "framerate", &over,
                                   &under);
        return std::to_string(over) + "/" + std::to_string(under);
    };
    EXPECT_EQ(rateOf("video/x-raw,framerate=30000/1001"), "15/1");
    EXPECT_EQ(rateOf("video/x-raw,framerate=0/1"), "15/1");
    EXPECT_EQ(rateOf("video/x-raw"), "15/1");
    EXPECT_EQ(rateOf("video/x-raw,framerate=12/1"), "12/1");
}

}  // namespace
