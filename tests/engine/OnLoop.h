// The engine's thread for tests.
#ifndef VAXO_TESTS_ENGINE_ONLOOP_H
#define VAXO_TESTS_ENGINE_ONLOOP_H

#include <future>

#include "engine/base/EngineLoop.h"

// Runs on the engine's thread and waits for it; at once on that thread itself.
template <class Job>
void OnLoop(Job job) {
    if (vaxoengine::EngineLoop::Shared().IsCurrent()) {
        job();
        return;
    }
    std::promise<void> done;
    vaxoengine::EngineLoop::Shared().Post([&] {
        job();
        done.set_value();
    });
    done.get_future().wait();
}

#endif
