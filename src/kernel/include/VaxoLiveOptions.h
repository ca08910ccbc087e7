// Choices of the library's own engine, beside the live interface.
#ifndef VAXO_VAXOLIVEOPTIONS_H
#define VAXO_VAXOLIVEOPTIONS_H

#include "vaxotypes.h"

namespace Strova {

// Whether a publish encodes less than what was set while the network does not take it: fewer
// bits first, then fewer pictures, and back again as soon as it does. On by default. Off: what
// was set, always; what the network does not take is left out, whole groups of pictures at a
// time. Counts from then on, for the publish that runs too. Any thread.
VAXO_API void VaxoLiveSetAdaptive(bool adaptive);

}  // namespace Strova

#endif
