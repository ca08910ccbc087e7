#include "engine/filters/BeautyElement.h"

#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include "engine/base/GstRef.h"

namespace {

using namespace vaxoengine;

using Bytes = std::vector<unsigned char>;

GstSampleRef Pull(const GstRef<GstElement>& pipeline, const char* sink) {
    return GstSampleRef(
        gst_app_sink_try_pull_sample(GST_APP_SINK(Find(pipeline, sink).get()), 20 * GST_SECOND));
}

Bytes BytesOf(const GstSampleRef& sample) {
    GstMapInfo map;
    if (!sample ||
        gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ) == FALSE) {
        return {};
    }
    Bytes bytes(map.data, map.data + map.size);
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
    return bytes;
}

// Lines without padding, whose bytes nobody sets. The same buffers go through the element to
// "changed" and past it to "plain". One picture at a time: the queues hold one, and so do the
// sinks.
GstRef<GstElement> Running(const std::string& features) {
    EXPECT_TRUE(RegisterBeautyElement());
    GstRef<GstElement> pipeline = MakePipeline(
        "videotestsrc pattern=zone-plate kx2=20 ky2=20 num-buffers=60"
        " ! video/x-raw,format=I420,width=320,height=180 ! tee name=tee"
        " ! queue max-size-buffers=1 ! vaxobeautify name=beauty " +
        features +
        " ! appsink name=changed sync=false max-buffers=1"
        " tee. ! queue max-size-buffers=1 ! appsink name=plain sync=false max-buffers=1");
    EXPECT_TRUE(pipeline);
    if (pipeline) {
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    }
    return pipeline;
}

void Stop(const GstRef<GstElement>& pipeline) {
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

void Set(const GstRef<GstElement>& pipeline, unsigned features) {
    g_object_set(Find(pipeline, "beauty").get(), "features", features, nullptr);
}

unsigned Get(const GstRef<GstElement>& pipeline) {
    unsigned features = 99;
    g_object_get(Find(pipeline, "beauty").get(), "features", &features, nullptr);
    return features;
}

// One that never runs.
GstRef<GstElement> Idle(const std::string& features) {
    EXPECT_TRUE(RegisterBeautyElement());
    return MakePipeline("videotestsrc ! vaxobeautify name=beauty " + features + " ! fakesink");
}

TEST(BeautyElement, IsRegisteredOnceByAnyThread) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] { EXPECT_TRUE(RegisterBeautyElement()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const GstRef<GstElement> pipeline = Idle("");
    ASSERT_TRUE(pipeline);
    EXPECT_EQ(Get(pipeline), 0U) << "off at first";
}

TEST(BeautyElement, KeepsTheBitsItKnows) {
    EXPECT_EQ(Get(Idle("features=7")), 7U);
    const GstRef<GstElement> pipeline = Idle("features=2");
    EXPECT_EQ(Get(pipeline), 2U);
    Set(pipeline, 8 + 4);
    EXPECT_EQ(Get(pipeline), 4U);
    Set(pipeline, ~0U);
    EXPECT_EQ(Get(pipeline), 7U);
}

TEST(BeautyElement, AtZeroThePicturesPassUntouchedAndUncopied) {
    const GstRef<GstElement> pipeline = Running("");
    ASSERT_TRUE(pipeline);
    for (int i = 0; i < 3; ++i) {
        const GstSampleRef changed = Pull(pipeline, "changed");
        const GstSampleRef plain = Pull(pipeline, "plain");
        ASSERT_TRUE(changed && plain);
        EXPECT_EQ(gst_sample_get_buffer(changed.get()), gst_sample_get_buffer(plain.get()));
    }
    Stop(pipeline);
}

TEST(BeautyElement, ChangesItsOwnPicturesAlone) {
    const GstRef<GstElement> pipeline = Running("features=4");
    ASSERT_TRUE(pipeline);
    const Bytes changed = BytesOf(Pull(pipeline, "changed"));
    const Bytes plain = BytesOf(Pull(pipeline, "plain"));
    Stop(pipeline);
    ASSERT_FALSE(plain.empty());
    EXPECT_NE(changed, plain);
    const GstRef<GstElement> other = Running("");
    EXPECT_EQ(BytesOf(Pull(other, "plain")), plain) << "the other branch's buffer is not written";
    Stop(other);
}

// Pulls from both branches until a picture comes that is changed, or is not.
bool Comes(const GstRef<GstElement>& pipeline, bool wanted) {
    constexpr int kOnTheirWay = 10;  // more than fits between the element and the sink
    for (int i = 0; i < kOnTheirWay; ++i) {
        const Bytes changed = BytesOf(Pull(pipeline, "changed"));
        const Bytes plain = BytesOf(Pull(pipeline, "plain"));
        if (changed.empty() || plain.empty()) {
            return false;
        }
        if ((changed != plain) == wanted) {
            return true;
        }
    }
    return false;
}

TEST(BeautyElement, FollowsThePropertyWhilePicturesFlow) {
    const GstRef<GstElement> pipeline = Running("");
    ASSERT_TRUE(pipeline);
    EXPECT_TRUE(Comes(pipeline, false));
    Set(pipeline, 4);
    EXPECT_TRUE(Comes(pipeline, true));
    Set(pipeline, 0);
    EXPECT_TRUE(Comes(pipeline, false));
    Set(pipeline, 7);
    EXPECT_TRUE(Comes(pipeline, true));
    Stop(pipeline);
}

TEST(BeautyElement, SettingItAllTheTimeLosesNoPicture) {
    RegisterBeautyElement();
    const GstRef<GstElement> pipeline = MakePipeline(
        "videotestsrc num-buffers=200 ! video/x-raw,format=I420,width=64,height=48 ! tee name=tee"
        " ! queue ! vaxobeautify name=beauty ! appsink name=changed sync=false"
        " tee. ! queue ! fakesink sync=false");
    ASSERT_TRUE(pipeline);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    int pictures = 0;
    for (unsigned features = 0; Pull(pipeline, "changed"); features = (features + 1) % 8) {
        Set(pipeline, features);
        ++pictures;
    }
    EXPECT_EQ(pictures, 200);
    const GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    const auto trouble = static_cast<GstMessageType>(GST_MESSAGE_WARNING | GST_MESSAGE_ERROR);
    GstMessage* const message = gst_bus_pop_filtered(bus.get(), trouble);
    EXPECT_EQ(message, nullptr) << "a picture could not be written";
    if (message != nullptr) {
        gst_message_unref(message);
    }
    Stop(pipeline);
}

}  // namespace
