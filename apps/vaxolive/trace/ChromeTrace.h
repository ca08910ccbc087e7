// A story as a trace that Chrome's viewer and Perfetto open: a JSON object with "traceEvents".
//
// A process of the log is a process there, and its lanes are threads: what holds the queue, what
// runs, what waits (on as many lanes as overlap), what was refused, events as instants. An arrow
// goes from a newcomer to the command that it removed, from one that waited to the newcomer it
// refused. A counter shows how many wait.
//
// Time counts from the first line, in microseconds. Events are sorted by time.
#ifndef VAXO_APPS_TRACE_CHROMETRACE_H
#define VAXO_APPS_TRACE_CHROMETRACE_H

#include <string>

#include "Diagnosis.h"

namespace vaxotrace {

std::string ChromeTrace(const Story& story, const Diagnosis& diagnosis);

}  // namespace vaxotrace

#endif
