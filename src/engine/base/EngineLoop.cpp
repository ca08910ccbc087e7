#include "engine/base/EngineLoop.h"

#include <thread>
#include <utility>

#include "vaxothread.h"

namespace vaxoengine {

namespace {

using Job = std::function<void()>;

gboolean RunOnce(gpointer job) {
    (*static_cast<Job*>(job))();
    return G_SOURCE_REMOVE;
}

gboolean RunAgain(gpointer job) {
    (*static_cast<Job*>(job))();
    return G_SOURCE_CONTINUE;
}

void DeleteJob(gpointer job) {
    delete static_cast<Job*>(job);
}

void Attach(GSource* source, GMainContext* context, GSourceFunc run, Job job) {
    // GLib owns it through its destroy notification.
    auto* owned = new Job(std::move(job));
    g_source_set_callback(source, run, owned, DeleteJob);
    g_source_attach(source, context);
}

}  // namespace

struct EngineLoop::Impl {
    GMainContext* context = g_main_context_new();
    std::thread::id thread;
};

EngineLoop& EngineLoop::Shared() {
    // Never destroyed: the thread runs on while the process ends.
    static auto* const loop = new EngineLoop;
    return *loop;
}

EngineLoop::EngineLoop() : m_impl(new Impl) {
    Impl* const impl = m_impl;
    std::thread thread([impl] {
        vaxothread_set_name("vaxo-engine");
        g_main_context_push_thread_default(impl->context);
        while (true) {
            g_main_context_iteration(impl->context, TRUE);
        }
    });
    impl->thread = thread.get_id();
    thread.detach();
}

void EngineLoop::Post(Job job) {
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    Attach(source, m_impl->context, RunOnce, std::move(job));
    g_source_unref(source);
}

bool EngineLoop::IsCurrent() const {
    return std::this_thread::get_id() == m_impl->thread;
}

GMainContext* EngineLoop::Context() const {
    return m_impl->context;
}

EngineTimer::EngineTimer() = default;

EngineTimer::~EngineTimer() {
    Stop();
}

void EngineTimer::Once(std::chrono::milliseconds after, Job job) {
    Stop();
    m_source = g_timeout_source_new(static_cast<guint>(after.count()));
    GSource* const mine = m_source;
    // Lets go of the source first: the job may start the timer again, or destroy it.
    Attach(mine, EngineLoop::Shared().Context(), RunOnce, [this, job = std::move(job)] {
        Job run = job;
        Stop();
        run();
    });
}

void EngineTimer::Every(std::chrono::milliseconds period, Job job) {
    Stop();
    m_source = g_timeout_source_new(static_cast<guint>(period.count()));
    // A copy runs, because the job may destroy the timer and itself with it.
    Attach(m_source, EngineLoop::Shared().Context(), RunAgain, [job = std::move(job)] {
        Job run = job;
        run();
    });
}

void EngineTimer::Stop() {
    if (m_source != nullptr) {
        GSource* const source = std::exchange(m_source, nullptr);
        g_source_destroy(source);
        g_source_unref(source);
    }
}

bool EngineTimer::Running() const {
    return m_source != nullptr;
}

}  // namespace vaxoengine
