// An initialised engine: everything it owns, on the engine's thread.
//
// CVaxoLiveShow posts requests here and keeps nothing else. Created by Init, shut down by
// Uninit; a core that is shut down answers what is unanswered and then says nothing more.
#ifndef VAXO_ENGINE_SHOW_LIVECORE_H
#define VAXO_ENGINE_SHOW_LIVECORE_H

#include <memory>
#include <string>
#include <utility>

#include "connection/VaxoSign.h"
#include "engine/base/EngineLoop.h"
#include "engine/capture/Capture.h"
#include "engine/channel/ChannelService.h"
#include "engine/show/KeyFrameGate.h"
#include "engine/show/Plays.h"
#include "engine/show/Publisher.h"
#include "engine/show/Reports.h"
#include "engine/show/SharedView.h"

namespace vaxoengine {

struct Member {
    std::string userID;
    std::string userName;
    std::string channel;
};

class LiveCore : private ChannelObserver {
public:
    LiveCore(VaxoSigner credentials, std::shared_ptr<EventDelivery> delivery,
             std::shared_ptr<SharedView> view);
    virtual ~LiveCore();
    LiveCore(const LiveCore&) = delete;
    LiveCore& operator=(const LiveCore&) = delete;

    void Enter(const Member& member);
    void Leave();
    void StartPublishing(const std::string& title, const std::string& streamID,
                         const std::string& channel);
    void StopPublishing();
    void TakePreviewSnapshot();
    void TakeRenderSnapshot(unsigned channel);
    // Ends everything, and answers what waits. Nothing is reported afterwards.
    void Shutdown();

    // Keeps something alive as long as the core.
    void Keep(std::shared_ptr<void> kept) { m_kept = std::move(kept); }

    // What the application asked for.
    const VideoSettings& Video() const { return m_capture.Video(); }
    void SetVideo(const VideoSettings& settings);
    Capture& TheCapture() { return m_capture; }
    Plays& ThePlays() { return m_plays; }

private:
    void OnChannelEntered(ChannelError error) override;
    void OnChannelStream(const ChannelStream& stream, VaxoAVStreamUpdateFlag flag) override;
    void OnChannelCounts(unsigned online, unsigned total) override;
    void OnChannelLost(ChannelError error) override;
    void OnChannelBack() override;
    void OnKeyFrameWanted() override;

    Publisher::Host PublishHost();
    PlayHost ThePlayHost();
    void Announce(bool live);
    void EndMedia();
    void DropChannel(ChannelError answer);
    void ListAgain();
    bool Listed(const std::string& streamID) const;
    VaxoSigner Signer() const;
    std::string Signed(const std::string& action, const std::string& streamID) const;
    void RenewStats();

    const VaxoSigner m_credentials;
    const std::shared_ptr<SharedView> m_view;
    const std::shared_ptr<EventDelivery> m_delivery;
    const Reports m_reports;
    Member m_member;
    std::string m_title;
    bool m_entering = false;  // an entry waits for its answer
    bool m_leaving = false;   // a leave does
    bool m_inside = false;
    bool m_prepared = false;  // the parts of players are loaded
    std::shared_ptr<void> m_kept;
    Capture m_capture;
    KeyFrameGate m_keyFrames{[this] { m_capture.ForceKeyFrame(); }};
    Publisher m_publisher;
    Plays m_plays;
    std::unique_ptr<ChannelService> m_channel;
    EngineTimer m_statsTimer;
};

// A stream as the application sees it: with addresses that are signed now. Any thread.
Strova::VaxoLiveStream ForApplication(const ChannelStream& stream, const VaxoSigner& signer);
// A play address of a stream, signed now; empty when no media server is set. Any thread.
std::string PlayAddress(const VaxoSigner& signer, const std::string& streamID);
// The credentials in the name of the settings' user. Any thread.
VaxoSigner WithUser(VaxoSigner credentials);

}  // namespace vaxoengine

#endif
