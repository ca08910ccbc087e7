#include "engine/show/RateKeeper.h"

#include <utility>

#include "engine/show/LiveOptions.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr std::chrono::milliseconds kPeriod{250};

}  // namespace

RateKeeper::RateKeeper(Capture& capture, std::function<Flow()> flow)
    : m_capture(capture), m_flow(std::move(flow)), m_control(Set()) {}

RateChoice RateKeeper::Set() const {
    return {m_capture.Video().bitrate, m_capture.Video().fps};
}

void RateKeeper::Begin() {
    m_control.Set(Set());
}

void RateKeeper::OnSet() {
    m_control.Set(Set());
}

// A connection that was cut looked like a network that takes nothing.
void RateKeeper::OnConnected() {
    m_control.Set(Set());
    m_meter.Reset();
    m_last = std::chrono::steady_clock::now();
    m_timer.Every(kPeriod, [this] { Step(); });
}

void RateKeeper::OnLost() {
    m_timer.Stop();
}

void RateKeeper::Step() {
    const auto now = std::chrono::steady_clock::now();
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(now - m_last);
    m_last = now;
    m_control.Enable(IsAdaptive());
    const RateChoice before = m_control.Now();
    const RateReading reading = m_meter.Next(m_flow(), since);
    const RateChoice choice = m_control.Step(reading, since);
    if (!(choice == before)) {
        syslog(esyslog_generic, "Publish", __LINE__,
               "%d bits and %d pictures a second: the network takes %d, %d ms behind",
               choice.bitrate, choice.fps, reading.taken, static_cast<int>(reading.delay.count()));
    }
    m_capture.Adapt(choice.bitrate, choice.fps);
}

}  // namespace vaxoengine
