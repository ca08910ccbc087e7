// The callback object of a case: enters every event into the ledger.
#ifndef VAXO_TESTS_CONFORMANCE_RECORDER_H
#define VAXO_TESTS_CONFORMANCE_RECORDER_H

#include <atomic>
#include <memory>

#include "IVaxoLive.h"
#include "conformance/engine/Ledger.h"

namespace conformance {

class Recorder final : public Strova::IVaxoLiveCallback {
public:
    // When the last reference goes, the object is marked and kept, so that a call of a callback
    // that is gone is told as a broken rule and does no harm.
    static std::shared_ptr<Recorder> Make(std::shared_ptr<Ledger> ledger);

    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;
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
    explicit Recorder(std::shared_ptr<Ledger> ledger) : m_ledger(std::move(ledger)) {}
    void Hear(Event event);

    const std::shared_ptr<Ledger> m_ledger;
    std::atomic<bool> m_gone{false};
};

// Waits until nobody holds the callback any longer. false: not in time.
bool AwaitGone(const std::weak_ptr<Recorder>& callback);

}  // namespace conformance

#endif
