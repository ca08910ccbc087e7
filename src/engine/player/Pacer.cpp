#include "engine/player/Pacer.h"

#include <algorithm>

namespace vaxoengine {

namespace {

constexpr std::int64_t kPeriod = 1000000000;

}  // namespace

Pacer::Pacer(std::int64_t cushion) : m_cushion(cushion) {}

std::int64_t Pacer::Shift(std::int64_t now, std::int64_t media) {
    const std::int64_t way = now - media;
    if (!m_started) {
        m_started = true;
        m_since = now;
        m_current = way;
        m_previous = way;
    }
    if (now - m_since >= kPeriod) {
        m_since = now;
        m_previous = m_current;
        m_current = way;
    }
    m_current = std::min(m_current, way);
    return std::min(m_current, m_previous) + m_cushion;
}

}  // namespace vaxoengine
