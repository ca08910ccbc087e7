#include "engine/output/SimulatedLink.h"

#include <algorithm>
#include <utility>

namespace vaxotest {

namespace {

using vaxoengine::RateChoice;
using vaxoengine::RateControl;

constexpr int kTick = 10;  // milliseconds
constexpr int kLateness = 300;
constexpr int kReading = 250;
constexpr int kMostMedia = 2000;
constexpr double kKeyFrame = 4;  // of another picture

}  // namespace

SimulatedLink::SimulatedLink(RateChoice set, Bandwidth bandwidth, std::uint32_t seed)
    : control(set),
      m_set(set),
      m_bandwidth(std::move(bandwidth)),
      m_random(seed),
      m_choices(kLateness / kTick, set) {}

void SimulatedLink::Run(int milliseconds) {
    for (const int end = m_time + milliseconds; m_time < end;) {
        Tick();
    }
}

void SimulatedLink::Tick() {
    m_time += kTick;
    m_choices.push_back(control.Now());
    m_choices.pop_front();
    Encode();
    Send();
    if (m_time % kReading == 0) {
        Look();
    }
}

void SimulatedLink::Encode() {
    m_queue.push_back({m_time, 1.0 * RateControl::kBesideVideo * kTick / 1000});
    if (m_time % 1000 == 0) {
        m_noise = 0.85 + 0.3 * static_cast<double>(m_random() % 1001) / 1000;
    }
    const RateChoice& now = m_choices.front();
    m_due += 1.0 * now.fps * kTick / 1000;
    if (m_queue.back().born - m_queue.front().born > kMostMedia) {
        m_leaveOut = true;
        m_nextKey = m_time;
    } else if (Delay() == 0) {
        m_leaveOut = false;
    }
    if (m_due < 1) {
        return;
    }
    m_due -= 1;
    if (m_leaveOut) {
        return;
    }
    // A second of pictures, with one key frame among them, makes up the rate.
    double bits = m_noise * now.bitrate / (now.fps + kKeyFrame - 1);
    if (m_time >= m_nextKey) {
        bits *= kKeyFrame;
        m_nextKey = m_time + 1000;
    }
    m_queue.push_back({m_time, bits});
}

void SimulatedLink::Send() {
    const double most = 1.0 * m_bandwidth(m_time) * kTick / 1000;
    m_could += std::min(most, (m_set.bitrate + RateControl::kBesideVideo) * 1.0 * kTick / 1000);
    double room = most;
    while (!m_queue.empty() && room > 0) {
        const double part = std::min(room, m_queue.front().bits);
        room -= part;
        m_sent += part;
        m_queue.front().bits -= part;
        if (m_queue.front().bits <= 0) {
            m_queue.pop_front();
        }
    }
}

void SimulatedLink::Look() {
    const int taken = static_cast<int>((m_sent - m_sentThen) * 1000 / kReading);
    m_sentThen = m_sent;
    const int delay = Delay();
    control.Step({std::chrono::milliseconds(delay), taken}, std::chrono::milliseconds(kReading));
    m_moments.push_back({m_time, delay, m_bandwidth(m_time), control.Now(),
                         static_cast<std::int64_t>(m_sent), static_cast<std::int64_t>(m_could)});
}

int SimulatedLink::MostDelay(int from, int until) const {
    int most = 0;
    for (const Moment& moment : m_moments) {
        if (moment.time >= from && moment.time < until) {
            most = std::max(most, moment.delay);
        }
    }
    return most;
}

double SimulatedLink::Use(int from, int until) const {
    const Moment* first = nullptr;
    const Moment* last = nullptr;
    for (const Moment& moment : m_moments) {
        if (moment.time >= from && moment.time < until) {
            first = first == nullptr ? &moment : first;
            last = &moment;
        }
    }
    if (first == nullptr || last->could == first->could) {
        return 0;
    }
    return static_cast<double>(last->sent - first->sent) /
           static_cast<double>(last->could - first->could);
}

}  // namespace vaxotest
