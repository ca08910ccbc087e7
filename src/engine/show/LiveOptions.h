// The engine's side of VaxoLiveOptions.h. Any thread.
#ifndef VAXO_ENGINE_SHOW_LIVEOPTIONS_H
#define VAXO_ENGINE_SHOW_LIVEOPTIONS_H

namespace vaxoengine {

bool IsAdaptive();

}  // namespace vaxoengine

#endif
