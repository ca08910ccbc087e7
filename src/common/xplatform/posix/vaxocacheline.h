// How far apart lies what different threads write. Private to the platform layer.
#ifndef VAXO_VAXOCACHELINE_H
#define VAXO_VAXOCACHELINE_H

#include <cstddef>

// Bytes that processors hand to one another at once; more on some, where it costs a little. The
// standard's own constant warns when it is used in a header, for it may differ between compilers.
constexpr std::size_t vaxo_cache_line = 64;

#endif
