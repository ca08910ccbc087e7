// The play of one stream, see Plays.h. Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_PLAY_H
#define VAXO_ENGINE_SHOW_PLAY_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "VaxoAVDefines.h"
#include "engine/base/EngineLoop.h"
#include "engine/player/Player.h"
#include "engine/show/Refusal.h"
#include "engine/show/Retry.h"

namespace vaxoengine {

struct PlayHost {
    std::function<bool()> inChannel;
    std::function<bool(const std::string& streamID)> listed;
    std::function<std::string(const std::string& streamID)> signedAddress;  // empty: none is set
    // Where the server says why it refuses that address; empty: nowhere.
    std::function<std::string(const std::string& signedAddress)> whyAddress;
    // It waits for the first picture of the stream: its publisher may be told.
    std::function<void(const std::string& streamID)> begins;
    // The answer to a request; a change of a running play.
    std::function<void(Mediq::VaxoAVState, const std::string& streamID)> answer;
    std::function<void(Mediq::VaxoAVState, const std::string& streamID)> change;
    std::function<void(const std::string& streamID, int width, int height)> size;
};

struct PlayView {
    unsigned long window = 0;
    ViewMode mode = ViewMode_Fit;
};

struct PlayLook {
    bool sound = true;
    std::string audioOutput;
};

class Play {
public:
    // `over`: the play ended for good and was reported; it is to be destroyed, which `over` may
    // do at once.
    Play(std::string streamID, const PlayHost& host, std::function<void()> over);
    ~Play();  // ends it without a word
    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;

    void Begin(const PlayLook& look);
    // Another request to play it: answered at once when it plays, else with the first.
    void BeginAgain();
    void OnGone();

    bool Answered() const { return m_state != State::Starting; }
    unsigned channel = 0;
    void SetView(const PlayView& view);
    void EnableSound(bool enable);
    bool TakeSnapshot(Snapshot& out);
    Player::Stats GetStats() const;

private:
    enum class State { Starting, Live, Lost, Broken };

    void Connect();
    void OnConnected(std::chrono::milliseconds took);
    void AskForKeyFrame(std::chrono::milliseconds wait, int times);
    void OnPlaying();
    void OnNone(Mediq::VaxoAVState state, const std::string& reason);
    void OnRefused(const std::string& reason);
    void OnBehind();
    void AwaitReturn();
    void TryAgain();
    void End(Mediq::VaxoAVState state);

    const std::string m_streamID;
    const PlayHost& m_host;
    std::function<void()> m_over;
    PlayLook m_look;
    PlayView m_view;
    State m_state = State::Starting;
    std::unique_ptr<Player> m_player;
    Retry m_retry;
    std::string m_address;  // signed, of the last attempt
    Refusal m_refusal;
    EngineTimer m_atTheEdge;  // a connection made for that, lately
    EngineTimer m_gone;       // from the channel's list, while broken
    EngineTimer m_asking;
    EngineTimer m_limit;  // of the start, or of one attempt to come back
};

}  // namespace vaxoengine

#endif
