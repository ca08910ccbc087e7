// The sound of a player: decodes what it is given and plays it on a device, in a pipeline
// of its own, so that a loudspeaker in trouble never holds up the pictures. A device that
// cannot be opened or fails is replaced with silence in real time.
// Engine's thread only, but for Push.
#ifndef VAXO_ENGINE_PLAYER_SOUND_H
#define VAXO_ENGINE_PLAYER_SOUND_H

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <gst/gst.h>

#include "engine/base/GstRef.h"

namespace vaxoengine {

class Sound {
public:
    // `device`: of Devices.h. `onSound` is called in a streaming thread when the first sound
    // is decoded, and again when the device was replaced; after the destructor no more.
    Sound(const std::string& device, std::function<void()> onSound);
    ~Sound();
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;

    static void Prepare();  // see Player::Prepare

    // `baseTime`: of the pipeline that the times of the pieces are measured in.
    void Start(GstClockTime baseTime);
    void Enable(bool enable);

    // Any thread. AAC as its caps say, with the running time at which it is due. Never waits.
    void Push(GstBuffer* piece, GstCaps* caps);

private:
    bool Play(const std::string& sink);
    void Replace();
    void Stop();
    void TakeSource(GstRef<GstElement> source);

    std::string m_device;
    std::function<void()> m_onSound;
    GstClockTime m_baseTime = 0;
    bool m_enabled = true;
    bool m_replaced = false;
    GstRef<GstElement> m_pipeline;
    std::unique_ptr<BusWatch> m_bus;

    std::mutex m_mutex;
    GstRef<GstElement> m_source;
};

}  // namespace vaxoengine

#endif
