#include "engine/EngineExit.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <utility>

#include "engine/base/EngineLoop.h"

namespace vaxoengine {

namespace {

constexpr std::chrono::seconds kPatience{2};

struct Shutdown {
    std::function<void()> run;
    pid_t process = 0;
};

// Never destroyed: read when everything else has been.
Shutdown& TheShutdown() {
    static auto* const shutdown = new Shutdown;
    return *shutdown;
}

void OnExit() {
    // A forked child has no engine's thread to wait for.
    if (getpid() != TheShutdown().process || EngineLoop::Shared().IsCurrent()) {
        return;
    }
    // Shared, because the job may run after the wait was given up.
    const auto done = std::make_shared<std::promise<void>>();
    std::future<void> over = done->get_future();
    EngineLoop::Shared().Post([done] {
        TheShutdown().run();
        done->set_value();
    });
    over.wait_for(kPatience);
}

}  // namespace

void AtProcessExit(std::function<void()> shutdown) {
    static std::once_flag once;
    std::call_once(once, [&] {
        TheShutdown() = {std::move(shutdown), getpid()};
        std::atexit(OnExit);
    });
}

}  // namespace vaxoengine
