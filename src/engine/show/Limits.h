// The times and sizes that the engine keeps to.
#ifndef VAXO_ENGINE_SHOW_LIMITS_H
#define VAXO_ENGINE_SHOW_LIMITS_H

#include <chrono>
#include <cstddef>

#include "engine/base/Backoff.h"

namespace vaxoengine {

// Every request is answered within 10 s. The rest is for threads that are busy.
constexpr std::chrono::milliseconds kAnswerLimit{8500};

// One attempt to come back.
constexpr std::chrono::milliseconds kAttemptLimit{5000};

// A publisher whose network fails is forgotten by the channel some seconds before it is back: its
// viewers, who have been told of the interruption, wait for it that long.
constexpr std::chrono::milliseconds kGoneForGood{15000};

// Between two connections made because a play had fallen behind.
constexpr std::chrono::milliseconds kAtTheEdge{10000};

// After a loss: pauses between attempts, and when it is given up.
constexpr std::chrono::milliseconds kChannelIsBehind{500};
constexpr BackoffLimits kPublishBackoff{std::chrono::milliseconds(500),
                                        std::chrono::milliseconds(4000),
                                        std::chrono::milliseconds(60000)};
constexpr BackoffLimits kPlayBackoff{std::chrono::milliseconds(500),
                                     std::chrono::milliseconds(4000),
                                     std::chrono::milliseconds(30000)};

constexpr std::size_t kMaxPlays = 64;
constexpr std::size_t kMaxText = 1024;  // bytes of a user's name, a title, a channel

// What SetVideoBitrate, SetVideoFPS and SetVideoResolution take.
constexpr int kMinBitrate = 32000;
constexpr int kMaxBitrate = 20000000;
constexpr int kMaxFps = 60;
constexpr int kMinSide = 64;
constexpr int kMaxSide = 3840;

}  // namespace vaxoengine

#endif
