// The times and sizes that the engine keeps to.
#ifndef VAXO_ENGINE_SHOW_LIMITS_H
#define VAXO_ENGINE_SHOW_LIMITS_H

#include <chrono>
#include <cstddef>

namespace vaxoengine {

// Every request is answered within 10 s. The rest is for threads that are busy.
constexpr std::chrono::milliseconds kAnswerLimit{8500};

// After a loss: pauses between attempts, and when it is given up.
constexpr std::chrono::milliseconds kChannelIsBehind{500};
constexpr std::chrono::milliseconds kFirstPause{500};
constexpr std::chrono::milliseconds kLongestPause{4000};
constexpr std::chrono::milliseconds kPublishGivesUp{60000};
constexpr std::chrono::milliseconds kPlayGivesUp{30000};

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
