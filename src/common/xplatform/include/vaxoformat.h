// printf-style formatting into memory of any length.
//
// Guarantees
// - The text is what C's printf would write, with two rules of the library's
//   own: a null "%s" or "%ls" argument prints as the empty text (padded to the
//   width), and "%n" takes its argument and writes nothing.
// - "%s" with a precision reads no byte beyond the precision, so the text needs
//   no terminator there.
// - A width, and the precision of a number, above 1,048,576 count as that many:
//   a wrong argument cannot ask for gigabytes. The precision of a text is only a
//   limit and is not cut.
// - No text of its own is put in place of an argument that is missing or wrong.
//
// Non-guarantees
// - Positional arguments ("%1$d") and the conversions and flags that C does not
//   define ("%m", "%'d") are not understood: such a conversion is copied as it
//   stands, with everything after it, because the arguments behind it can no
//   longer be told apart.
// - An argument whose type does not match its conversion is undefined, as with
//   printf.
// - A wide text or character that the locale cannot express prints as nothing.
//
// Needs the standard library alone. May be called from any thread; the number
// format is that of the process's locale, as with printf.
#ifndef VAXO_VAXOFORMAT_H
#define VAXO_VAXOFORMAT_H

#include <cstdarg>
#include <string>

namespace vaxo {

// Appends the formatted text to `out`. A null format appends nothing. `args` is
// read through a copy: the caller's list stays where it was, and the caller ends
// it. When memory runs out the standard library's exception leaves, and `out`
// holds what was formatted until then.
void format_append(std::string& out, const char* format, va_list args);

}  // namespace vaxo

#endif
