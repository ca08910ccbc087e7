// Auxiliary audio: sound that the application mixes into what it publishes.
#ifndef VAXO_IVAXOAUXCALLBACK_H
#define VAXO_IVAXOAUXCALLBACK_H

#include "vaxotypes.h"

namespace Mediq {

// Implemented by the application, given to SetAuxCallback, called by the engine
// on a thread of its own while auxiliary audio is enabled. It must return at once
// and must not throw.
//
// The application owns the object. It must outlive the commands that use it: take
// it away with SetAuxCallback(nullptr), and free it once that has run (a getter
// called when the queue is not held returns after it; so does OnLogout of a later
// Logout).
class VAXO_API IVaxoAuxCallback {
public:
    // Fills `pData` with audio. The meaning of the buffer and of the three numbers
    // (room in bytes and bytes given, samples a second, channels) is the engine's.
    virtual void OnAuxCallback(unsigned char* pData, int* pDataLen, int* pSampleRate,
                               int* pNumChannels) = 0;
    virtual ~IVaxoAuxCallback() = default;
};

}  // namespace Mediq

#endif
