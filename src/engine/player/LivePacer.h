// When pictures and sound of one live stream are due: each as soon as it may be, and yet
// together, and how far the stream has fallen behind.
//
// A late picture is shown all the same, late sound is lost: so pictures are due kPictureCushion
// after the shortest way, sound kSoundCushion after its own. Sound takes longer to the server,
// because an encoder collects it in pieces. Where that would tear the two apart, the earlier one
// waits: sound is due at most kSoundBehind after the picture of the same moment, and at most
// kSoundAhead before it.
//
// Behind: how much longer the shortest way of the last one to two seconds is than the shortest
// way of all, which stood at the live edge. Two clocks may drift apart by kDrift without that
// being taken for it.
//
// Times in nanoseconds. Pure; one thread at a time, but for Behind, which any thread may ask.
#ifndef VAXO_ENGINE_PLAYER_LIVEPACER_H
#define VAXO_ENGINE_PLAYER_LIVEPACER_H

#include <atomic>
#include <cstdint>
#include <optional>

#include "engine/player/Pacer.h"

namespace vaxoengine {

class LivePacer {
public:
    static constexpr std::int64_t kMilli = 1000000;
    static constexpr std::int64_t kPictureCushion = 20 * kMilli;
    static constexpr std::int64_t kSoundCushion = 70 * kMilli;
    static constexpr std::int64_t kSoundBehind = 25 * kMilli;
    static constexpr std::int64_t kSoundAhead = 10 * kMilli;
    static constexpr std::int64_t kGone = 2000 * kMilli;  // a kind that is silent for so long
    static constexpr std::int64_t kDrift = 5000;          // a 1/5000 of the time: 200 ppm

    // A piece with the sender's time `media` comes at `now`. What to add to the sender's times
    // to learn when it is due.
    std::int64_t Picture(std::int64_t now, std::int64_t media);
    std::int64_t Sound(std::int64_t now, std::int64_t media);

    std::int64_t Behind() const { return m_behind; }

private:
    struct Kind {
        Pacer pacer{0};
        std::int64_t way = 0;
        std::optional<std::int64_t> last;  // when a piece came
    };

    static void Note(Kind& kind, std::int64_t now, std::int64_t media);
    static bool Flows(const Kind& kind, std::int64_t now);
    void Measure(std::int64_t now, std::int64_t way);
    std::int64_t SoundShift(std::int64_t now) const;

    Kind m_picture;
    Kind m_sound;
    std::optional<std::int64_t> m_shortest;  // of all ways, as it would be now with the drift
    std::int64_t m_measured = 0;             // when
    std::atomic<std::int64_t> m_behind{0};
};

}  // namespace vaxoengine

#endif
