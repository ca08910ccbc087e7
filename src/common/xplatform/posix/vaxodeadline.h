// When a wait with a time-out ends.
//
// Private to the platform layer.
#ifndef VAXO_VAXODEADLINE_H
#define VAXO_VAXODEADLINE_H

#include <ctime>

#include "vaxotypes.h"

// The moment `milliseconds` from now on the monotonic clock; `milliseconds` is not
// negative. False when the clock cannot show it, which is further away than anybody
// waits.
bool vaxodeadline_in(int64 milliseconds, timespec& deadline);

#endif
