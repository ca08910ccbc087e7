// The header by itself: an application that gives auxiliary audio needs no other include.
#include "IVaxoAuxCallback.h"

namespace {

class Silence final : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* /*pData*/, int* pDataLen, int* /*pSampleRate*/,
                       int* /*pNumChannels*/) override {
        *pDataLen = 0;
    }
};

[[maybe_unused]] void Ask(Silence& silence) {
    int length = 1;
    silence.OnAuxCallback(nullptr, &length, nullptr, nullptr);
}

}  // namespace
