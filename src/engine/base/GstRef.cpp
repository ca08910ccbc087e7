#include "engine/base/GstRef.h"

#include <mutex>
#include <utility>

#include "engine/base/EngineLoop.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";

void InitGStreamerOnce() {
    static std::once_flag once;
    std::call_once(once, [] { gst_init(nullptr, nullptr); });
}

gboolean OnBusMessage(GstBus* /*bus*/, GstMessage* message, gpointer handler) {
    // A copy runs, because the handler may destroy the watch.
    const auto run = *static_cast<std::function<void(GstMessage*)>*>(handler);
    run(message);
    return G_SOURCE_CONTINUE;
}

void DeleteHandler(gpointer handler) {
    delete static_cast<std::function<void(GstMessage*)>*>(handler);
}

}  // namespace

GstRef<GstElement> MakePipeline(const std::string& text) {
    InitGStreamerOnce();
    GError* error = nullptr;
    GstElement* const made =
        gst_parse_launch_full(text.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
    if (error != nullptr) {
        syslog(esyslog_error, kTag, __LINE__, "cannot build a pipeline: %s", error->message);
        g_error_free(error);
    }
    if (made == nullptr) {
        return nullptr;
    }
    gst_object_ref_sink(made);
    GstRef<GstElement> pipeline(made);
    if (GST_IS_PIPELINE(made)) {
        GstClock* const clock = gst_system_clock_obtain();
        gst_pipeline_use_clock(GST_PIPELINE(made), clock);
        gst_object_unref(clock);
    }
    return pipeline;
}

GstRef<GstElement> Find(const GstRef<GstElement>& bin, const char* name) {
    return GstRef<GstElement>(gst_bin_get_by_name(GST_BIN(bin.get()), name));
}

BusWatch::BusWatch(GstElement* pipeline, std::function<void(GstMessage*)> onMessage) {
    GstBus* const bus = gst_element_get_bus(pipeline);
    m_source = gst_bus_create_watch(bus);
    gst_object_unref(bus);
    g_source_set_callback(m_source, G_SOURCE_FUNC(OnBusMessage),
                          new std::function<void(GstMessage*)>(std::move(onMessage)),
                          DeleteHandler);
    g_source_attach(m_source, EngineLoop::Shared().Context());
}

BusWatch::~BusWatch() {
    g_source_destroy(m_source);
    g_source_unref(m_source);
}

std::string WithoutSignatures(const std::string& text) {
    std::string result;
    bool skipping = false;
    for (const char c : text) {
        if (c == '?') {
            result += "?...";
            skipping = true;
        } else if (c == ' ' || c == '\n' || c == '\'' || c == '"' || c == ')') {
            skipping = false;
        }
        if (!skipping) {
            result += c == '\n' ? ' ' : c;
        }
    }
    return result;
}

std::string ErrorText(GstMessage* message) {
    GError* error = nullptr;
    gchar* debug = nullptr;
    gst_message_parse_error(message, &error, &debug);
    std::string text = GST_OBJECT_NAME(GST_MESSAGE_SRC(message));
    text += std::string(": ") + (error != nullptr ? error->message : "") + " (" +
            (debug != nullptr ? debug : "") + ")";
    g_clear_error(&error);
    g_free(debug);
    return WithoutSignatures(text);
}

}  // namespace vaxoengine
