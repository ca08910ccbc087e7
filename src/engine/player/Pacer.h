// When a piece of a live stream is due.
//
// The sender's clock and this one are not the same and the way between them is now longer,
// now shorter. The pieces that took the shortest way lately say how the clocks stand to
// each other: a piece is due a fixed time, the cushion, after it would have come by that
// way. So a delay that has passed is made up for at once, a longer way is followed within
// two seconds, and so is a clock that drifts.
//
// Times in nanoseconds. Pure; one thread at a time.
#ifndef VAXO_ENGINE_PLAYER_PACER_H
#define VAXO_ENGINE_PLAYER_PACER_H

#include <cstdint>

namespace vaxoengine {

class Pacer {
public:
    explicit Pacer(std::int64_t cushion);

    // A piece with the sender's time `media` comes at `now`. What to add to times of
    // the sender to learn when it is due.
    std::int64_t Shift(std::int64_t now, std::int64_t media);

private:
    std::int64_t m_cushion;
    bool m_started = false;
    std::int64_t m_since = 0;     // begin of the second that is measured
    std::int64_t m_current = 0;   // the shortest way in it
    std::int64_t m_previous = 0;  // in the second before
};

}  // namespace vaxoengine

#endif
