// Key frames on request, with a limit on how often: they cost several times what other
// pictures do. A request within kKeyFrameSpacing of the last key frame that was asked for here
// is granted when that time is over, together with all others that came meanwhile.
// Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_KEYFRAMEGATE_H
#define VAXO_ENGINE_SHOW_KEYFRAMEGATE_H

#include <chrono>
#include <functional>
#include <utility>

#include "engine/base/EngineLoop.h"

namespace vaxoengine {

constexpr std::chrono::milliseconds kKeyFrameSpacing{400};

class KeyFrameGate {
public:
    explicit KeyFrameGate(std::function<void()> force) : m_force(std::move(force)) {}

    void Ask() {
        if (m_spacing.Running()) {
            m_wanted = true;
            return;
        }
        m_force();
        m_spacing.Once(kKeyFrameSpacing, [this] {
            if (std::exchange(m_wanted, false)) {
                Ask();
            }
        });
    }

private:
    const std::function<void()> m_force;
    bool m_wanted = false;
    EngineTimer m_spacing;
};

}  // namespace vaxoengine

#endif
