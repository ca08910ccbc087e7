#include "engine/live/Ear.h"

#include <utility>

namespace livetest {

namespace {

constexpr std::chrono::milliseconds kLook(50);  // how often it looks whether it is over

}  // namespace

Ear::Ear(Member& member) : m_member(member), m_thread([this] { Listen(); }) {}

Ear::~Ear() {
    m_over = true;
    m_thread.join();
}

void Ear::Listen() {
    while (!m_over) {
        std::string event = m_member.Wait("", kLook);
        if (!event.empty()) {
            const std::lock_guard<std::mutex> hold(m_lock);
            m_heard.push_back({std::move(event), Heard::Clock::now()});
            m_changed.notify_all();
        }
    }
}

std::vector<Heard> Ear::SinceLocked(Heard::Clock::time_point from) const {
    std::vector<Heard> heard;
    for (const Heard& one : m_heard) {
        if (one.at >= from) {
            heard.push_back(one);
        }
    }
    return heard;
}

std::vector<Heard> Ear::Since(Heard::Clock::time_point from) const {
    const std::lock_guard<std::mutex> hold(m_lock);
    return SinceLocked(from);
}

bool Ear::Await(const std::function<bool(const std::vector<Heard>&)>& condition,
                std::chrono::milliseconds limit, Heard::Clock::time_point from) const {
    std::unique_lock<std::mutex> hold(m_lock);
    return m_changed.wait_for(hold, limit, [&] { return condition(SinceLocked(from)); });
}

}  // namespace livetest
