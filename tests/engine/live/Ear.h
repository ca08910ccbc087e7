// Remembers everything that a member hears, and when. While one listens, Member's own waiting
// operations (Wait, TakeEvents, Enter, Publish, Play, Leave, snapshots) must not be used: each
// event is heard once.
//
// Any thread may ask. The time is the one at which the ear's own thread got the event from the
// member, which is what an application with a thread of its own would see.
#ifndef VAXO_TESTS_ENGINE_LIVE_EAR_H
#define VAXO_TESTS_ENGINE_LIVE_EAR_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/live/Member.h"

namespace livetest {

struct Heard {
    using Clock = std::chrono::steady_clock;

    std::string event;
    Clock::time_point at;
};

class Ear {
public:
    explicit Ear(Member& member);  // which must outlive it
    ~Ear();
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    // Waits until what was heard since `from` meets the condition. False: the time is over first.
    bool Await(const std::function<bool(const std::vector<Heard>&)>& condition,
               std::chrono::milliseconds limit, Heard::Clock::time_point from) const;
    std::vector<Heard> Since(Heard::Clock::time_point from) const;  // in order

private:
    void Listen();
    std::vector<Heard> SinceLocked(Heard::Clock::time_point from) const;

    Member& m_member;
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::vector<Heard> m_heard;
    std::atomic<bool> m_over{false};
    std::thread m_thread;  // last: it uses the others
};

}  // namespace livetest

#endif
