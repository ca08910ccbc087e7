// Feels whether a media server is alive, on a connection of its own.
//
// A server that has been frozen, or a host that has gone, is not noticed on the connection that
// publishes: the kernels on both sides take seconds of media into their buffers. Here every
// kPulsePeriod a ping goes out, which each RTMP server answers, and anything that comes back is
// a sign of life.
//
// Silence: for kPulsePatience after a ping (or after the connection was asked for) nothing came.
// So a server is found silent at most kPulsePeriod + kPulsePatience, 4.5 s, after it froze.
// A connection that is refused or ends is no silence, because the one that publishes learns of
// that by itself: it is made anew with the next period.
//
// Engine's thread only. Plain RTMP ("rtmp://host[:port]/..."); of any other address no pulse is
// taken, and no silence is told.
#ifndef VAXO_ENGINE_OUTPUT_SERVERPULSE_H
#define VAXO_ENGINE_OUTPUT_SERVERPULSE_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace vaxoengine {

constexpr std::chrono::milliseconds kPulsePeriod{1500};
constexpr std::chrono::milliseconds kPulsePatience{3000};

class ServerPulse {
public:
    // `onSilence`: at most once; it may destroy the pulse. Of the address only host and port
    // are used.
    ServerPulse(const std::string& address, std::function<void()> onSilence);
    ~ServerPulse();  // without a word, at once
    ServerPulse(const ServerPulse&) = delete;
    ServerPulse& operator=(const ServerPulse&) = delete;

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
