#include "engine/live/AvMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>

#include <gst/audio/audio.h>
#include <gst/gst.h>

#include "Within.h"
#include "engine/base/GstRef.h"
#include "engine/live/PushHook.h"

namespace livetest {

const char* const kFlashAndBeep =
    "-f lavfi -i color=c=black:s=320x180:r=30:d=10,"
    "drawbox=c=white:t=fill:enable='lt(mod(n\\,30)\\,4)' "
    "-f lavfi -i aevalsrc='0.5*sin(2*PI*1000*t)*lt(mod(t\\,1)\\,0.1)':s=48000:d=10 "
    "-c:v libx264 -preset ultrafast -crf 20 -g 30 -pix_fmt yuv420p -c:a pcm_s16le -f matroska";

namespace {

using vaxoengine::GstCapsRef;
using vaxoengine::GstRef;

constexpr double kLoud = 0.05;
constexpr double kMillis = 1e6;  // nanoseconds
constexpr double kPairs = 400;   // a flash and its beep are nearer to each other

std::string NameOfParent(GstPad* pad) {
    const GstRef<GstElement> parent(gst_pad_get_parent_element(pad));
    return parent ? GST_OBJECT_NAME(parent.get()) : "";
}

// On the clock, in milliseconds.
double DueAt(GstPad* pad, GstClockTime stamp) {
    const GstRef<GstElement> element(gst_pad_get_parent_element(pad));
    return static_cast<double>(gst_element_get_base_time(element.get()) + stamp) / kMillis;
}

// The first loud sample, as a time within the buffer; empty when all are quiet.
std::optional<GstClockTime> FirstLoud(GstBuffer* buffer, GstCaps* caps) {
    GstAudioInfo info;
    GstMapInfo map;
    if (gst_audio_info_from_caps(&info, caps) == FALSE ||
        gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) {
        return std::nullopt;
    }
    const auto frameSize = static_cast<std::size_t>(GST_AUDIO_INFO_BPF(&info));
    const bool isFloat = GST_AUDIO_INFO_FORMAT(&info) == GST_AUDIO_FORMAT_F32LE;
    std::optional<GstClockTime> found;
    for (std::size_t at = 0; at + frameSize <= map.size && !found; at += frameSize) {
        float real = 0;
        std::int16_t whole = 0;
        if (isFloat) {
            std::memcpy(&real, map.data + at, sizeof real);
        } else {
            std::memcpy(&whole, map.data + at, sizeof whole);
            real = static_cast<float>(whole) / 32768;
        }
        if (std::fabs(real) > kLoud) {
            found = gst_util_uint64_scale(at / frameSize, GST_SECOND,
                                          static_cast<guint64>(GST_AUDIO_INFO_RATE(&info)));
        }
    }
    gst_buffer_unmap(buffer, &map);
    return found;
}

}  // namespace

struct AvMeter::Impl {
    static void OnPush(GObject* /*tracer*/, GstClockTime /*now*/, GstPad* pad, GstBuffer* buffer) {
        AvMeter::Shared().m_impl->Look(pad, buffer);
    }

    void Look(GstPad* pad, GstBuffer* buffer) {
        if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC || !GST_BUFFER_PTS_IS_VALID(buffer)) {
            return;
        }
        const GstRef<GstPad> peer(gst_pad_get_peer(pad));
        const bool picture = peer && NameOfParent(peer.get()) == "shown";
        const bool sound = !picture && NameOfParent(pad) == "volume";
        const GstCapsRef caps(picture || sound ? gst_pad_get_current_caps(pad) : nullptr);
        if (!caps) {
            return;
        }
        const std::lock_guard<std::mutex> hold(lock);
        if (picture) {
            const bool bright = IsBright(buffer, caps.get());
            if (bright && !wasBright) {
                flashes.push_back(DueAt(pad, GST_BUFFER_PTS(buffer)));
            }
            wasBright = bright;
        } else {
            const std::optional<GstClockTime> loud = FirstLoud(buffer, caps.get());
            if (loud && !wasLoud) {
                beeps.push_back(DueAt(pad, GST_BUFFER_PTS(buffer) + *loud));
            }
            wasLoud = loud.has_value();
        }
    }

    mutable std::mutex lock;
    std::vector<double> flashes;
    std::vector<double> beeps;
    bool wasBright = true;  // what has begun before is not taken
    bool wasLoud = true;
};

AvMeter::AvMeter() : m_impl(new Impl) {}

AvMeter& AvMeter::Shared() {
    static AvMeter* const meter = [] {
        gst_tracing_register_hook(HookOwner("VaxoAvMeterOwner"), "pad-push-pre",
                                  G_CALLBACK(Impl::OnPush));
        return new AvMeter;
    }();
    return *meter;
}

void AvMeter::Forget() {
    const std::lock_guard<std::mutex> hold(m_impl->lock);
    m_impl->flashes.clear();
    m_impl->beeps.clear();
    m_impl->wasBright = true;
    m_impl->wasLoud = true;
}

std::vector<double> AvMeter::Offsets() const {
    const std::lock_guard<std::mutex> hold(m_impl->lock);
    std::vector<double> offsets;
    for (const double flash : m_impl->flashes) {
        const auto beep = std::find_if(m_impl->beeps.begin(), m_impl->beeps.end(),
                                       [&](double at) { return std::fabs(at - flash) < kPairs; });
        if (beep != m_impl->beeps.end()) {
            offsets.push_back(*beep - flash);
        }
    }
    return offsets;
}

std::optional<double> AvMeter::Median(std::size_t count, std::chrono::seconds limit) {
    if (!Within(limit, [&] { return Offsets().size() >= count; })) {
        return std::nullopt;
    }
    std::vector<double> offsets = Offsets();
    const auto middle = offsets.begin() + static_cast<std::ptrdiff_t>(offsets.size() / 2);
    std::nth_element(offsets.begin(), middle, offsets.end());
    return *middle;
}

}  // namespace livetest
