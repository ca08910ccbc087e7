#include "engine/output/RateControl.h"

#include <algorithm>

namespace vaxoengine {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestStep{1000};
constexpr milliseconds kSmoothing{400};
constexpr milliseconds kLongSince{3600000};  // for "never yet"

constexpr double kBestShare = 0.85;
constexpr double kLeastShare = 0.35;
constexpr milliseconds kLeastShareDelay{1500};
constexpr double kWorthACut = 1.02;  // times the share; what is less is the measure's noise
constexpr double kNoBetterFactor = 0.7;

constexpr double kNearLimit = 0.85;
constexpr double kBeyondLimit = 1.15;
constexpr double kStep = 0.05;  // of the set bitrate
constexpr double kSmallStep = 0.02;

constexpr double kAllPictures = 0.5;  // of the set bitrate
constexpr double kHalfPictures = 0.25;
constexpr double kBackAgain = 1.2;

// How much of what the network takes may be used, so that the queue drains.
double Share(milliseconds delay) {
    const double part = static_cast<double>((delay - RateControl::kLongDelay).count()) /
                        static_cast<double>((kLeastShareDelay - RateControl::kLongDelay).count());
    return kBestShare - (kBestShare - kLeastShare) * std::clamp(part, 0.0, 1.0);
}

}  // namespace

void RateControl::Set(RateChoice set) {
    m_set = set;
    Begin();
}

void RateControl::Enable(bool on) {
    if (on != m_on) {
        m_on = on;
        Begin();
    }
}

void RateControl::Begin() {
    m_now = m_set;
    m_taken = static_cast<double>(m_set.bitrate) + kBesideVideo;
    m_limit = 0;
    m_thinned = 0;
    m_congested = false;
    m_delayThen = milliseconds(0);
    m_patience = kFirstPatience;
    m_clear = milliseconds(0);
    m_sinceClear = milliseconds(0);
    m_sinceCut = kLongSince;
    m_sinceLook = milliseconds(0);
    m_sinceRise = kLongSince;
    m_peace = milliseconds(0);
}

RateChoice RateControl::Step(const RateReading& reading, milliseconds since) {
    if (!m_on) {
        return m_now;
    }
    Pass(reading, std::clamp(since, milliseconds(0), kLongestStep));
    const bool congested = reading.delay > kLongDelay;
    if (congested) {
        OnCongested(reading.delay);
    } else if (reading.delay < kShortDelay) {
        OnClear();
    } else if (m_sinceClear >= kRisePause) {
        m_clear = milliseconds(0);
    }
    m_congested = congested;
    return m_now;
}

void RateControl::Pass(const RateReading& reading, milliseconds since) {
    m_clear += since;
    m_sinceClear += since;
    m_sinceCut += since;
    m_sinceLook += since;
    m_sinceRise += since;
    m_peace += since;

    const double weight =
        static_cast<double>(since.count()) / static_cast<double>((since + kSmoothing).count());
    m_taken += weight * (std::max(0, reading.taken) - m_taken);
}

void RateControl::OnCongested(milliseconds delay) {
    if (!m_congested && m_sinceRise < kProbe) {
        m_patience = std::min(2 * m_patience, kLastPatience);
    }
    if (!m_congested) {
        m_delayThen = delay;
        m_sinceLook = milliseconds(0);
    }
    m_clear = milliseconds(0);
    m_peace = milliseconds(0);
    if (m_sinceCut < kCutPause) {
        return;
    }
    m_limit = std::max(1.0, Left());
    const double share = Share(delay) * m_limit;
    if (m_now.bitrate > kWorthACut * share) {
        Use(share);
    } else if (m_sinceLook < kNoBetter) {
        return;
    } else if (delay >= m_delayThen) {
        Use(kNoBetterFactor * m_now.bitrate);
    }
    m_delayThen = delay;
    m_sinceLook = milliseconds(0);
}

void RateControl::OnClear() {
    m_sinceClear = milliseconds(0);
    if (m_peace >= kPeace || m_now.bitrate > kBeyondLimit * m_limit) {
        m_limit = 0;
        m_patience = kFirstPatience;
    }
    const double bitrate = m_now.bitrate;
    const double brink = kNearLimit * m_limit;
    const bool near = m_limit > 0 && bitrate >= brink - 1;  // less than a bit below is there
    if (m_now.bitrate >= m_set.bitrate || m_sinceRise < kRisePause ||
        m_clear < (near ? m_patience : kFirstPatience)) {
        return;
    }
    const double small = bitrate + kSmallStep * m_set.bitrate;
    const double large = bitrate + kStep * m_set.bitrate;
    Use(m_limit <= 0 ? large : near ? small : std::min(large, brink));
}

void RateControl::Use(double bitrate) {
    const int before = m_now.bitrate;
    m_now.bitrate = static_cast<int>(
        std::clamp(bitrate, static_cast<double>(Floor()), static_cast<double>(m_set.bitrate)));
    m_now.fps = Pictures();
    if (m_now.bitrate < before) {
        m_sinceCut = milliseconds(0);
    } else if (m_now.bitrate > before) {
        m_sinceRise = milliseconds(0);
    }
}

int RateControl::Pictures() {
    const double all = kAllPictures * m_set.bitrate;
    const double half = kHalfPictures * m_set.bitrate;
    if (m_now.bitrate >= all * (m_thinned > 0 ? kBackAgain : 1)) {
        m_thinned = 0;
        return m_set.fps;
    }
    m_thinned = m_now.bitrate > half * (m_thinned > 1 ? kBackAgain : 1) ? 1 : 2;
    const int fewer = m_thinned == 1 ? m_set.fps / 3 * 2 + m_set.fps % 3 * 2 / 3 : m_set.fps / 2;
    return std::max(fewer, std::min(m_set.fps, kFewestPictures));
}

int RateControl::Floor() const {
    return std::min(m_set.bitrate, std::max(kFloor, m_set.bitrate / 8));
}

// For video, of what the network takes.
double RateControl::Left() const {
    return m_taken - kBesideVideo;
}

}  // namespace vaxoengine
