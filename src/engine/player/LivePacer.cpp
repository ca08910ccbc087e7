#include "engine/player/LivePacer.h"

#include <algorithm>

namespace vaxoengine {

void LivePacer::Note(Kind& kind, std::int64_t now, std::int64_t media) {
    kind.way = kind.pacer.Shift(now, media);
    kind.last = now;
}

bool LivePacer::Flows(const Kind& kind, std::int64_t now) {
    return kind.last && now - *kind.last < kGone;
}

// The kind that is measured may change, when pictures begin or end: their ways differ by far
// less than what counts as behind.
void LivePacer::Measure(std::int64_t now, std::int64_t way) {
    if (m_shortest) {
        *m_shortest += std::max<std::int64_t>(0, now - m_measured) / kDrift;
    }
    m_measured = now;
    m_shortest = m_shortest ? std::min(*m_shortest, way) : way;
    m_behind = way - *m_shortest;
}

std::int64_t LivePacer::SoundShift(std::int64_t now) const {
    const std::int64_t own = m_sound.way + kSoundCushion;
    if (!Flows(m_picture, now)) {
        return own;
    }
    return std::max(own, m_picture.way + kPictureCushion - kSoundAhead);
}

std::int64_t LivePacer::Picture(std::int64_t now, std::int64_t media) {
    Note(m_picture, now, media);
    Measure(now, m_picture.way);
    const std::int64_t own = m_picture.way + kPictureCushion;
    return Flows(m_sound, now) ? std::max(own, SoundShift(now) - kSoundBehind) : own;
}

std::int64_t LivePacer::Sound(std::int64_t now, std::int64_t media) {
    Note(m_sound, now, media);
    if (!Flows(m_picture, now)) {
        Measure(now, m_sound.way);
    }
    return SoundShift(now);
}

}  // namespace vaxoengine
