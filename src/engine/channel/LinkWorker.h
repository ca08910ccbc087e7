// The connection's thread: everything that is said to the service passes through here.
#ifndef VAXO_ENGINE_CHANNEL_LINKWORKER_H
#define VAXO_ENGINE_CHANNEL_LINKWORKER_H

#include <memory>

#include "engine/channel/LinkState.h"

namespace vaxoengine {

// Connects, serves the requests and tells the events of `state`; returns when the
// connection has ended or was cut.
void RunLink(const std::shared_ptr<LinkState>& state);

}  // namespace vaxoengine

#endif
