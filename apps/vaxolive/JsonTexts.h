// What the JSON lines hold, for the man page: the results of --json, and the events of --json
// and --events. A test holds what the commands print against these tables.
#ifndef VAXO_APPS_JSONTEXTS_H
#define VAXO_APPS_JSONTEXTS_H

#include <vector>

namespace vaxoapp {

struct JsonKind {
    const char* kind;    // a subcommand, or an event
    const char* fields;  // their names, between blanks; in every event "ms" and "event" come first
    const char* when;    // what it tells
};

struct FieldText {
    const char* name;
    const char* meaning;
};

const std::vector<JsonKind>& ResultTexts();
const std::vector<JsonKind>& EventTexts();
// Every field of both.
const std::vector<FieldText>& FieldTexts();

}  // namespace vaxoapp

#endif
