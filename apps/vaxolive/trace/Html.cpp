#include "Html.h"

#include "Text.h"

namespace vaxotrace {

std::string Escape(const std::string& text) {
    std::string all;
    for (const char character : vaxoapp::Printable(text, 300)) {
        switch (character) {
            case '&':
                all += "&amp;";
                break;
            case '<':
                all += "&lt;";
                break;
            case '>':
                all += "&gt;";
                break;
            case '"':
                all += "&quot;";
                break;
            case '\'':
                all += "&#39;";
                break;
            default:
                all += character;
        }
    }
    return all;
}

}  // namespace vaxotrace
