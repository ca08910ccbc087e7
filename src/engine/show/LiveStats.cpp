#include "engine/show/LiveStats.h"

#include <mutex>

namespace {

struct Kept {
    std::mutex lock;
    Strova::VaxoLiveStats stats;
};

// Never destroyed: the engine's thread runs on while the process ends.
Kept& TheKept() {
    static auto* const kept = new Kept;
    return *kept;
}

}  // namespace

namespace vaxoengine {

void SetLiveStats(const Strova::VaxoLiveStats& stats) {
    Kept& kept = TheKept();
    const std::lock_guard<std::mutex> hold(kept.lock);
    kept.stats = stats;
}

}  // namespace vaxoengine

namespace Strova {

VaxoLiveStats VaxoLiveGetStats() {
    Kept& kept = TheKept();
    const std::lock_guard<std::mutex> hold(kept.lock);
    return kept.stats;
}

}  // namespace Strova
