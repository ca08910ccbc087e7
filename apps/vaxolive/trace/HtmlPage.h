// A story as one page that needs nothing else: the diagnosis, the time line as a picture, the
// commands as a table. It loads nothing and has no script.
#ifndef VAXO_APPS_TRACE_HTMLPAGE_H
#define VAXO_APPS_TRACE_HTMLPAGE_H

#include <string>

#include "Diagnosis.h"

namespace vaxotrace {

// The newest commands of each process are drawn and listed, this many.
constexpr std::size_t kMostDrawn = 1500;

std::string HtmlPage(const Story& story, const Diagnosis& diagnosis);

}  // namespace vaxotrace

#endif
