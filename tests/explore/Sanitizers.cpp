#include "explore/Sanitizers.h"

#if defined(VAXO_EXPLORE_TSAN)
// A race ends the run that shows it, at once; the end of a process waits for nothing.
// Called by the sanitizer before everything else.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "halt_on_error=1:atexit_sleep_ms=0:die_after_fork=0";
}
#endif
