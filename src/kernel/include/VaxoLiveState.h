// States that the library's own engine tells beside those of VaxoAVState.
#ifndef VAXO_VAXOLIVESTATE_H
#define VAXO_VAXOLIVESTATE_H

#include "vaxotypes.h"

namespace Strova {

// In the place of a VaxoAVState, of a publish or a play. Each is an end for good.
enum VaxoLiveState : int32 {
    VaxoLiveState_SignatureRefused = 101,  // wrong sign key or application identifier
    VaxoLiveState_SignatureExpired = 102,  // this machine's clock is minutes behind the server's
    VaxoLiveState_NameInUse = 103,         // somebody publishes under that name
};

}  // namespace Strova

#endif
