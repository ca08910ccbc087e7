// What VaxoLiveGetStats answers. The engine's thread sets it, any thread asks.
#ifndef VAXO_ENGINE_SHOW_LIVESTATS_H
#define VAXO_ENGINE_SHOW_LIVESTATS_H

#include "VaxoLiveStats.h"

namespace vaxoengine {

void SetLiveStats(const Strova::VaxoLiveStats& stats);

}  // namespace vaxoengine

#endif
