#include "engine/base/Backoff.h"

#include <algorithm>
#include <random>
#include <utility>

namespace vaxoengine {

namespace {

using std::chrono::milliseconds;

Backoff::Draw SystemDraw() {
    return [generator = std::minstd_rand(std::random_device()())]() mutable {
        return std::uniform_real_distribution<double>(0, 1)(generator);
    };
}

}  // namespace

Backoff::Backoff(BackoffLimits limits, Draw draw)
    : m_limits(limits), m_draw(draw ? std::move(draw) : SystemDraw()), m_bound(limits.first) {}

std::optional<milliseconds> Backoff::Next(milliseconds gone) {
    const auto half = static_cast<double>(m_bound.count()) / 2;
    const milliseconds drawn(static_cast<milliseconds::rep>(half + half * m_draw()));
    const milliseconds pause = std::max(drawn, milliseconds(1));
    if (gone > m_limits.limit || pause > m_limits.limit - gone) {
        return std::nullopt;
    }
    m_bound = m_bound > m_limits.longest / 2 ? m_limits.longest : m_bound * 2;
    return pause;
}

}  // namespace vaxoengine
