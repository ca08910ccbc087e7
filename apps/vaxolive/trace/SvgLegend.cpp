#include "SvgPicture.h"

namespace vaxotrace {

namespace {

std::string LegendItem(const char* style, const char* text) {
    return std::string("<li><svg width='34' height='20' aria-hidden='true'><g class='") + style +
           "'><rect class='bar' x='2' y='3' width='30' height='14' rx='2'/>"
           "</g></svg>" +
           text + "</li>\n";
}

std::string LegendSign(const char* shape, const char* text) {
    return std::string(
               "<li><svg width='20' height='20' aria-hidden='true'>"
               "<g transform='translate(10 10)'>") +
           shape + "</g></svg>" + text + "</li>\n";
}

}  // namespace

std::string SvgLegend() {
    return "<ul class='legend'>\n" + LegendItem("wait", "waits") + LegendItem("run", "runs") +
           LegendItem("hold", "has run, holds the queue until its event") +
           LegendItem("wait gone", "made pointless, or its end not logged") +
           LegendItem("run failed", "failed") +
           LegendSign(
               "<path class='join' d='M0 9V-2'/><path class='head' d='M0 -9L4 "
               "-1L-4 -1Z'/>",
               "from the newcomer to the one it removes") +
           LegendSign("<path class='open' d='M6 -8V8M-3 -5L3 0L-3 5'/>",
                      "goes on at the last line") +
           LegendSign("<path class='ev' d='M0 -6L6 0L0 6L-6 0Z'/>", "completion reported") +
           LegendSign("<circle class='ev' r='5'/>", "told to the application") +
           LegendSign("<circle class='ev no' r='5'/>", "not told, or not for this command") +
           LegendSign("<path class='ev bad' d='M0 -7L7 6L-7 6Z'/>", "warning or error") +
           LegendSign("<rect class='ev note' x='-3' y='-3' width='6' height='6'/>", "other line") +
           "</ul>\n";
}

}  // namespace vaxotrace
