// Owning pointers to GStreamer and GLib objects, and the few calls that every pipeline
// of the engine needs.
#ifndef VAXO_ENGINE_BASE_GSTREF_H
#define VAXO_ENGINE_BASE_GSTREF_H

#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

namespace vaxoengine {

struct GstObjectUnref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};
struct GstSampleUnref {
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
struct GstCapsUnref {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
// Made with a floating reference sunk, or taken over from a call that transfers one.
template <class T>
using GstRef = std::unique_ptr<T, GstObjectUnref>;
using GstSampleRef = std::unique_ptr<GstSample, GstSampleUnref>;
using GstCapsRef = std::unique_ptr<GstCaps, GstCapsUnref>;

// A pipeline from gst-launch text, running on the clock that all pipelines of the engine
// share (the system's monotonic one). Empty when the text cannot be built (a missing
// plug-in, say); the log then has the reason. Never put an address with a signature or
// anything that came from outside into the text: set it as a property.
GstRef<GstElement> MakePipeline(const std::string& text);
// The element of that name in a bin; empty if there is none.
GstRef<GstElement> Find(const GstRef<GstElement>& bin, const char* name);

// Serves a pipeline's bus on the engine's thread while it lives. `onMessage` may destroy the
// watch, and the pipeline.
class BusWatch {
public:
    BusWatch(GstElement* pipeline, std::function<void(GstMessage*)> onMessage);
    ~BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;

private:
    GSource* m_source;
};

// What an error message says: "element: text (debug)" shortened to one line, with
// everything behind a "?" of an address left out, because a signature stands there.
std::string ErrorText(GstMessage* message);
// The same for any text.
std::string WithoutSignatures(const std::string& text);

}  // namespace vaxoengine

#endif
