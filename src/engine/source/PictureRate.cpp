#include "engine/source/PictureRate.h"

#include <algorithm>

namespace vaxoengine {

namespace {

GstPadProbeReturn DropSurplus(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer rate) {
    const GstClockTime stamp = GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info));
    return static_cast<PictureRate*>(rate)->Passes(stamp) ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
}

void DeleteRate(gpointer rate) {
    delete static_cast<PictureRate*>(rate);
}

}  // namespace

bool PictureRate::Passes(GstClockTime stamp) {
    if (!GST_CLOCK_TIME_IS_VALID(stamp)) {
        return true;
    }
    if (stamp < m_last) {
        m_due = stamp;
    }
    m_last = stamp;
    if (stamp + m_period < m_due) {
        return false;
    }
    m_due = std::max(m_due, stamp) + m_period;
    return true;
}

void LimitPictureRate(const GstRef<GstElement>& bin, const char* name, int fps) {
    const GstRef<GstElement> element = Find(bin, name);
    GstPad* const pad = gst_element_get_static_pad(element.get(), "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, DropSurplus, new PictureRate(fps),
                      DeleteRate);
    gst_object_unref(pad);
}

GstCaps* WithHighestRate(GstCaps* caps, int fps) {
    int over = 0;
    int under = 1;
    const GstStructure* const now = gst_caps_get_structure(caps, 0);
    const bool known = gst_structure_get_fraction(now, "framerate", &over, &under) != FALSE &&
                       over > 0 && under > 0;
    if (known && gst_util_fraction_compare(over, under, fps, 1) <= 0) {
        return caps;
    }
    GstCaps* const lowered = gst_caps_make_writable(caps);
    gst_caps_set_simple(lowered, "framerate", GST_TYPE_FRACTION, fps, 1, nullptr);
    return lowered;
}

}  // namespace vaxoengine
