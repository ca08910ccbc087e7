// The non-throwing `operator new` of the executable, under the test's control.
//
// Linking vaxo_failing_new sends the calls of the non-throwing forms, plain and
// aligned, through wrappers. They refuse requests of a gibibyte or more by
// themselves, so that a test may ask for the impossible under the sanitizers, and
// everything while a Refusal lives; other requests go on to the real operator.
#ifndef VAXO_FAILINGNEW_H
#define VAXO_FAILINGNEW_H

#include <cstddef>

namespace failing_new {

// While one lives, every request is refused. Not to be nested.
class Refusal {
public:
    Refusal();
    ~Refusal();
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;
};

// The requests since the process began, refused ones included, and the bytes and
// the alignment (0 for the plain form) of the latest.
long Requests();
std::size_t LatestSize();
std::size_t LatestAlignment();

}  // namespace failing_new

#endif
