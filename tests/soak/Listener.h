// Says every event of an engine as it comes, and lets one thread wait for some.
//
//   {"ms": ..., "event": "play", "value": 0, "stream": "s"}
//
// Events: entered, stream, counts, publish, play, size, left, disconnected, reconnected.
// "value" is the number that came with it, an error, a state or a flag.
#ifndef VAXO_TESTS_SOAK_LISTENER_H
#define VAXO_TESTS_SOAK_LISTENER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "IVaxoLive.h"

namespace soak {

class Listener final : public Strova::IVaxoLiveCallback {
public:
    // The value of the first event of that name since the last Forget, or of the next one to
    // come; empty: none in time.
    std::optional<std::int64_t> Wait(const std::string& event, std::chrono::seconds limit);
    void Forget();

    void OnPublishStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int,
                           unsigned long long) override {}
    void OnVideoSizeChanged(unsigned long long, int, int) override {}
    void OnPreviewSnapshot(void* pImage) override;
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override;
    void OnGetStreamList(unsigned int err) override;
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) override;
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override;
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override;
    void OnLogout(unsigned int err) override;
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override;
    void OnReconnected(const vaxo::strutf8& liveChn) override;

private:
    void Tell(const std::string& event, std::int64_t value, const std::string& stream = {});

    std::mutex m_lock;  // guards the rest
    std::condition_variable m_changed;
    std::map<std::string, std::int64_t> m_first;
};

}  // namespace soak

#endif
