// Sound that the application mixes in: a thread that asks IVaxoAuxCallback for it.
//
// What OnAuxCallback gets and gives
// - `pData` is a buffer of *pDataLen bytes: 10 ms at the highest quality (1920 bytes). The
//   application fills it from its beginning with signed 16-bit samples in the machine's byte
//   order, the channels interleaved.
// - *pDataLen: set to the bytes given. 0: nothing now; that is silence.
// - *pSampleRate: preset to 48000; 8000 to 48000 may be given instead.
// - *pNumChannels: preset to 2; 1 or 2.
// - An answer outside these bounds, or with half a sample, is ignored; the first one of
//   each callback is written to the log.
// - The next call comes when the sound given has been played, and after 10 ms when there was
//   none. So 10 ms a call keeps the sound going; less than 5 ms a call is stretched to 5.
// - It must return at once: what is late is not heard. It must not call into the live
//   interface and wait for it.
#ifndef VAXO_ENGINE_CAPTURE_AUXSOURCE_H
#define VAXO_ENGINE_CAPTURE_AUXSOURCE_H

#include <functional>
#include <memory>

#include "IVaxoAuxCallback.h"

namespace vaxoengine {

struct AuxSound {
    const unsigned char* data;  // for the length of the call
    int bytes;
    int sampleRate;
    int channels;
};

// Any thread. The asking thread is made when it is first needed and ends with the source.
class AuxSource {
public:
    // `onSound`: on the source's thread; must not block, and must not call the source.
    explicit AuxSource(std::function<void(const AuxSound&)> onSound);
    ~AuxSource();  // waits like SetCallback(nullptr); not from inside a call
    AuxSource(const AuxSource&) = delete;
    AuxSource& operator=(const AuxSource&) = delete;

    // When these return, the former callback (a disabled one) is not running and is not
    // called again. Called from inside the very call they cannot wait for its end; it is the
    // last one.
    void SetCallback(Mediq::IVaxoAuxCallback* callback);
    void Enable(bool enable);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
