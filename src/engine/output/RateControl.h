// How much a live publisher encodes, so that the network takes it: quickly down and carefully
// up. Told about every 250 ms how long media wait here and what the network took, it answers
// with bits and pictures a second of video.
//
// Always: floor <= bitrate <= set, floor = min(set, max(kFloor, set / 8)), and
// min(set, kFewestPictures) <= fps <= set, whatever is told. When switched off: the set values.
//
// Down. Media that wait longer than kLongDelay mean congestion; a network that is a tenth too
// small is noticed after 3 s, one that takes half after 0.6 s. Then at once, but at most once
// every kCutPause, so that the encoder's answer can be seen, the bitrate becomes a share of what
// the network takes without sound and headers (kBesideVideo): 85 % of it, less the longer media
// wait (35 % from 1.5 s on), because the rest of the way is what drains the queue. What the
// network takes is that of the last half second or so, because a system's buffers empty in jerks.
// A bitrate at or below that share stays while the queue gets shorter, since cutting a rate that
// already drains would only waste the network; when the queue does not get shorter for
// kNoBetter, the bitrate becomes 70 %.
//
// Up. Waits below kShortDelay are clear. A key frame alone may wait longer, so only a second
// without any clear reading counts against it. After kFirstPatience of clear the bitrate rises
// at most once a second, by 5 % of the set value. What the network took for video in the last
// congestion is remembered as its limit. From 85 % to 115 % of that limit steps are 2 %, and they
// begin after a patience that doubles, up to kLastPatience, each time that a congestion begins
// within kProbe of a rise. Below it the short patience is enough: that much the network did
// take. Once beyond, or after kPeace without congestion, all that is forgotten. kLastPatience is
// as long as it may be for the whole way up, from the floor on a network that takes everything
// again, to last 45 s at most.
//
// Pictures: all of them, or 2/3 from less than half of the set bitrate on, or a half at a
// quarter and below; each comes back a fifth above where it went.
//
// Not guaranteed: that media wait shortly. A network that does not take the floor is not helped
// here, and what waits already is not thrown away here.
//
// Pure: no clock, no thread, no memory beyond the object. One thread at a time.
#ifndef VAXO_ENGINE_OUTPUT_RATECONTROL_H
#define VAXO_ENGINE_OUTPUT_RATECONTROL_H

#include <chrono>

namespace vaxoengine {

struct RateChoice {
    int bitrate;  // bits a second of video
    int fps;      // pictures a second

    bool operator==(const RateChoice& other) const {
        return bitrate == other.bitrate && fps == other.fps;
    }
    bool operator!=(const RateChoice& other) const { return !(*this == other); }
};

struct RateReading {
    std::chrono::milliseconds delay;  // media that wait on this side to be sent: age of the oldest
    int taken;  // bits a second that the network took since the last reading: video, sound, headers
};

class RateControl {
public:
    static constexpr int kFloor = 64000;         // bits a second
    static constexpr int kBesideVideo = 110000;  // bits a second of sound and headers
    static constexpr int kFewestPictures = 10;   // a second
    static constexpr std::chrono::milliseconds kLongDelay{300};
    static constexpr std::chrono::milliseconds kShortDelay{150};
    static constexpr std::chrono::milliseconds kCutPause{500};
    static constexpr std::chrono::milliseconds kNoBetter{1000};
    static constexpr std::chrono::milliseconds kRisePause{1000};
    static constexpr std::chrono::milliseconds kFirstPatience{3000};
    static constexpr std::chrono::milliseconds kLastPatience{20000};
    static constexpr std::chrono::milliseconds kProbe{10000};
    // Longer than the longest patience and what follows it, or no patience would ever last.
    static constexpr std::chrono::milliseconds kPeace{60000};

    // `set`: what the user asked for, and the upper bound. Positive.
    explicit RateControl(RateChoice set) { Set(set); }

    // Begins anew, at the set values.
    void Set(RateChoice set);
    // On at first. Switched off or on again it begins anew.
    void Enable(bool on);

    // `since`: since the last step. A pause of more than a second counts as one second, because
    // nobody knows what was in it; a negative one as none.
    RateChoice Step(const RateReading& reading, std::chrono::milliseconds since);
    RateChoice Now() const { return m_now; }

private:
    using Milliseconds = std::chrono::milliseconds;

    void Begin();
    void Pass(const RateReading& reading, Milliseconds since);
    void OnCongested(Milliseconds delay);
    void OnClear();
    void Use(double bitrate);
    int Pictures();
    int Floor() const;
    double Left() const;

    RateChoice m_set{};
    RateChoice m_now{};
    bool m_on = true;

    double m_taken = 0;                        // smoothed
    double m_limit = 0;                        // of the network, for video; 0: not known
    int m_thinned = 0;                         // 0: all pictures; 1: 2/3; 2: half
    bool m_congested = false;                  // in the last reading
    Milliseconds m_delayThen{0};               // when m_sinceLook began
    Milliseconds m_patience = kFirstPatience;  // near the limit
    Milliseconds m_clear{0};                   // for how long there was no lasting delay
    Milliseconds m_sinceClear{0};              // since a reading was clear
    Milliseconds m_sinceCut{0};                // since the bitrate was lowered
    Milliseconds m_sinceLook{0};               // since the delay was compared, or a cut
    Milliseconds m_sinceRise{0};               // since the bitrate was raised
    Milliseconds m_peace{0};                   // since congestion
};

}  // namespace vaxoengine

#endif
