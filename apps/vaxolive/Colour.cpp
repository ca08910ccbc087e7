#include "Colour.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "Text.h"

namespace vaxoapp {

namespace {

std::atomic<Colouring> s_colouring{Colouring::Auto};

std::string Environment(const char* name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here ever changes the environment
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

bool HasColours() {
    static const bool s_isAutomatic = IsTerminal() && Environment("NO_COLOR").empty();
    const Colouring colouring = s_colouring;
    return colouring == Colouring::Auto ? s_isAutomatic : colouring == Colouring::Always;
}

const char* Escape(Hue hue) {
    switch (hue) {
        case Hue::Good:
            return "\033[32m";
        case Hue::Warning:
            return "\033[33m";
        case Hue::Bad:
            return "\033[31m";
        case Hue::Plain:
            break;
    }
    return "";
}

}  // namespace

void SetColouring(Colouring colouring) {
    s_colouring = colouring;
}

bool IsTerminal() {
    const std::string kind = Environment("TERM");
    return ::isatty(STDERR_FILENO) == 1 && !kind.empty() && kind != "dumb";
}

std::string Painted(const std::string& text, Hue hue) {
    return hue == Hue::Plain || text.empty() || !HasColours() ? text
                                                              : Escape(hue) + text + "\033[0m";
}

std::string Painted(const std::vector<Piece>& pieces, std::size_t limit) {
    std::string all;
    std::size_t left = limit;
    for (const Piece& piece : pieces) {
        const std::string text = Printable(piece.text, left);
        all += Painted(text, piece.hue);
        if (text.size() >= left || text.size() > piece.text.size()) {
            break;  // cut, or nothing is left
        }
        left -= text.size();
    }
    return all;
}

}  // namespace vaxoapp
