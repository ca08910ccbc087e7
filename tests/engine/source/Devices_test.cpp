#include "engine/source/Devices.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TempFolder.h"
#include "engine/base/GstRef.h"
#include "engine/source/FileAddress.h"
#include "engine/source/MediaSource.h"

namespace {

using namespace vaxoengine;

TEST(Devices, ListsHaveTheBuiltInOnes) {
    EXPECT_EQ(VideoDevices().count(kTestPicture), 1U);
    EXPECT_EQ(AudioDevices(AudioDevice_Input).count(kTestTone), 1U);
    EXPECT_EQ(AudioDevices(AudioDevice_Output).count("none:sink"), 1U);
    EXPECT_EQ(AudioDevices(AudioDevice_Output).count(kTestTone), 0U);
    EXPECT_EQ(AudioDevices(AudioDevice_Input).count("none:sink"), 0U);
}

TEST(Devices, EveryListedDeviceHasANameAndCanBeChosen) {
    for (const auto& [id, name] : VideoDevices()) {
        EXPECT_FALSE(name.empty()) << id;
        EXPECT_TRUE(IsVideoDevice(id)) << id;
    }
    for (const AudioDeviceKind kind : {AudioDevice_Input, AudioDevice_Output}) {
        for (const auto& [id, name] : AudioDevices(kind)) {
            EXPECT_FALSE(name.empty()) << id;
            EXPECT_TRUE(IsAudioDevice(kind, id)) << id;
        }
    }
}

TEST(Devices, DefaultsAreListed) {
    EXPECT_EQ(VideoDevices().count(DefaultVideoDevice(true)), 1U);
    EXPECT_EQ(VideoDevices().count(DefaultVideoDevice(false)), 1U);
    for (const AudioDeviceKind kind : {AudioDevice_Input, AudioDevice_Output}) {
        EXPECT_EQ(AudioDevices(kind).count(DefaultAudioDevice(kind)), 1U);
    }
}

TEST(Devices, TheSinkWithoutALoudspeakerPlaysInRealTime) {
    const std::string text = DeviceElement("none:sink");
    const auto element = MakePipeline(text);
    ASSERT_NE(element, nullptr);
    gboolean sync = FALSE;
    g_object_get(element.get(), "sync", &sync, nullptr);
    EXPECT_TRUE(sync);
}

TEST(Devices, UnknownAndCraftedIdentifiersAreRefused) {
    const std::vector<std::string> ids = {
        "",
        "v4l2:",
        "pulse-in:",
        "alsa-out:",
        "camera",
        "v4l2:/dev/video99",
        "v4l2:/dev/null",
        "v4l2:/dev/video0\" ! filesink location=\"/tmp/x",
        "pulse-in:a ! filesrc location=/etc/passwd",
        "pulse-out:\"",
        "alsa-in:hw:9,9",
        "none:sink ! fakesink",
        "none:sink\n",
        std::string("none:sink\0", 10),
        "NONE:SINK",
        std::string(100000, 'v'),
        "v4l2:" + std::string(100000, 'a'),
    };
    for (const std::string& id : ids) {
        EXPECT_EQ(DeviceElement(id), "") << id.substr(0, 60);
        EXPECT_FALSE(IsVideoDevice(id)) << id.substr(0, 60);
        EXPECT_FALSE(IsAudioDevice(AudioDevice_Input, id)) << id.substr(0, 60);
        EXPECT_FALSE(IsAudioDevice(AudioDevice_Output, id)) << id.substr(0, 60);
    }
}

TEST(Devices, BuiltInSourcesAndFilesAreNoElements) {
    const TempFolder folder;
    EXPECT_EQ(DeviceElement(kTestPicture), "");
    EXPECT_EQ(DeviceElement(kBlack), "");
    EXPECT_EQ(DeviceElement("file://" + folder.Write("a.mp4", "x")), "");
}

TEST(Devices, ReadableFileIsACameraAndAMicrophoneButNoLoudspeaker) {
    const TempFolder folder;
    const std::string address = "file://" + folder.Write("a.mp4", "x");
    EXPECT_TRUE(IsVideoDevice(address));
    EXPECT_TRUE(IsAudioDevice(AudioDevice_Input, address));
    EXPECT_FALSE(IsAudioDevice(AudioDevice_Output, address));
}

TEST(FileAddress, OnlyRegularFilesOfThisMachineAreTaken) {
    const TempFolder folder;
    const std::string path = folder.Write("a.mp4", "x");
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(ReadableFile("file://" + path), path);
    EXPECT_EQ(ReadableFile("file://" + folder.Path("missing")), "");
    EXPECT_EQ(ReadableFile("file://" + folder.Path("pipe")), "");
    EXPECT_EQ(ReadableFile("file://" + folder.Path("")), "");
    EXPECT_EQ(ReadableFile("file:///dev/zero"), "");
    EXPECT_EQ(ReadableFile("file:" + path), "");
    EXPECT_EQ(ReadableFile("file://otherhost" + path), "");
    EXPECT_EQ(ReadableFile("file://"), "");
    EXPECT_EQ(ReadableFile("http://127.0.0.1" + path), "");
    EXPECT_EQ(ReadableFile("FILE://" + path), "");
    EXPECT_EQ(ReadableFile(path), "");
    EXPECT_EQ(ReadableFile("file://" + path + std::string("\0", 1)), "");
    EXPECT_EQ(ReadableFile("file://" + path + std::string("\0x", 2)), "");
    EXPECT_EQ(ReadableFile("file://" + std::string(100000, '/')), "");
}

TEST(FileAddress, OddNamesWorkEncodedAndPlain) {
    const TempFolder folder;
    for (const std::string name : {"two words.mp4", "a%20b.mp4", "100%.mp4", "50%25.mp4", "q?x=1",
                                   "h#1.mp4", "\xC3\xA4.mp4", "! fakesink.mp4", "\"'.mp4"}) {
        const std::string path = folder.Write(name, "x");
        EXPECT_EQ(ReadableFile("file://" + path), path);
        EXPECT_EQ(ReadableFile(AddressOfFile(path)), path);
    }
}

TEST(FileAddress, TheDecodedNameComesFirst) {
    const TempFolder folder;
    const std::string plain = folder.Write("a b", "x");
    folder.Write("a%20b", "x");
    EXPECT_EQ(ReadableFile("file://" + folder.Path("a%20b")), plain);
}

TEST(Devices, ListsMayBeAskedForByManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++) {
        threads.emplace_back([] {
            EXPECT_EQ(VideoDevices().count(kTestPicture), 1U);
            EXPECT_EQ(AudioDevices(AudioDevice_Output).count("none:sink"), 1U);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
