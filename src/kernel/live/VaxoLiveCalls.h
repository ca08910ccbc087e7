// The call numbers by name, from the table in VaxoLiveCalls.inc.
#ifndef VAXO_VAXOLIVECALLS_H
#define VAXO_VAXOLIVECALLS_H

#include "vaxotypes.h"

// The rows become constants and table entries: see VaxoLiveCalls.inc for why by macro.
namespace Strova::livecall {

// livecall::SetView is 102, and so on.
#define VAXO_LIVE_CALL(number, operation) constexpr uint64 operation = number;
#define VAXO_LIVE_SETTER(number, operation, status, parameters, values) \
    VAXO_LIVE_CALL(number, operation)
#include "live/VaxoLiveCalls.inc"

struct Row {
    uint64 number;
    const char* operation;
    bool setter;              // forwarded to the engine's operation of the same name
    int statusWithoutEngine;  // of a setter
};

constexpr Row Rows[] = {
#define VAXO_LIVE_CALL(number, operation) {number, #operation, false, -1},
#define VAXO_LIVE_SETTER(number, operation, status, parameters, values) \
    {number, #operation, true, status},
#include "live/VaxoLiveCalls.inc"
};

}  // namespace Strova::livecall

#endif
