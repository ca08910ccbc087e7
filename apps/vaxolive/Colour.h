// Colours on the standard error, where people read: red for what failed, yellow for what they
// should know, green for what is live. Only on a terminal that can show them, unless somebody
// chose otherwise.
#ifndef VAXO_APPS_COLOUR_H
#define VAXO_APPS_COLOUR_H

#include <string>
#include <vector>

namespace vaxoapp {

enum class Hue { Plain, Good, Warning, Bad };

enum class Colouring { Auto, Always, Never };

// Before anything is painted, and before there are threads.
void SetColouring(Colouring colouring);

// The standard error is a terminal that obeys escapes: TERM says neither nothing nor "dumb".
bool IsTerminal();

// `text` between escapes, or as it is: always so with Auto when the standard error is no such
// terminal or NO_COLOR is set.
std::string Painted(const std::string& text, Hue hue);

// A part of a line.
struct Piece {
    std::string text;
    Hue hue = Hue::Plain;
};

// The parts behind one another, fit for a terminal (see Printable), cut to so many bytes of text.
std::string Painted(const std::vector<Piece>& pieces, std::size_t limit);

}  // namespace vaxoapp

#endif
