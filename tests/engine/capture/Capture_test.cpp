#include "engine/capture/Capture.h"

#include <filesystem>
#include <string>
#include <utility>

#include "engine/capture/CaptureFixture.h"

namespace capturetest {
namespace {

using Strova::VaxoLiveImage;

TEST_F(CaptureTest, TheStreamBeginsWithAKeyFrameAndItsStampsGrow) {
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(25));
    ASSERT_TRUE(audio.WaitFor(50));
    for (Track* const track : {&video, &audio}) {
        const auto samples = track->Copy();
        for (std::size_t i = 1; i < samples.size(); ++i) {
            ASSERT_GT(Pts(samples[i].get()), Pts(samples[i - 1].get())) << i;
        }
        EXPECT_LT(Pts(samples[0].get()), 30 * GST_SECOND) << "not a running time";
    }
    const auto pictures = video.Copy();
    EXPECT_TRUE(IsKey(pictures[0].get()));
    for (const auto& picture : pictures) {
        const GstClockTime dts = GST_BUFFER_DTS(gst_sample_get_buffer(picture.get()));
        EXPECT_TRUE(!GST_CLOCK_TIME_IS_VALID(dts) || dts <= Pts(picture.get()));
    }
    // One each second, whatever the rate.
    EXPECT_TRUE(video.WaitForSample(1, IsKey));
}

TEST_F(CaptureTest, TheStreamSaysWhatItIs) {
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(1));
    ASSERT_TRUE(audio.WaitFor(1));
    const std::string picture = CapsText(video.Copy()[0].get());
    for (const char* const part :
         {"video/x-h264", "stream-format=(string)avc", "alignment=(string)au",
          "profile=(string)main", "codec_data", "width=(int)320", "height=(int)180"}) {
        EXPECT_NE(picture.find(part), std::string::npos) << part << " in " << picture;
    }
    const std::string sound = CapsText(audio.Copy()[0].get());
    for (const char* const part : {"audio/mpeg", "mpegversion=(int)4", "stream-format=(string)raw",
                                   "codec_data", "rate=(int)48000", "channels=(int)2"}) {
        EXPECT_NE(sound.find(part), std::string::npos) << part << " in " << sound;
    }
}

TEST_F(CaptureTest, AKeyFrameComesWhenItIsAskedFor) {
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(3));
    OnLoop([&] { capture->ForceKeyFrame(); });
    ASSERT_TRUE(video.WaitFor(12));
    const auto samples = video.Copy();
    int keys = 0;
    for (std::size_t i = 1; i < 12; ++i) {
        keys += IsKey(samples[i].get()) ? 1 : 0;
    }
    EXPECT_EQ(keys, 1);
}

TEST_F(CaptureTest, AnotherSizeAndRateComeWithoutABreakOfTheStamps) {
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(8));
    OnLoop([&] { capture->SetVideo({400000, 20, 256, 192}); });
    const auto isNew = [](GstSample* sample) {
        return CapsText(sample).find("width=(int)256, height=(int)192") != std::string::npos;
    };
    ASSERT_TRUE(video.WaitForSample(8, isNew));
    ASSERT_TRUE(video.WaitForMore(10));
    const auto samples = video.Copy();
    bool seen = false;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        ASSERT_GT(Pts(samples[i].get()), Pts(samples[i - 1].get()));
        EXPECT_TRUE(seen || !isNew(samples[i].get()) || IsKey(samples[i].get()));
        seen = seen || isNew(samples[i].get());
    }
    const auto raw = Decode(samples, "h264parse ! avdec_h264 max-threads=1");
    ASSERT_FALSE(raw.empty());
    EXPECT_NE(CapsText(raw.front().get()).find("width=(int)320"), std::string::npos);
    EXPECT_NE(CapsText(raw.back().get()).find("width=(int)256, height=(int)192"),
              std::string::npos);
    EXPECT_NE(CapsText(samples.back().get()).find("framerate=(fraction)20/1"), std::string::npos);
}

TEST_F(CaptureTest, AnotherBitrateKeepsTheStampsGrowing) {
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(4));
    OnLoop([&] { capture->SetVideo({900000, 15, 320, 180}); });
    ASSERT_TRUE(video.WaitForMore(6));
    OnLoop([&] { capture->SetVideo({200000, 15, 320, 180}); });
    ASSERT_TRUE(video.WaitForMore(6));
    const auto samples = video.Copy();
    for (std::size_t i = 1; i < samples.size(); ++i) {
        ASSERT_GT(Pts(samples[i].get()), Pts(samples[i - 1].get()));
    }
    EXPECT_EQ(Troubles(), 0U);
}

TEST_F(CaptureTest, RotationKeepsTheSizeAndPutsBarsBeside) {
    StartPreview();
    const auto bars = [](const VaxoLiveImage& image) {
        return EveryPixel(image, 0, 90, IsBlack) && EveryPixel(image, 230, 320, IsBlack);
    };
    EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !bars(image); }));
    for (const int quarter : {90, 270}) {
        OnLoop([&] { capture->SetRotation(quarter); });
        EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) {
            return bars(image) && image.width == 320 && image.height == 180 &&
                   !EveryPixel(image, 120, 200, IsBlack);
        })) << quarter;
        OnLoop([&] { capture->SetRotation(180); });
        EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !bars(image); }));
    }
}

TEST_F(CaptureTest, AFilterIsSeenInThePictureAndTakenAwayAgain) {
    StartPreview();
    const auto grey = [](const VaxoLiveImage& image) {
        return EveryPixel(image, 0, image.width, IsGrey);
    };
    EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !grey(image); }));
    OnLoop([&] { capture->SetFilter(1); });
    EXPECT_TRUE(WaitForPicture(grey));
    OnLoop([&] { capture->SetFilter(0); });
    EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !grey(image); }));
}

TEST_F(CaptureTest, ACameraThatIsOffShowsBlackUntilItIsOnAgain) {
    const auto black = [](const VaxoLiveImage& image) {
        return EveryPixel(image, 0, image.width, IsBlack);
    };
    StartPreview();
    EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !black(image); }));
    OnLoop([&] { capture->EnableCamera(false); });
    EXPECT_TRUE(WaitForPicture(black));
    OnLoop([&] { capture->EnableCamera(true); });
    EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) { return !black(image); }));
}

TEST_F(CaptureTest, AMicrophoneThatIsOffIsSilentAndTheSoundGoesOn) {
    StartEncoding();
    ASSERT_TRUE(audio.WaitFor(40));
    EXPECT_GT(Loudness(audio.Copy()), 2000);
    OnLoop([&] { capture->EnableMicrophone(false); });
    ASSERT_TRUE(audio.WaitForMore(40));
    EXPECT_LT(Loudness(audio.Copy()), 50);
    OnLoop([&] { capture->EnableMicrophone(true); });
    ASSERT_TRUE(audio.WaitForMore(60));
    EXPECT_GT(Loudness(audio.Copy()), 2000);
    const auto samples = audio.Copy();
    for (std::size_t i = 1; i < samples.size(); ++i) {
        // 1024 samples each: no gap.
        ASSERT_NEAR(static_cast<double>(Pts(samples[i].get()) - Pts(samples[i - 1].get())),
                    1024e9 / 48000, 1e6)
            << i;
    }
}

// A loud square of 500 Hz.
class Square : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* data, int* bytes, int* rate, int* channels) override {
        *rate = 16000;
        *channels = 1;
        *bytes = 160 * 2;
        for (int i = 0; i < 160; ++i) {
            data[2 * i] = 0;
            data[2 * i + 1] = i / 16 % 2 == 0 ? 0x40 : 0xC0;
        }
    }
};

TEST_F(CaptureTest, AuxiliarySoundIsMixedInWhileItIsEnabled) {
    Square square;
    OnLoop([&] {
        capture->EnableMicrophone(false);
        capture->SetAuxCallback(&square);
    });
    StartEncoding();
    ASSERT_TRUE(audio.WaitFor(30));
    EXPECT_LT(Loudness(audio.Copy()), 50) << "not enabled yet";
    OnLoop([&] { capture->EnableAux(true); });
    ASSERT_TRUE(audio.WaitForMore(60));
    EXPECT_GT(Loudness(audio.Copy()), 10000);
    OnLoop([&] { capture->SetAuxCallback(nullptr); });
    ASSERT_TRUE(audio.WaitForMore(60));
    EXPECT_LT(Loudness(audio.Copy()), 50);
}

TEST_F(CaptureTest, NothingIsEncodedAfterStopEncodingWhileThePreviewGoesOn) {
    StartPreview();
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(3));
    GstClockTime base = GST_CLOCK_TIME_NONE;
    OnLoop([&] {
        base = capture->BaseTime();
        capture->StopEncoding();
    });
    const std::size_t pictures = video.Count();
    const std::size_t sounds = audio.Count();
    uint64 last = 0;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(WaitForPicture([&](const VaxoLiveImage& image) {
            return std::exchange(last, image.time) != image.time;
        }));
    }
    EXPECT_EQ(video.Count(), pictures);
    EXPECT_EQ(audio.Count(), sounds);
    OnLoop([&] { EXPECT_EQ(capture->BaseTime(), base); });
    StartEncoding();
    ASSERT_TRUE(video.WaitFor(pictures + 2));
    EXPECT_TRUE(IsKey(video.Copy(pictures)[0].get()));
    OnLoop([&] {
        capture->StopEncoding();
        capture->StopPreview();
        EXPECT_FALSE(GST_CLOCK_TIME_IS_VALID(capture->BaseTime()));
        Snapshot shot;
        EXPECT_FALSE(capture->TakePreviewSnapshot(shot));
    });
}

TEST_F(CaptureTest, ADeviceThatCannotBeOpenedIsReportedAndBlackIsSent) {
    OnLoop([&] {
        capture->SetVideoDevice("file:///there/is/no/such/file.mp4");
        capture->SetAudioDevice("");
    });
    StartEncoding();
    StartPreview();
    EXPECT_TRUE(video.WaitFor(5));
    EXPECT_TRUE(audio.WaitFor(5));
    EXPECT_TRUE(WaitForPicture(
        [](const VaxoLiveImage& image) { return EveryPixel(image, 0, image.width, IsBlack); }));
    EXPECT_EQ(Troubles(), 1U);
    // Another device ends the trouble.
    OnLoop([&] { capture->SetVideoDevice(kTestPicture); });
    EXPECT_TRUE(WaitForPicture(
        [](const VaxoLiveImage& image) { return !EveryPixel(image, 0, image.width, IsBlack); }));
}

// A file of two seconds: a red picture and a loud tone.
class MediaFile {
public:
    MediaFile() {
        gchar* const folder = g_dir_make_tmp("vaxocapXXXXXX", nullptr);
        m_folder = folder;
        g_free(folder);
        const GstRef<GstElement> pipeline = MakePipeline(
            "videotestsrc num-buffers=30 pattern=red ! video/x-raw,width=320,height=180,"
            "framerate=15/1 ! x264enc tune=zerolatency ! mux. "
            "audiotestsrc num-buffers=94 volume=0.9 ! audio/x-raw,rate=48000 ! audioconvert ! "
            "avenc_aac ! mux. matroskamux name=mux ! filesink name=out");
        g_object_set(Find(pipeline, "out").get(), "location", Path().c_str(), nullptr);
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        GstBus* const bus = gst_element_get_bus(pipeline.get());
        GstMessage* const end = gst_bus_timed_pop_filtered(bus, 20 * GST_SECOND, GST_MESSAGE_EOS);
        EXPECT_NE(end, nullptr);
        if (end != nullptr) {
            gst_message_unref(end);
        }
        gst_object_unref(bus);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }
    ~MediaFile() { std::filesystem::remove_all(m_folder); }
    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;

    std::string Path() const { return m_folder + "/red.mkv"; }

private:
    std::string m_folder;
};

TEST_F(CaptureTest, AVideoFileBringsItsOwnSoundWhenNoOtherWasChosen) {
    const MediaFile file;
    OnLoop([&] {
        capture->SetAudioDevice("");
        capture->SetVideoDevice("file://" + file.Path());
    });
    StartPreview();
    StartEncoding();
    EXPECT_TRUE(WaitForPicture([](const VaxoLiveImage& image) {
        return EveryPixel(image, 0, image.width,
                          [](int r, int g, int b) { return r > 150 && g < 80 && b < 80; });
    }));
    // The default device is quieter.
    EXPECT_TRUE(Eventually([&] { return Loudness(audio.Copy()) > 20000; }));
    // Its sound goes on when its picture is switched off, and the other way round.
    OnLoop([&] { capture->EnableCamera(false); });
    EXPECT_TRUE(WaitForPicture(
        [](const VaxoLiveImage& image) { return EveryPixel(image, 0, image.width, IsBlack); }));
    ASSERT_TRUE(audio.WaitForMore(30));
    EXPECT_TRUE(Eventually([&] { return Loudness(audio.Copy()) > 20000; }));
    OnLoop([&] {
        capture->EnableCamera(true);
        capture->EnableMicrophone(false);
    });
    EXPECT_TRUE(WaitForPicture(
        [](const VaxoLiveImage& image) { return !EveryPixel(image, 0, image.width, IsBlack); }));
    EXPECT_TRUE(Eventually([&] { return Loudness(audio.Copy()) < 50; }));
    EXPECT_EQ(Troubles(), 0U);
}

TEST_F(CaptureTest, StatsCountTheLastSecond) {
    StartEncoding();
    EXPECT_TRUE(Eventually([&] {
        Capture::Stats stats;
        OnLoop([&] { stats = capture->GetStats(); });
        return stats.fps > 8 && stats.fps < 25 && stats.videoBitrate > 20000 &&
               stats.audioBitrate > 1000;
    }));
    OnLoop([&] {
        capture->StopEncoding();
        EXPECT_EQ(capture->GetStats().fps, 0);
        EXPECT_EQ(capture->GetStats().audioBitrate, 0U);
    });
}

std::size_t Entries(const char* folder) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

TEST_F(CaptureTest, StartingAndStoppingLeavesNoThreadsAndNoFiles) {
    std::size_t threads = 0;
    std::size_t files = 0;
    for (int round = 0; round < 20; ++round) {
        OnLoop([&] {
            ASSERT_TRUE(capture->StartPreview());
            ASSERT_TRUE(capture->StartEncoding(Sinks()));
        });
        if (round % 5 == 0) {
            ASSERT_TRUE(video.WaitForMore(1));
        }
        OnLoop([&] {
            capture->StopEncoding();
            capture->StopPreview();
        });
        if (round == 4) {
            threads = Entries("/proc/self/task");
            files = Entries("/proc/self/fd");
        }
    }
    // A thread pool of the system keeps a few idle ones.
    EXPECT_LE(Entries("/proc/self/task"), threads + 4);
    EXPECT_LE(Entries("/proc/self/fd"), files + 4);
}

}  // namespace
}  // namespace capturetest
