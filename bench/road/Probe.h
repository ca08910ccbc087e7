// Where a road ends: the engine's operation or the application's callback notes that it was
// entered, and whoever measures waits for that.
//
// Expect comes before the calls that are to arrive, while nothing is under way. The queues
// carry what it wrote to the thread that enters, and m_done carries the moment back; so the
// two plain members need no lock, and a call on its way costs a decrement and a compare.
#ifndef VAXO_BENCH_ROAD_PROBE_H
#define VAXO_BENCH_ROAD_PROBE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace vaxobench {

using Clock = std::chrono::steady_clock;

class Probe {
public:
    // The measuring thread. Counts from 1 on.
    void Expect(std::uint64_t arrivals) {
        m_left = arrivals;
        m_done.store(false, std::memory_order_relaxed);
    }

    // The thread at the end of the road. The last arrival takes the time.
    void Entered() {
        if (--m_left == 0) {
            m_at = Clock::now();
            m_done.store(true, std::memory_order_release);
        }
    }

    // The measuring thread: when the last of the expected arrived.
    Clock::time_point Await() const {
        while (!m_done.load(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
        return m_at;
    }

    // The engine's operation that keeps its thread awake stays until the door opens.
    void Shut() { m_open.store(false, std::memory_order_relaxed); }
    void Open() { m_open.store(true, std::memory_order_release); }
    void WaitForOpen() const {
        while (!m_open.load(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }

private:
    std::uint64_t m_left = 0;
    Clock::time_point m_at;
    std::atomic<bool> m_done{true};
    std::atomic<bool> m_open{true};
};

// The one of the process: one road is measured at a time.
inline Probe& TheProbe() {
    static Probe s_probe;
    return s_probe;
}

}  // namespace vaxobench

#endif
