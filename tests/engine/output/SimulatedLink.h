// A publisher on a link whose bandwidth changes: encoder, queue and rate control, in steps of
// 10 ms of a time that is only counted.
//
// The encoder follows the choice 300 ms late. What it makes differs from that by up to 15 %,
// anew each second, which is worse than the same with each picture. One picture a second is a
// key frame, four times the others. Sound and headers add RateControl::kBesideVideo. As the
// publisher does, it leaves out pictures when two seconds of media wait, until none does, and
// begins again with a key frame. A reading is given every 250 ms.
#ifndef VAXO_TESTS_ENGINE_OUTPUT_SIMULATEDLINK_H
#define VAXO_TESTS_ENGINE_OUTPUT_SIMULATEDLINK_H

#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <vector>

#include "engine/output/RateControl.h"

namespace vaxotest {

class SimulatedLink {
public:
    // After each reading.
    struct Moment {
        int time = 0;  // milliseconds
        int delay = 0;
        int bandwidth = 0;  // bits a second
        vaxoengine::RateChoice choice{};
        std::int64_t sent = 0;   // bits, so far
        std::int64_t could = 0;  // bits that the link and the set values would have allowed
    };

    using Bandwidth = std::function<int(int millisecond)>;

    SimulatedLink(vaxoengine::RateChoice set, Bandwidth bandwidth, std::uint32_t seed = 1);

    void Run(int milliseconds);

    const std::vector<Moment>& Moments() const { return m_moments; }
    vaxoengine::RateControl control;

    // Of the moments in [from, until), in milliseconds.
    int MostDelay(int from, int until) const;
    double Use(int from, int until) const;  // sent, as a part of what could be

private:
    struct Packet {
        int born;
        double bits;
    };

    void Tick();
    void Encode();
    void Send();
    void Look();
    int Delay() const { return m_queue.empty() ? 0 : m_time - m_queue.front().born; }

    const vaxoengine::RateChoice m_set;
    const Bandwidth m_bandwidth;
    std::mt19937 m_random;
    int m_time = 0;
    std::deque<vaxoengine::RateChoice> m_choices;  // the last 300 ms, a tick each
    std::deque<Packet> m_queue;
    bool m_leaveOut = false;
    double m_noise = 1;
    double m_due = 0;  // pictures
    int m_nextKey = 0;
    double m_sent = 0;
    double m_sentThen = 0;
    double m_could = 0;
    std::vector<Moment> m_moments;
};

}  // namespace vaxotest

#endif
