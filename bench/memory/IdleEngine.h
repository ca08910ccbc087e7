// An engine that does nothing and says so at once: every operation answers 0 or nothing, no
// event comes by itself. So a command of types 1 to 6 holds the queue until an event is given
// to IdleEngineCallback(). Linking it defines CVaxoLiveShow and CVaxoAVConnHttp.
#ifndef VAXO_BENCH_MEMORY_IDLEENGINE_H
#define VAXO_BENCH_MEMORY_IDLEENGINE_H

#include <memory>

#include "IVaxoLive.h"

namespace vaxoengine {

// Where the engine reports its events; empty before the first Init has run. Read it when
// nothing initialises.
std::shared_ptr<Strova::IVaxoLiveCallback> IdleEngineCallback();

}  // namespace vaxoengine

#endif
