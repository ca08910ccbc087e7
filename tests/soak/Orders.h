// What a member is told, a line each. "play off" and "play on" stop the play and start it
// again; the others are the engine's settings:
//
//   bitrate N | fps N | size WxH | mic on|off | cam on|off | filter N | beautify N | rotation N
#ifndef VAXO_TESTS_SOAK_ORDERS_H
#define VAXO_TESTS_SOAK_ORDERS_H

#include <string>

#include "live/VaxoLiveShow.h"

namespace soak {

// Does what the line says: the engine's status; -1 for a line that means nothing.
int Obey(Strova::CVaxoLiveShow& engine, const std::string& stream, const std::string& line);

}  // namespace soak

#endif
