// Counts what flowed during the last second.
#ifndef VAXO_ENGINE_CAPTURE_RATEMETER_H
#define VAXO_ENGINE_CAPTURE_RATEMETER_H

#include <chrono>
#include <deque>
#include <mutex>

namespace vaxoengine {

// Any thread.
class RateMeter {
public:
    struct Rate {
        unsigned count = 0;
        unsigned bits = 0;
    };

    void Add(unsigned bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Forget();
        m_entries.push_back({Clock::now(), bytes});
    }
    Rate Read() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Forget();
        Rate rate;
        for (const Entry& entry : m_entries) {
            ++rate.count;
            rate.bits += entry.bytes * 8;
        }
        return rate;
    }
    void Reset() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.clear();
    }

private:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        Clock::time_point at;
        unsigned bytes;
    };

    void Forget() const {
        const Clock::time_point oldest = Clock::now() - std::chrono::seconds(1);
        while (!m_entries.empty() && m_entries.front().at < oldest) {
            m_entries.pop_front();
        }
    }

    mutable std::mutex m_mutex;
    mutable std::deque<Entry> m_entries;
};

}  // namespace vaxoengine

#endif
