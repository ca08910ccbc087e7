#include "engine/show/LiveOptions.h"

#include <atomic>

#include "VaxoLiveOptions.h"

namespace {

std::atomic<bool> s_adaptive{true};

}  // namespace

namespace vaxoengine {

bool IsAdaptive() {
    return s_adaptive;
}

}  // namespace vaxoengine

namespace Strova {

void VaxoLiveSetAdaptive(bool adaptive) {
    s_adaptive = adaptive;
}

}  // namespace Strova
