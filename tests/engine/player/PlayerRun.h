// A player on the engine's thread, and what it told; a stream to play.
#ifndef VAXO_TESTS_ENGINE_PLAYERRUN_H
#define VAXO_TESTS_ENGINE_PLAYERRUN_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/player/Player.h"
#include "servers/ServerTools.h"

namespace livetest {

// Runs on the engine's thread and waits for it.
void OnEngine(const std::function<void()>& job);

class PlayerRun {
public:
    explicit PlayerRun(const std::string& address, const std::string& audioOutput = "none:sink");
    ~PlayerRun();
    PlayerRun(const PlayerRun&) = delete;
    PlayerRun& operator=(const PlayerRun&) = delete;

    // Events: "playing", "size WxH", "ended", "notFound", "refused", "failed". Waits for one that
    // begins like this, half a minute at most.
    bool Waits(const std::string& event);
    std::vector<std::string> Events() const;
    std::string Reason() const;  // of the last event

    void Destroy();
    void DestroyOn(const std::string& event);  // inside its callback
    void Do(const std::function<void(vaxoengine::Player&)>& job);
    vaxoengine::Player::Stats Stats();
    bool Snapshot(vaxoengine::Snapshot& out);
    bool Started() const { return m_started; }
    bool Connected() const { return m_connected; }

private:
    void Note(const std::string& event, const std::string& reason = "");
    vaxoengine::PlayerCallbacks Callbacks();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
    std::string m_reason;
    std::string m_destroyOn;
    std::unique_ptr<vaxoengine::Player> m_player;
    bool m_started = false;
    std::atomic<bool> m_connected{false};
};

// Addresses of a stream of application 42 at the shared servers.
std::string PublishAddress(const std::string& stream);
std::string PlayAddress(const std::string& stream);

enum class Tracks { both, video, audio };
// ffmpeg publishing there: 320 x 180 at 30 a second, green, a key frame each second, and a tone.
std::vector<std::string> Publisher(const std::string& address, Tracks tracks = Tracks::both);

}  // namespace livetest

#endif
