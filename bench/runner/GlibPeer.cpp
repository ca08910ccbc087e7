#include "runner/GlibPeer.h"

#include <utility>

namespace vaxoengine {

namespace {

gboolean RunJob(gpointer job) {
    (*static_cast<Job*>(job))();
    return G_SOURCE_REMOVE;
}

void FreeJob(gpointer job) {
    delete static_cast<Job*>(job);
}

}  // namespace

GlibPeer::GlibPeer()
    : m_context(g_main_context_new()),
      m_loop(g_main_loop_new(m_context, FALSE)),
      m_thread([this] { Run(); }) {}

// The loop is ended by a job: to quit it before it began would do nothing.
GlibPeer::~GlibPeer() {
    Post([this] { g_main_loop_quit(m_loop); });
    m_thread.join();
    g_main_loop_unref(m_loop);
    g_main_context_unref(m_context);
}

void GlibPeer::Run() {
    g_main_context_push_thread_default(m_context);
    g_main_loop_run(m_loop);
    g_main_context_pop_thread_default(m_context);
}

// What g_main_context_invoke_full does on a thread that does not own the context, without its
// look whether it does: that would run a job of the context's own thread inline. The priority
// is that of invoke, not the lower one of idle sources.
void GlibPeer::Post(Job job) {
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, &RunJob, new Job(std::move(job)), &FreeJob);
    g_source_attach(source, m_context);
    g_source_unref(source);
}

void GlibPeer::Call(Job job) {
    CallByEvent(*this, std::move(job));
}

}  // namespace vaxoengine
