// What the engine measures, for status displays and tests. Beside the live interface, and
// without any effect on it.
#ifndef VAXO_VAXOLIVESTATS_H
#define VAXO_VAXOLIVESTATS_H

#include <string>
#include <vector>

#include "vaxotypes.h"

namespace Strova {

// One play.
struct VaxoLivePlayStats {
    std::string streamID;      // as given to PlayStream
    double fps = 0;            // pictures shown a second
    unsigned int bitrate = 0;  // bits received a second
    int latencyMillis = -1;    // age of the last picture; known for the built-in test picture alone
};

struct VaxoLiveStats {
    bool publishing = false;   // media reach the server
    double fps = 0;            // pictures encoded a second
    unsigned int bitrate = 0;  // bits encoded a second, sound included
    // Where picture and sound come from, as the device lists name it ("none:black" and
    // "none:silence" where they are switched off or nothing is left): after a device failed in the
    // middle, what has taken its place. Empty while nothing is captured.
    std::string videoDevice;
    std::string audioDevice;               // the same for sound
    std::vector<VaxoLivePlayStats> plays;  // every play that runs
};

// Values over the last second, renewed about twice a second, of the engine that the proxy
// uses; empty without one. Any thread; returns at once.
VAXO_API VaxoLiveStats VaxoLiveGetStats();

}  // namespace Strova

#endif
