#include "soak/PictureMeter.h"

#include <mutex>
#include <utility>

#include <gst/gst.h>

#include "engine/base/GstRef.h"
#include "engine/live/PushHook.h"

namespace soak {

namespace {

using vaxoengine::GstCapsRef;
using vaxoengine::GstRef;

bool LeadsTo(GstPad* pad, const std::string& element) {
    const GstRef<GstPad> peer(gst_pad_get_peer(pad));
    const GstRef<GstElement> parent(peer ? gst_pad_get_parent_element(peer.get()) : nullptr);
    return parent && element == GST_OBJECT_NAME(parent.get());
}

}  // namespace

double NowMillis() {
    return static_cast<double>(g_get_monotonic_time()) / 1000;
}

struct PictureMeter::Impl {
    explicit Impl(std::string name) : element(std::move(name)) {}

    // The picture is looked at before it is handed over, the clock after that.
    void Before(GstPad* pad, GstBuffer* buffer) {
        if (GST_PAD_DIRECTION(pad) == GST_PAD_SRC && LeadsTo(pad, element)) {
            const GstCapsRef caps(gst_pad_get_current_caps(pad));
            const bool bright = caps && livetest::IsBright(buffer, caps.get());
            const std::lock_guard<std::mutex> hold(lock);
            isBright = bright;
        }
    }

    void After(GstPad* pad, GstFlowReturn flow) {
        if (flow != GST_FLOW_OK || GST_PAD_DIRECTION(pad) != GST_PAD_SRC ||
            !LeadsTo(pad, element)) {
            return;
        }
        const double now = NowMillis();
        const std::lock_guard<std::mutex> hold(lock);
        if (last >= 0 && now - last > report.gap) {
            report.gap = now - last;
            report.gapEnd = now;
        }
        last = now;
        if (isBright && !wasBright) {
            report.flashes.push_back(now);
        }
        wasBright = isBright;
    }

    const std::string element;
    std::mutex lock;  // guards the rest
    Report report;
    double last = -1;
    bool isBright = true;
    bool wasBright = true;  // a flash that has begun before is not taken
};

PictureMeter::PictureMeter(const std::string& element) : m_impl(new Impl(element)) {}

PictureMeter& PictureMeter::Watching(const std::string& element) {
    // The hooks know the object alone that they belong to: the meter is found by this.
    static PictureMeter* meter = nullptr;
    static const bool hooked = [&element] {
        meter = new PictureMeter(element);
        GstTracer* const owner = livetest::HookOwner("VaxoPictureMeterOwner");
        const auto before = [](GObject*, GstClockTime, GstPad* pad, GstBuffer* buffer) {
            meter->m_impl->Before(pad, buffer);
        };
        const auto after = [](GObject*, GstClockTime, GstPad* pad, GstFlowReturn flow) {
            meter->m_impl->After(pad, flow);
        };
        gst_tracing_register_hook(owner, "pad-push-pre", G_CALLBACK(+before));
        gst_tracing_register_hook(owner, "pad-push-post", G_CALLBACK(+after));
        return true;
    }();
    static_cast<void>(hooked);  // only that it has happened counts
    return *meter;
}

PictureMeter::Report PictureMeter::Take() {
    const double now = NowMillis();
    const std::lock_guard<std::mutex> hold(m_impl->lock);
    Report taken = std::exchange(m_impl->report, Report());
    taken.still = m_impl->last < 0 ? -1 : now - m_impl->last;
    return taken;
}

}  // namespace soak
