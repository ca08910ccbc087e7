// One attempt at playing one stream from the media server. Thrown away and made anew on
// trouble; windows, modes and the speaker's state are given again by the owner.
// Engine's thread only.
#ifndef VAXO_ENGINE_PLAYER_PLAYER_H
#define VAXO_ENGINE_PLAYER_PLAYER_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "engine/view/Snapshot.h"
#include "engine/view/ViewBranch.h"

namespace vaxoengine {

struct PlayerCallbacks {
    // The connection to the server was made, which took so long: one way there and back. The
    // server has not been greeted yet. May come again when another of this process is made.
    std::function<void(std::chrono::milliseconds took)> connected;
    std::function<void()> playing;  // first picture (or, without pictures, first sound) shown; once
    std::function<void(int width, int height)> size;  // before `playing`, and on a change
    // The stream has been coming more than a second late for two seconds, and stays so: the way
    // has become long, and another connection would begin at the live edge. Told again after
    // another two seconds.
    std::function<void()> behind;
    std::function<void()> ended;  // the server ended it or went away: EOS does not say why
    std::function<void(const std::string& reason)> notFound;  // the server has no such stream
    std::function<void(const std::string& reason)> refused;   // address or signature refused
    std::function<void(const std::string& reason)>
        failed;  // anything else: unreachable, broken media
};

class Player {
public:
    // Callbacks come on the engine's thread; after one of the last four there are no more.
    // Each may destroy the player.
    // `audioOutput`: a device of Devices.h; empty for the default. One that cannot be opened
    // costs the sound alone.
    Player(const std::string& signedAddress, const std::string& audioOutput,
           PlayerCallbacks callbacks);
    // Returns at once and calls nothing afterwards. While the server's answer is still to come
    // the connection stays for up to ten seconds more, unheard.
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Loads the parts of which players are made, which the first player of a process would
    // otherwise wait for (some 60 ms). Any thread.
    static void Prepare();

    // False when it is no address of a stream, or the pipeline cannot be built: then there are
    // no callbacks.
    bool Start();
    bool SetWindow(unsigned long window);  // 0: none
    void SetMode(ViewMode mode);
    void EnableSound(bool enable);
    // The last picture shown. False when there is none yet.
    bool TakeRenderSnapshot(Snapshot& out);

    struct Stats {
        double fps = 0;        // shown over the last second
        unsigned bitrate = 0;  // bits a second, received over the last second
        int latencyMillis =
            -1;  // age of the last picture shown that carried a ClockStamp; -1: none
    };
    Stats GetStats() const;

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
