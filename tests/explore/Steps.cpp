#include "explore/Steps.h"

#include <cstddef>
#include <iterator>

namespace explore {

const char* NameOf(Kind kind) {
    static const char* const s_names[] = {
        "starts",           "ends",           "locks mutex",       "tries mutex",
        "unlocks mutex",    "destroys mutex", "read-locks lock",   "asks to write-lock lock",
        "write-locks lock", "tries lock",     "unlocks lock",      "destroys lock",
        "waits for event",  "signals event",  "resets event",      "looks at event",
        "destroys event",   "starts worker",  "pushes to worker",  "takes a call of worker",
        "retires worker",   "reaches slot",   "reaches once-flag", "is at the program's point",
    };
    static_assert(std::size(s_names) == static_cast<std::size_t>(Kind::Program) + 1,
                  "a name for every kind");
    return s_names[static_cast<std::size_t>(kind)];
}

}  // namespace explore
