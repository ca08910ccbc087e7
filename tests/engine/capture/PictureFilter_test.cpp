#include "engine/capture/PictureFilter.h"

#include <cstdlib>

#include <gst/app/gstappsink.h>
#include <gtest/gtest.h>

#include "engine/base/GstRef.h"

namespace {

using namespace vaxoengine;

// Mean difference of neighbours in the luma of snow that went past the filter on one
// branch, and past nothing on the other; both come from the same buffers.
struct Roughness {
    double filtered = 0;
    double other = 0;
};

double Measure(GstElement* sink, int width) {
    const GstSampleRef sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 20 * GST_SECOND));
    if (!sample) {
        return -1;
    }
    GstMapInfo map;
    gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ);
    double sum = 0;
    for (int i = 1; i < width * 90; ++i) {
        sum += std::abs(map.data[i] - map.data[i - 1]);
    }
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
    return sum / (width * 90);
}

Roughness Filtered(const char* format, int look) {
    const GstRef<GstElement> pipeline = MakePipeline(
        std::string("videotestsrc pattern=snow num-buffers=1 ! video/x-raw,width=160,height=90,"
                    "format=") +
        format +
        " ! tee name=tee ! queue ! identity name=at ! appsink name=filtered sync=false "
        "tee. ! queue ! appsink name=other sync=false");
    EXPECT_TRUE(pipeline);
    GstPad* const pad = gst_element_get_static_pad(Find(pipeline, "at").get(), "sink");
    PictureFilter filter(pad);
    gst_object_unref(pad);
    filter.SetLook(look);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    Roughness result;
    result.filtered = Measure(Find(pipeline, "filtered").get(), 160);
    result.other = Measure(Find(pipeline, "other").get(), 160);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return result;
}

TEST(PictureFilter, ChangesNothingUntilItIsTold) {
    const Roughness rough = Filtered("I420", 0);
    EXPECT_GT(rough.filtered, 10);
    EXPECT_EQ(rough.filtered, rough.other);
}

TEST(PictureFilter, ChangesItsOwnBranchAlone) {
    const Roughness plain = Filtered("I420", 0);
    // "faded" has less contrast.
    const Roughness faded = Filtered("I420", 8);
    EXPECT_LT(faded.filtered, plain.filtered * 0.85);
    EXPECT_NEAR(faded.other, plain.other, plain.other * 0.05);
}

TEST(PictureFilter, LeavesOtherFormatsAlone) {
    const Roughness rough = Filtered("RGB", 8);
    EXPECT_EQ(rough.filtered, rough.other);
}

}  // namespace
