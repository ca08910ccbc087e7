#include "engine/view/Snapshot.h"

#include <cstddef>
#include <memory>
#include <utility>

#include <gst/video/video.h>

namespace vaxoengine {

namespace {

// A picture's side that a decoder of this engine can produce; what is larger is damage.
constexpr int kMaxSide = 8192;

struct ConverterFree {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
};
using ConverterRef = std::unique_ptr<GstVideoConverter, ConverterFree>;

struct BufferUnref {
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using BufferRef = std::unique_ptr<GstBuffer, BufferUnref>;

// A picture's memory, readable or writable while this lives.
class MappedFrame {
public:
    MappedFrame(const GstVideoInfo& info, GstBuffer* buffer, GstMapFlags flags)
        : m_mapped(gst_video_frame_map(&m_frame, &info, buffer, flags) != FALSE) {}
    ~MappedFrame() {
        if (m_mapped) {
            gst_video_frame_unmap(&m_frame);
        }
    }
    MappedFrame(const MappedFrame&) = delete;
    MappedFrame& operator=(const MappedFrame&) = delete;

    GstVideoFrame* Get() { return m_mapped ? &m_frame : nullptr; }

private:
    GstVideoFrame m_frame{};
    bool m_mapped;
};

bool ReadInfo(GstSample* sample, GstVideoInfo& info) {
    GstCaps* const caps = sample != nullptr ? gst_sample_get_caps(sample) : nullptr;
    if (caps == nullptr || gst_sample_get_buffer(sample) == nullptr ||
        gst_video_info_from_caps(&info, caps) == FALSE) {
        return false;
    }
    return info.width > 0 && info.height > 0 && info.width <= kMaxSide && info.height <= kMaxSide;
}

// RGBA of the same size and frame rate: a converter changes neither.
ConverterRef MakeConverter(GstVideoInfo& from, GstVideoInfo& to) {
    if (gst_video_info_set_format(&to, GST_VIDEO_FORMAT_RGBA, static_cast<guint>(from.width),
                                  static_cast<guint>(from.height)) == FALSE) {
        return nullptr;
    }
    to.fps_n = from.fps_n;
    to.fps_d = from.fps_d;
    to.interlace_mode = from.interlace_mode;
    return ConverterRef(gst_video_converter_new(&from, &to, nullptr));
}

// The converter copies a picture of the same format as it is, transparency included.
void MakeOpaque(std::vector<unsigned char>& rgba) {
    for (size_t alpha = 3; alpha < rgba.size(); alpha += 4) {
        rgba[alpha] = 255;
    }
}

}  // namespace

bool TakeSnapshot(GstSample* sample, uint64 time, Snapshot& out) {
    GstVideoInfo from;
    GstVideoInfo to;
    if (!ReadInfo(sample, from)) {
        return false;
    }
    const ConverterRef converter = MakeConverter(from, to);
    if (converter == nullptr) {
        return false;
    }
    std::vector<unsigned char> pixels(to.size);
    {
        const BufferRef memory(gst_buffer_new_wrapped_full(
            static_cast<GstMemoryFlags>(0), pixels.data(), to.size, 0, to.size, nullptr, nullptr));
        MappedFrame source(from, gst_sample_get_buffer(sample), GST_MAP_READ);
        MappedFrame target(to, memory.get(), GST_MAP_WRITE);
        if (source.Get() == nullptr || target.Get() == nullptr) {
            return false;
        }
        gst_video_converter_frame(converter.get(), source.Get(), target.Get());
    }
    MakeOpaque(pixels);
    out.pixels = std::move(pixels);
    out.image.size = sizeof(out.image);
    out.image.width = to.width;
    out.image.height = to.height;
    out.image.stride = to.stride[0];
    out.image.format = Strova::VaxoLiveImage_RGBA;
    out.image.data = out.pixels.data();
    out.image.time = time;
    return true;
}

}  // namespace vaxoengine
