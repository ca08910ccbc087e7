// A process's time line, drawn.
#ifndef VAXO_APPS_TRACE_SVGPICTURE_H
#define VAXO_APPS_TRACE_SVGPICTURE_H

#include <string>

#include "Bars.h"

namespace vaxotrace {

// The names of the lanes beside a picture that scrolls. Across, everything stands in percent,
// so the style sheet's width is the zoom and texts keep their shape.
std::string SvgPicture(const Story& story, const ProcessDiagnosis& process,
                       const ProcessBars& bars);

// The list that explains the picture.
std::string SvgLegend();

}  // namespace vaxotrace

#endif
