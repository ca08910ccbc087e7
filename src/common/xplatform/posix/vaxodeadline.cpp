#include "vaxodeadline.h"

#include <limits>

bool vaxodeadline_in(int64 milliseconds, timespec& deadline) {
    const int64 second = 1000;
    const int64 millisecond = 1000000;
    if (clock_gettime(CLOCK_MONOTONIC, &deadline) != 0) {
        return false;
    }
    const int64 seconds = milliseconds / second + 1;  // with one to carry into
    if (seconds > std::numeric_limits<time_t>::max() - deadline.tv_sec) {
        return false;
    }
    deadline.tv_sec += static_cast<time_t>(seconds - 1);
    const int64 nanoseconds = deadline.tv_nsec + milliseconds % second * millisecond;
    deadline.tv_sec += static_cast<time_t>(nanoseconds / (second * millisecond));
    deadline.tv_nsec = static_cast<long>(nanoseconds % (second * millisecond));
    return true;
}
