// Puts spans that may overlap on as few lanes as they need.
#ifndef VAXO_APPS_TRACE_LANES_H
#define VAXO_APPS_TRACE_LANES_H

#include <cstddef>
#include <functional>
#include <queue>
#include <utility>
#include <vector>

#include "LogLine.h"

namespace vaxotrace {

// Ask in the order of `begin`.
class Lanes {
public:
    // The lowest lane that is free from `begin` on; it is taken until `end`, inclusive.
    std::size_t Take(Micros begin, Micros end) {
        while (!m_busy.empty() && m_busy.top().first < begin) {
            m_free.push(m_busy.top().second);
            m_busy.pop();
        }
        std::size_t lane = m_count;
        if (m_free.empty()) {
            ++m_count;
        } else {
            lane = m_free.top();
            m_free.pop();
        }
        m_busy.emplace(end, lane);
        return lane;
    }

    std::size_t Count() const { return m_count; }

private:
    typedef std::pair<Micros, std::size_t> Busy;
    std::priority_queue<Busy, std::vector<Busy>, std::greater<>> m_busy;
    std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>> m_free;
    std::size_t m_count = 0;
};

}  // namespace vaxotrace

#endif
