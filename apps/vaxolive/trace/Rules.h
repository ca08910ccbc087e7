// What the library's own tables say of a command, in words: its name, the event that ends it,
// the rule by which one made another pointless.
//
// Pure functions, any thread.
#ifndef VAXO_APPS_TRACE_RULES_H
#define VAXO_APPS_TRACE_RULES_H

#include <string>

#include "Story.h"

namespace vaxotrace {

// "PlayStream show", "SetFilter". Names come from other people: escape it where it is shown.
std::string Title(const CommandName& name);

// The event that frees the queue; what else a reader should know of it.
std::string EndingEvent(const CommandName& name);

// Why `command` was removed or refused, by the join rules; empty for every other fate.
std::string Reason(const Command& command);

// "waiting", "holding the queue", ...
const char* FateName(Fate fate);
const char* EventKindName(EventKind kind);

// Of how long it waited, ran and held the queue. `now`: for what is not over. kNoTime: it did
// not, or that is not in the log.
struct Spans {
    Micros waited = kNoTime;
    Micros ran = kNoTime;
    Micros held = kNoTime;
};
Spans SpansOf(const Command& command, Micros now);

}  // namespace vaxotrace

#endif
