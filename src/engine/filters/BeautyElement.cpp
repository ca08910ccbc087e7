#include "engine/filters/BeautyElement.h"

#include <atomic>
#include <utility>

#include <gst/gst.h>
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include "engine/filters/BeautyFilter.h"

namespace vaxoengine {

namespace {

constexpr guint kPropFeatures = 1;

struct State {
    std::atomic<unsigned> wanted{0};  // any thread
    unsigned now = 0;                 // of the picture that passes: the streaming thread alone
    BeautyFilter filter;              // likewise
};

// The library allocates it, and only knows C: what has a constructor stands behind a pointer.
struct Element {
    GstVideoFilter parent;
    State* state;
};

// The library's types are C structures that begin with their parent's.
template <class Instance>
State& StateOf(Instance* instance) {
    return *reinterpret_cast<Element*>(instance)->state;
}

Picture PictureOf(GstVideoFrame* frame) {
    const auto plane = [&](guint i) { return static_cast<unsigned char*>(frame->data[i]); };
    return {plane(0),
            plane(1),
            plane(2),
            GST_VIDEO_FRAME_WIDTH(frame),
            GST_VIDEO_FRAME_HEIGHT(frame),
            GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0),
            GST_VIDEO_FRAME_PLANE_STRIDE(frame, 1),
            GST_VIDEO_FRAME_PLANE_STRIDE(frame, 2)};
}

// Before each picture, on the streaming thread: whether a picture is passed on or changed must
// not turn over between the base class's own looks at it.
void BeforeTransform(GstBaseTransform* transform, GstBuffer* /*unused*/) {
    State& state = StateOf(transform);
    state.now = state.wanted;
    gst_base_transform_set_passthrough(transform, state.now == 0 ? TRUE : FALSE);
}

GstFlowReturn TransformFrame(GstVideoFilter* filter, GstVideoFrame* frame) {
    State& state = StateOf(filter);
    state.filter.Apply(state.now, PictureOf(frame));
    return GST_FLOW_OK;
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
    if (id == kPropFeatures) {
        StateOf(object).wanted = g_value_get_uint(value) & BeautyFilter::kAll;
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    if (id == kPropFeatures) {
        g_value_set_uint(value, StateOf(object).wanted);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void Finalize(GObject* object) {
    delete &StateOf(object);
    void* const type = g_type_class_peek(gst_video_filter_get_type());
    static_cast<GObjectClass*>(type)->finalize(object);
}

void InitClass(gpointer type, gpointer /*unused*/) {
    auto* const object = static_cast<GObjectClass*>(type);
    object->set_property = SetProperty;
    object->get_property = GetProperty;
    object->finalize = Finalize;
    constexpr auto kAccess = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                      GST_PARAM_CONTROLLABLE);
    g_object_class_install_property(
        object, kPropFeatures,
        g_param_spec_uint("features", "Features", "1 smooth, 2 whiten, 4 sharpen: their sum", 0,
                          G_MAXUINT, 0, kAccess));

    auto* const element = static_cast<GstElementClass*>(type);
    GstCaps* const caps = gst_caps_from_string(GST_VIDEO_CAPS_MAKE("I420"));
    for (const auto& [name, direction] :
         {std::pair{"sink", GST_PAD_SINK}, std::pair{"src", GST_PAD_SRC}}) {
        gst_element_class_add_pad_template(
            element, gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps));
    }
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, "Beautifier", "Filter/Effect/Video",
                                          "Smooths and whitens skin, sharpens outlines",
                                          "vaxolive");

    auto* const transform = static_cast<GstBaseTransformClass*>(type);
    transform->before_transform = BeforeTransform;
    transform->transform_ip_on_passthrough = FALSE;
    static_cast<GstVideoFilterClass*>(type)->transform_frame_ip = TransformFrame;
}

void InitInstance(GTypeInstance* instance, gpointer /*unused*/) {
    auto* const element = reinterpret_cast<Element*>(instance);
    element->state = new State;
    GstBaseTransform* const transform = GST_BASE_TRANSFORM(instance);
    gst_base_transform_set_passthrough(transform, TRUE);
    gst_base_transform_set_qos_enabled(transform, FALSE);
}

bool Register() {
    gst_init(nullptr, nullptr);
    GTypeInfo info{};
    info.class_size = sizeof(GstVideoFilterClass);
    info.class_init = InitClass;
    info.instance_size = sizeof(Element);
    info.instance_init = InitInstance;
    const GType type =
        g_type_register_static(GST_TYPE_VIDEO_FILTER, "VaxoBeautify", &info, GTypeFlags{});
    return type != 0 && gst_element_register(nullptr, kBeautyElement, GST_RANK_NONE, type) != FALSE;
}

}  // namespace

bool RegisterBeautyElement() {
    static const bool registered = Register();
    return registered;
}

}  // namespace vaxoengine
