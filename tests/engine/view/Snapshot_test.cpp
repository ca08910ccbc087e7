#include "engine/view/Snapshot.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <gst/video/video.h>
#include <gtest/gtest.h>

#include "engine/base/GstRef.h"

namespace {

using vaxoengine::GstCapsRef;
using vaxoengine::GstSampleRef;
using vaxoengine::Snapshot;
using vaxoengine::TakeSnapshot;
using Bytes = std::vector<unsigned char>;

GstSampleRef MakeSample(const char* capsText, const Bytes& bytes) {
    gst_init(nullptr, nullptr);
    const GstCapsRef caps(gst_caps_from_string(capsText));
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, bytes.size(), nullptr);
    gst_buffer_fill(buffer, 0, bytes.data(), bytes.size());
    GstSample* const sample = gst_sample_new(buffer, caps.get(), nullptr, nullptr);
    gst_buffer_unref(buffer);
    return GstSampleRef(sample);
}

const unsigned char* PixelAt(const Snapshot& snapshot, int x, int y) {
    return snapshot.image.data + y * snapshot.image.stride + x * 4;
}

void ExpectPixel(const Snapshot& snapshot, int x, int y, int red, int green, int blue) {
    const unsigned char* const pixel = PixelAt(snapshot, x, y);
    // Rounding of the colour conversion.
    constexpr int kNear = 3;
    EXPECT_NEAR(pixel[0], red, kNear) << "red at " << x << "," << y;
    EXPECT_NEAR(pixel[1], green, kNear) << "green at " << x << "," << y;
    EXPECT_NEAR(pixel[2], blue, kNear) << "blue at " << x << "," << y;
    EXPECT_EQ(pixel[3], 255) << "alpha at " << x << "," << y;
}

TEST(Snapshot, AnI420PictureKeepsItsColours) {
    // 4 x 4, lines of the colour planes padded to 4 bytes: left half red, right half blue (BT.601).
    Bytes bytes = {81, 81, 41, 41, 81, 81, 41, 41, 81, 81, 41, 41, 81, 81, 41, 41};
    const Bytes u = {90, 240, 0, 0, 90, 240, 0, 0};
    const Bytes v = {240, 110, 0, 0, 240, 110, 0, 0};
    bytes.insert(bytes.end(), u.begin(), u.end());
    bytes.insert(bytes.end(), v.begin(), v.end());
    const GstSampleRef sample = MakeSample(
        "video/x-raw,format=I420,width=4,height=4,framerate=30/1,colorimetry=bt601", bytes);
    Snapshot snapshot;
    ASSERT_TRUE(TakeSnapshot(sample.get(), 17, snapshot));
    EXPECT_EQ(snapshot.image.size, sizeof(snapshot.image));
    EXPECT_EQ(snapshot.image.width, 4);
    EXPECT_EQ(snapshot.image.height, 4);
    EXPECT_EQ(snapshot.image.format, Strova::VaxoLiveImage_RGBA);
    EXPECT_EQ(snapshot.image.time, 17U);
    EXPECT_EQ(snapshot.image.data, snapshot.pixels.data());
    EXPECT_EQ(snapshot.pixels.size(), static_cast<size_t>(snapshot.image.stride * 4));
    ExpectPixel(snapshot, 0, 0, 254, 0, 0);
    ExpectPixel(snapshot, 3, 3, 0, 0, 255);
}

TEST(Snapshot, ANv12PictureOfOddSizeHasEveryPixel) {
    // 3 x 3, padded to 4 lines of 4 bytes: white, but the pixel at the bottom right is black.
    Bytes bytes = {235, 235, 235, 0, 235, 235, 235, 0, 235, 235, 16, 0, 0, 0, 0, 0};
    bytes.resize(bytes.size() + 8, 128);
    const GstSampleRef sample = MakeSample(
        "video/x-raw,format=NV12,width=3,height=3,framerate=30/1,colorimetry=bt601", bytes);
    Snapshot snapshot;
    ASSERT_TRUE(TakeSnapshot(sample.get(), 0, snapshot));
    EXPECT_EQ(snapshot.image.width, 3);
    EXPECT_EQ(snapshot.image.height, 3);
    EXPECT_GE(snapshot.image.stride, 3 * 4);
    ExpectPixel(snapshot, 0, 0, 255, 255, 255);
    ExpectPixel(snapshot, 2, 1, 255, 255, 255);
    ExpectPixel(snapshot, 2, 2, 0, 0, 0);
}

TEST(Snapshot, AnRgbaPictureIsCopiedWithoutItsTransparency) {
    const Bytes bytes = {1, 2, 3, 128, 250, 100, 50, 0};
    const GstSampleRef sample =
        MakeSample("video/x-raw,format=RGBA,width=2,height=1,framerate=0/1", bytes);
    Snapshot snapshot;
    ASSERT_TRUE(TakeSnapshot(sample.get(), 0, snapshot));
    ExpectPixel(snapshot, 0, 0, 1, 2, 3);
    ExpectPixel(snapshot, 1, 0, 250, 100, 50);
}

TEST(Snapshot, LinesWithPaddingInTheBufferAreReadAtTheirOwnStride) {
    // 2 x 2 of RGBA in lines of 16 bytes, which only the buffer's own description tells.
    Bytes bytes(32, 99);
    const Bytes first = {10, 20, 30, 255, 40, 50, 60, 255};
    const Bytes second = {70, 80, 90, 255, 100, 110, 120, 255};
    std::copy(first.begin(), first.end(), bytes.begin());
    std::copy(second.begin(), second.end(), bytes.begin() + 16);
    const GstSampleRef sample =
        MakeSample("video/x-raw,format=RGBA,width=2,height=2,framerate=30/1", bytes);
    gsize offsets[GST_VIDEO_MAX_PLANES] = {};
    gint strides[GST_VIDEO_MAX_PLANES] = {16};
    gst_buffer_add_video_meta_full(gst_sample_get_buffer(sample.get()), GST_VIDEO_FRAME_FLAG_NONE,
                                   GST_VIDEO_FORMAT_RGBA, 2, 2, 1, offsets, strides);
    Snapshot snapshot;
    ASSERT_TRUE(TakeSnapshot(sample.get(), 0, snapshot));
    ExpectPixel(snapshot, 1, 0, 40, 50, 60);
    ExpectPixel(snapshot, 0, 1, 70, 80, 90);
}

TEST(Snapshot, WhatIsNoPictureIsRefusedAndLeavesTheOldOne) {
    Snapshot snapshot;
    snapshot.pixels = {1, 2, 3, 4};
    EXPECT_FALSE(TakeSnapshot(nullptr, 0, snapshot));
    const GstSampleRef sound = MakeSample("audio/x-raw,format=S16LE,rate=8000,channels=1", {0, 0});
    EXPECT_FALSE(TakeSnapshot(sound.get(), 0, snapshot));
    const GstSampleRef cut =
        MakeSample("video/x-raw,format=I420,width=640,height=480,framerate=30/1", Bytes(100, 0));
    EXPECT_FALSE(TakeSnapshot(cut.get(), 0, snapshot)) << "a buffer too short for its picture";
    const GstSampleRef huge =
        MakeSample("video/x-raw,format=GRAY8,width=30000,height=1,framerate=30/1", Bytes(30000, 0));
    EXPECT_FALSE(TakeSnapshot(huge.get(), 0, snapshot)) << "a side that no stream has";
    EXPECT_EQ(snapshot.pixels.size(), 4U);
}

}  // namespace
