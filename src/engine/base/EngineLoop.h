// The engine's thread: one for the process, made on first use, never ended.
//
// Everything the engine owns is touched on this thread alone: pipelines change their
// state here, buses and timers are served here. Engine calls leave a job behind and
// return. The thread never waits for an event to be delivered.
//
// Post may be called from any thread, jobs run in the order posted. A job must not throw
// and must not take long. Timers and the rest: on the engine's thread only.
#ifndef VAXO_ENGINE_BASE_ENGINELOOP_H
#define VAXO_ENGINE_BASE_ENGINELOOP_H

#include <chrono>
#include <functional>
#include <memory>

#include <glib.h>

namespace vaxoengine {

class EngineLoop {
public:
    ~EngineLoop() = delete;
    static EngineLoop& Shared();

    void Post(std::function<void()> job);
    bool IsCurrent() const;
    // For bus watches and other sources of GLib.
    GMainContext* Context() const;

private:
    EngineLoop();
    struct Impl;
    Impl* m_impl;
};

// A timer of the engine's thread. Destroying it, or starting it again, cancels what has
// not run. The job may destroy its own timer.
class EngineTimer {
public:
    EngineTimer();
    ~EngineTimer();
    EngineTimer(const EngineTimer&) = delete;
    EngineTimer& operator=(const EngineTimer&) = delete;

    void Once(std::chrono::milliseconds after, std::function<void()> job);
    void Every(std::chrono::milliseconds period, std::function<void()> job);
    void Stop();
    bool Running() const;

private:
    GSource* m_source = nullptr;
};

}  // namespace vaxoengine

#endif
