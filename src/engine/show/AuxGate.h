// Between the application's auxiliary callback and the capture: the application may take
// its object away at any moment, and after Set has returned it is called no more.
#ifndef VAXO_ENGINE_SHOW_AUXGATE_H
#define VAXO_ENGINE_SHOW_AUXGATE_H

#include <mutex>

#include "IVaxoAuxCallback.h"

namespace vaxoengine {

class AuxGate : public Mediq::IVaxoAuxCallback {
public:
    // Any thread but the one that is inside the callback; waits for a call that runs now.
    void Set(Mediq::IVaxoAuxCallback* callback) {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_callback = callback;
    }

    void OnAuxCallback(unsigned char* pData, int* pDataLen, int* pSampleRate,
                       int* pNumChannels) override {
        const std::lock_guard<std::mutex> hold(m_lock);
        if (m_callback != nullptr) {
            m_callback->OnAuxCallback(pData, pDataLen, pSampleRate, pNumChannels);
        } else {
            *pDataLen = 0;
        }
    }

private:
    std::mutex m_lock;
    Mediq::IVaxoAuxCallback* m_callback = nullptr;
};

}  // namespace vaxoengine

#endif
