// Devices that are not there stand for those that were unplugged: both fail.
#include "engine/capture/SourceSwitch.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/capture/CaptureFixture.h"
#include "engine/source/Devices.h"

namespace {

using namespace vaxoengine;
using capturetest::Eventually;

constexpr const char* kFirst = "v4l2:/dev/first";
constexpr const char* kSecond = "v4l2:/dev/second";

class SwitchTest : public testing::Test {
protected:
    void Start(const SourceFallbacks& fallbacks) {
        gst_init(nullptr, nullptr);
        OnLoop([&] {
            m_switch = std::make_unique<SourceSwitch>(
                SourceSinks{[this](GstSample* sample) { Count(pictures, sample); },
                            [this](GstSample* sample) { Count(sounds, sample); }},
                fallbacks, [this](const std::string& text) { m_troubles.push_back(text); });
        });
    }
    ~SwitchTest() override {
        OnLoop([this] { m_switch.reset(); });
    }
    void Wish(const std::string& video, const std::string& audio) {
        OnLoop([&] {
            GstClock* const clock = gst_system_clock_obtain();
            m_base = m_base != 0 ? m_base : gst_clock_get_time(clock);
            gst_object_unref(clock);
            m_switch->Run(m_base, SourceWish{video, audio, {160, 90, 30}});
        });
    }
    std::string Picture() {
        std::string device;
        OnLoop([&] { device = m_switch->VideoDevice(); });
        return device;
    }
    std::string Sound() {
        std::string device;
        OnLoop([&] { device = m_switch->AudioDevice(); });
        return device;
    }
    std::size_t Troubles() {
        std::size_t count = 0;
        OnLoop([&] { count = m_troubles.size(); });
        return count;
    }

    std::atomic<int> pictures{0};
    std::atomic<int> sounds{0};

private:
    static void Count(std::atomic<int>& counter, GstSample* sample) {
        gst_sample_unref(sample);
        ++counter;
    }

    std::unique_ptr<SourceSwitch> m_switch;
    std::vector<std::string> m_troubles;
    GstClockTime m_base = 0;
};

TEST_F(SwitchTest, ADeviceThatFailsIsReplacedByTheNextUntilOneWorks) {
    Start({[](const std::string& device, const std::set<std::string>& failed) {
               EXPECT_EQ(failed.count(device), 1U);
               return std::string(failed.count(kSecond) == 0 ? kSecond : kTestPicture);
           },
           {}});
    Wish(kFirst, kTestTone);
    EXPECT_TRUE(Eventually([&] { return Picture() == kTestPicture; })) << Picture();
    EXPECT_EQ(Troubles(), 2U);
    const int before = pictures;
    EXPECT_TRUE(Eventually([&] { return pictures > before + 3; }));
    EXPECT_EQ(Sound(), kTestTone) << "the sound is not disturbed";
}

TEST_F(SwitchTest, WhenNothingIsLeftBlackAndSilenceRun) {
    Start({[](const std::string& device, const std::set<std::string>&) { return device; }, {}});
    Wish(kFirst, "alsa-in:none");
    EXPECT_TRUE(Eventually([&] { return Picture() == kBlack && Sound() == kSilence; }));
    EXPECT_EQ(Troubles(), 2U);
    EXPECT_TRUE(Eventually([&] { return pictures > 3 && sounds > 3; }));
}

TEST_F(SwitchTest, TheSameWishKeepsTheReplacementAndAnotherForgetsIt) {
    Start({[](const std::string&, const std::set<std::string>&) { return std::string(); }, {}});
    Wish(kFirst, kTestTone);
    EXPECT_TRUE(Eventually([&] { return Picture() == kBlack; }));
    Wish(kFirst, kSilence);
    EXPECT_EQ(Picture(), kBlack);
    Wish(kTestPicture, kSilence);
    EXPECT_EQ(Picture(), kTestPicture);
    EXPECT_EQ(Troubles(), 1U);
    Wish(kFirst, kSilence);  // it may have been plugged in again
    EXPECT_TRUE(Eventually([&] { return Troubles() == 2; }));
    EXPECT_TRUE(Eventually([&] { return Picture() == kBlack; }));
}

TEST(DeviceFallback, OfACameraIsAnotherOneOrTheTestPicture) {
    std::set<std::string> failed = {kFirst};
    for (const auto& [id, name] : VideoDevices()) {
        if (id != kTestPicture) {
            EXPECT_NE(NextVideoDevice(kFirst, failed), kTestPicture);
            failed.insert(id);
        }
    }
    EXPECT_EQ(NextVideoDevice(kFirst, failed), kTestPicture);
}

TEST(DeviceFallback, OfAMicrophoneIsAnotherOneOrSilence) {
    std::set<std::string> failed = {"alsa-in:none"};
    for (const auto& [id, name] : AudioDevices(AudioDevice_Input)) {
        failed.insert(id);
    }
    EXPECT_EQ(NextAudioDevice("alsa-in:none", failed), "");
}

TEST(DeviceFallback, OfAFileOrABuiltInSourceOpensNoDevice) {
    for (const char* const id : {"file:///film.mkv", "test:picture", "test:tone", "none:black"}) {
        EXPECT_EQ(NextVideoDevice(id, {id}), "");
        EXPECT_EQ(NextAudioDevice(id, {id}), "");
    }
}

}  // namespace
