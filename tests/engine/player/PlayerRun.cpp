#include "engine/player/PlayerRun.h"

#include <algorithm>
#include <chrono>
#include <future>

#include "engine/base/EngineLoop.h"

namespace livetest {

using vaxoengine::EngineLoop;
using vaxoengine::Player;
using vaxoengine::PlayerCallbacks;

void OnEngine(const std::function<void()>& job) {
    std::promise<void> done;
    EngineLoop::Shared().Post([&] {
        job();
        done.set_value();
    });
    done.get_future().wait();
}

PlayerRun::PlayerRun(const std::string& address, const std::string& audioOutput) {
    OnEngine([&] {
        m_player = std::make_unique<Player>(address, audioOutput, Callbacks());
        m_started = m_player->Start();
    });
}

PlayerRun::~PlayerRun() {
    Destroy();
}

PlayerCallbacks PlayerRun::Callbacks() {
    PlayerCallbacks callbacks;
    callbacks.connected = [this](std::chrono::milliseconds) { m_connected = true; };
    callbacks.playing = [this] { Note("playing"); };
    callbacks.size = [this](int width, int height) {
        Note("size " + std::to_string(width) + "x" + std::to_string(height));
    };
    callbacks.ended = [this] { Note("ended"); };
    callbacks.notFound = [this](const std::string& reason) { Note("notFound", reason); };
    callbacks.refused = [this](const std::string& reason) { Note("refused", reason); };
    callbacks.failed = [this](const std::string& reason) { Note("failed", reason); };
    return callbacks;
}

void PlayerRun::Note(const std::string& event, const std::string& reason) {
    bool destroy = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        destroy = event == m_destroyOn;
    }
    if (destroy) {
        m_player.reset();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_events.push_back(event);
    m_reason = reason;
    m_changed.notify_all();
}

bool PlayerRun::Waits(const std::string& event) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(30), [&] {
        return std::any_of(m_events.begin(), m_events.end(), [&](const std::string& seen) {
            return seen.compare(0, event.size(), event) == 0;
        });
    });
}

std::vector<std::string> PlayerRun::Events() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

std::string PlayerRun::Reason() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reason;
}

void PlayerRun::Destroy() {
    OnEngine([this] { m_player.reset(); });
}

void PlayerRun::DestroyOn(const std::string& event) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_destroyOn = event;
}

void PlayerRun::Do(const std::function<void(Player&)>& job) {
    OnEngine([&] {
        if (m_player != nullptr) {
            job(*m_player);
        }
    });
}

Player::Stats PlayerRun::Stats() {
    Player::Stats stats;
    Do([&](Player& player) { stats = player.GetStats(); });
    return stats;
}

bool PlayerRun::Snapshot(vaxoengine::Snapshot& out) {
    bool taken = false;
    Do([&](Player& player) { taken = player.TakeRenderSnapshot(out); });
    return taken;
}

namespace {

std::string Address(const std::string& action, const std::string& stream) {
    const Application app = LocalServers::Shared().App();
    const std::string name = VaxoMediaName(app.id, stream);
    return LocalServers::Shared().MediaURL() + "/" + name + "?" +
           VaxoSignQuery(SignerOf(app), action, name, InSeconds(600));
}

}  // namespace

std::string PublishAddress(const std::string& stream) {
    return Address("publish", stream);
}

std::string PlayAddress(const std::string& stream) {
    return Address("play", stream);
}

std::vector<std::string> Publisher(const std::string& address, Tracks tracks) {
    std::vector<std::string> words = {"ffmpeg", "-nostdin", "-loglevel", "error"};
    const auto add = [&words](std::initializer_list<const char*> more) {
        words.insert(words.end(), more.begin(), more.end());
    };
    if (tracks != Tracks::audio) {
        add({"-re", "-f", "lavfi", "-i", "color=c=0x00C000:size=320x180:rate=30"});
    }
    if (tracks != Tracks::video) {
        add({"-re", "-f", "lavfi", "-i", "sine=frequency=440"});
    }
    add({"-c:v", "libx264", "-preset", "ultrafast", "-tune", "zerolatency", "-g", "30", "-pix_fmt",
         "yuv420p", "-c:a", "aac", "-t", "120", "-f", "flv"});
    words.push_back(address);
    return words;
}

}  // namespace livetest
