// A capture on the engine's thread, what it encodes, and ways to look inside.
#ifndef VAXO_TESTS_ENGINE_CAPTURE_CAPTUREFIXTURE_H
#define VAXO_TESTS_ENGINE_CAPTURE_CAPTUREFIXTURE_H

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gtest/gtest.h>

#include "Within.h"
#include "engine/OnLoop.h"
#include "engine/base/GstRef.h"
#include "engine/capture/Capture.h"
#include "engine/source/MediaSource.h"

namespace capturetest {

using namespace vaxoengine;

constexpr std::chrono::seconds kLong{40};

// Until the condition holds, or far too long.
inline bool Eventually(const std::function<bool()>& condition) {
    return Within(kLong, condition);
}

inline bool IsKey(GstSample* sample) {
    return !GST_BUFFER_FLAG_IS_SET(gst_sample_get_buffer(sample), GST_BUFFER_FLAG_DELTA_UNIT);
}
inline GstClockTime Pts(GstSample* sample) {
    return GST_BUFFER_PTS(gst_sample_get_buffer(sample));
}
inline std::string CapsText(GstSample* sample) {
    gchar* const text = gst_caps_to_string(gst_sample_get_caps(sample));
    std::string result = text;
    g_free(text);
    return result;
}

// What came out of one kind of encoder.
class Track {
public:
    void Add(GstSample* sample) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_samples.emplace_back(sample);
        m_changed.notify_all();
    }
    std::size_t Count() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_samples.size();
    }
    bool WaitFor(std::size_t count) {
        return Wait([&](const auto& samples) { return samples.size() >= count; });
    }
    bool WaitForMore(std::size_t more) { return WaitFor(Count() + more); }
    bool WaitForSample(std::size_t from, const std::function<bool(GstSample*)>& wanted) {
        return Wait([&](const auto& samples) {
            for (; from < samples.size(); ++from) {
                if (wanted(samples[from].get())) {
                    return true;
                }
            }
            return false;
        });
    }
    std::vector<GstSampleRef> Copy(std::size_t from = 0) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<GstSampleRef> copy;
        for (; from < m_samples.size(); ++from) {
            copy.emplace_back(gst_sample_ref(m_samples[from].get()));
        }
        return copy;
    }

private:
    template <class Condition>
    bool Wait(Condition condition) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kLong, [&] { return condition(m_samples); });
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<GstSampleRef> m_samples;
};

// Decodes a whole track; what is raw comes back. `chain` stands between appsrc and appsink.
inline std::vector<GstSampleRef> Decode(const std::vector<GstSampleRef>& track,
                                        const std::string& chain) {
    const GstRef<GstElement> pipeline = MakePipeline("appsrc name=in format=time max-bytes=0 ! " +
                                                     chain + " ! appsink name=out sync=false");
    std::vector<GstSampleRef> raw;
    if (!pipeline) {
        return raw;
    }
    const GstRef<GstElement> in = Find(pipeline, "in");
    const GstRef<GstElement> out = Find(pipeline, "out");
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    for (const GstSampleRef& sample : track) {
        gst_app_src_push_sample(GST_APP_SRC(in.get()), sample.get());
    }
    gst_app_src_end_of_stream(GST_APP_SRC(in.get()));
    while (GstSample* const sample =
               gst_app_sink_try_pull_sample(GST_APP_SINK(out.get()), 20 * GST_SECOND)) {
        raw.emplace_back(sample);
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return raw;
}

// The loudest of the last samples of an encoded track, of 32767.
inline int Loudness(const std::vector<GstSampleRef>& track) {
    const auto raw =
        Decode(track, "avdec_aac ! audioconvert ! audio/x-raw,format=S16LE,layout=interleaved");
    int loudest = -1;
    for (std::size_t i = raw.size() > 10 ? raw.size() - 10 : 0; i < raw.size(); ++i) {
        GstMapInfo map;
        GstBuffer* const buffer = gst_sample_get_buffer(raw[i].get());
        gst_buffer_map(buffer, &map, GST_MAP_READ);
        for (gsize at = 0; at + 1 < map.size; at += 2) {
            const int value = static_cast<short>(map.data[at] | map.data[at + 1] << 8);
            loudest = std::max(loudest, std::abs(value));
        }
        gst_buffer_unmap(buffer, &map);
    }
    return loudest;
}

class CaptureTest : public testing::Test {
protected:
    void SetUp() override {
        OnLoop([&] {
            capture = std::make_unique<Capture>([this](const std::string& text) {
                const std::lock_guard<std::mutex> lock(mutex);
                troubles.push_back(text);
            });
            capture->SetVideoDevice(kTestPicture);
            capture->SetAudioDevice(kTestTone);
            capture->SetVideo({400000, 15, 320, 180});
        });
    }
    void TearDown() override {
        OnLoop([&] { capture.reset(); });
    }

    EncodedSinks Sinks() {
        return {[this](GstSample* sample) { video.Add(sample); },
                [this](GstSample* sample) { audio.Add(sample); }};
    }
    void StartEncoding() {
        OnLoop([&] { EXPECT_TRUE(capture->StartEncoding(Sinks())); });
    }
    void StartPreview() {
        OnLoop([&] { EXPECT_TRUE(capture->StartPreview()); });
    }
    bool TakeSnapshot(Snapshot& out) {
        bool taken = false;
        OnLoop([&] { taken = capture->TakePreviewSnapshot(out); });
        return taken;
    }
    bool WaitForPicture(const std::function<bool(const Strova::VaxoLiveImage&)>& wanted) {
        return Eventually([&] {
            Snapshot shot;
            return TakeSnapshot(shot) && wanted(shot.image);
        });
    }
    std::size_t Troubles() {
        const std::lock_guard<std::mutex> lock(mutex);
        return troubles.size();
    }

    Track video;
    Track audio;
    std::mutex mutex;
    std::vector<std::string> troubles;
    std::unique_ptr<Capture> capture;  // the engine's thread
};

// Looks at the pixels of a rectangle.
inline bool EveryPixel(const Strova::VaxoLiveImage& image, int left, int right,
                       const std::function<bool(int r, int g, int b)>& wanted) {
    for (int y = 0; y < image.height; ++y) {
        for (int x = left; x < right; ++x) {
            const unsigned char* const pixel = image.data + y * image.stride + x * 4;
            if (!wanted(pixel[0], pixel[1], pixel[2])) {
                return false;
            }
        }
    }
    return true;
}
inline bool IsBlack(int r, int g, int b) {
    return r < 12 && g < 12 && b < 12;
}
inline bool IsGrey(int r, int g, int b) {
    return std::abs(r - g) < 8 && std::abs(g - b) < 8;
}

}  // namespace capturetest

#endif
