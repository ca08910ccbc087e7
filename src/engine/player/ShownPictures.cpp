#include "engine/player/ShownPictures.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <gst/video/video.h>

#include "engine/source/ClockStamp.h"

namespace vaxoengine {

namespace {

// More than that is not a picture's age but two clocks that differ.
constexpr std::int32_t kMaxAgeMillis = 10 * 60 * 1000;

uint64 MicrosSince1970() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

// A plane of brightness with one byte a pixel comes first.
bool HasLumaPlane(const GstVideoInfo& info) {
    const GstVideoFormatInfo* const format = info.finfo;
    return (GST_VIDEO_FORMAT_INFO_IS_YUV(format) || GST_VIDEO_FORMAT_INFO_IS_GRAY(format)) &&
           GST_VIDEO_FORMAT_INFO_DEPTH(format, 0) == 8 &&
           GST_VIDEO_FORMAT_INFO_PSTRIDE(format, 0) == 1;
}

bool ReadStamp(GstBuffer* picture, const GstVideoInfo& info, std::uint32_t& millis) {
    GstVideoFrame frame;
    if (!HasLumaPlane(info) || gst_video_frame_map(&frame, &info, picture, GST_MAP_READ) == FALSE) {
        return false;
    }
    const bool found =
        ReadClockStamp(static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                       info.width, info.height, GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0), 1, millis);
    gst_video_frame_unmap(&frame);
    return found;
}

// -1: none that can be told.
int AgeMillis(std::uint32_t stamp, uint64 micros) {
    const auto age = static_cast<std::int32_t>(static_cast<std::uint32_t>(micros / 1000) - stamp);
    if (age < -kMaxAgeMillis || age > kMaxAgeMillis) {
        return -1;
    }
    return std::max(age, 0);
}

}  // namespace

ShownPictures::News ShownPictures::Shown(GstBuffer* picture, GstCaps* caps) {
    const uint64 now = MicrosSince1970();
    News news;
    GstVideoInfo info;
    if (caps == nullptr || gst_video_info_from_caps(&info, caps) == FALSE) {
        return news;
    }
    std::uint32_t stamp = 0;
    const int age = ReadStamp(picture, info, stamp) ? AgeMillis(stamp, now) : -1;
    GstSampleRef sample(gst_sample_new(picture, caps, nullptr, nullptr));

    const std::lock_guard<std::mutex> lock(m_mutex);
    news.first = m_count == 0;
    news.size = info.width != m_width || info.height != m_height;
    news.width = m_width = info.width;
    news.height = m_height = info.height;
    m_latency = age >= 0 ? age : m_latency;
    m_time = now;
    ++m_count;
    m_last = std::move(sample);
    return news;
}

uint64 ShownPictures::Count() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_count;
}

int ShownPictures::LatencyMillis() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_latency;
}

bool ShownPictures::Last(Snapshot& out) const {
    GstSampleRef sample;
    uint64 time = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_last == nullptr) {
            return false;
        }
        sample.reset(gst_sample_ref(m_last.get()));
        time = m_time;
    }
    return TakeSnapshot(sample.get(), time, out);
}

}  // namespace vaxoengine
