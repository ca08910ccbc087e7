#include "engine/capture/AuxSource.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "vaxolog.h"
#include "vaxothread.h"

namespace vaxoengine {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr int kRate = 48000;
constexpr int kLowestRate = 8000;
constexpr int kChannels = 2;
constexpr int kSampleBytes = 2;
constexpr int kRoom = kRate / 100 * kChannels * kSampleBytes;
constexpr milliseconds kPause{10};
constexpr milliseconds kShortest{5};
constexpr milliseconds kTooLate{100};

bool Plausible(const AuxSound& sound) {
    return sound.bytes >= 0 && sound.bytes <= kRoom && sound.sampleRate >= kLowestRate &&
           sound.sampleRate <= kRate && sound.channels >= 1 && sound.channels <= kChannels &&
           sound.bytes % (sound.channels * kSampleBytes) == 0;
}

microseconds Duration(const AuxSound& sound) {
    const long long frames = sound.bytes / (sound.channels * kSampleBytes);
    return microseconds(frames * 1000000 / sound.sampleRate);
}

}  // namespace

struct AuxSource::Impl {
    explicit Impl(std::function<void(const AuxSound&)> sink) : onSound(std::move(sink)) {}

    void Run();
    microseconds Take(const AuxSound& sound);
    void Change(const std::function<void()>& change);
    bool Wanted() const { return enabled && callback != nullptr; }

    const std::function<void(const AuxSound&)> onSound;
    std::array<unsigned char, kRoom> room{};  // the thread's

    std::mutex mutex;
    std::condition_variable changed;
    // Under the mutex:
    Mediq::IVaxoAuxCallback* callback = nullptr;
    bool enabled = false;
    bool complained = false;  // of this callback
    bool ending = false;
    unsigned long long settings = 0;  // how often they changed
    unsigned long long started = 0;   // calls
    unsigned long long finished = 0;
    std::thread thread;
};

// Changes a setting, then waits for the call that may still use the former one.
void AuxSource::Impl::Change(const std::function<void()>& change) {
    std::unique_lock<std::mutex> lock(mutex);
    change();
    ++settings;
    if (Wanted() && !thread.joinable()) {
        thread = std::thread([this] { Run(); });
    }
    changed.notify_all();
    if (thread.get_id() != std::this_thread::get_id()) {
        changed.wait(lock, [this, running = started] { return finished >= running; });
    }
}

void AuxSource::Impl::Run() {
    vaxothread_set_name("vaxo-aux");
    std::unique_lock<std::mutex> lock(mutex);
    Clock::time_point next = Clock::now();
    while (!ending) {
        if (!Wanted()) {
            changed.wait(lock);
            next = Clock::now();
            continue;
        }
        if (Clock::now() < next) {
            changed.wait_until(lock, next);
            continue;
        }
        Mediq::IVaxoAuxCallback& from = *callback;
        const unsigned long long before = settings;
        AuxSound sound{room.data(), kRoom, kRate, kChannels};
        ++started;
        lock.unlock();
        from.OnAuxCallback(room.data(), &sound.bytes, &sound.sampleRate, &sound.channels);
        lock.lock();
        ++finished;
        changed.notify_all();
        next += settings == before ? Take(sound) : kPause;
        next = std::max(next, Clock::now() - kTooLate);
    }
}

// Passes an answer on, with the lock held; the time until the next question.
microseconds AuxSource::Impl::Take(const AuxSound& sound) {
    if (!Plausible(sound)) {
        if (!std::exchange(complained, true)) {
            syslog(esyslog_warning, "Engine", __LINE__,
                   "auxiliary sound ignored: %d bytes, %d samples a second, %d channels",
                   sound.bytes, sound.sampleRate, sound.channels);
        }
        return kPause;
    }
    if (sound.bytes == 0) {
        return kPause;
    }
    onSound(sound);
    return std::max<microseconds>(Duration(sound), kShortest);
}

AuxSource::AuxSource(std::function<void(const AuxSound&)> onSound)
    : m_impl(std::make_unique<Impl>(std::move(onSound))) {}

AuxSource::~AuxSource() {
    m_impl->Change([this] { m_impl->ending = true; });
    if (m_impl->thread.joinable()) {
        m_impl->thread.join();
    }
}

void AuxSource::SetCallback(Mediq::IVaxoAuxCallback* callback) {
    m_impl->Change([&] {
        m_impl->callback = callback;
        m_impl->complained = false;
    });
}

void AuxSource::Enable(bool enable) {
    m_impl->Change([&] { m_impl->enabled = enable; });
}

}  // namespace vaxoengine
