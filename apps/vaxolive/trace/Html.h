// Texts for the page. Names come from other people: nothing of theirs becomes markup.
#ifndef VAXO_APPS_TRACE_HTML_H
#define VAXO_APPS_TRACE_HTML_H

#include <string>

namespace vaxotrace {

// Printable, at most 300 bytes and then "...", and fit for an element's content and for an
// attribute in quotes.
std::string Escape(const std::string& text);

// The style sheet of the page, without its element.
const char* PageStyle();

}  // namespace vaxotrace

#endif
