// The inside of a player: PlayerStreams.cpp is what streaming threads run, Player.cpp the rest,
// on the engine's thread.
#ifndef VAXO_ENGINE_PLAYER_PLAYERIMPL_H
#define VAXO_ENGINE_PLAYER_PLAYERIMPL_H

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <string>

#include "engine/base/EngineLoop.h"
#include "engine/base/GstRef.h"
#include "engine/base/ServerWay.h"
#include "engine/player/LivePacer.h"
#include "engine/player/Player.h"
#include "engine/player/ShownPictures.h"
#include "engine/player/Sound.h"

namespace vaxoengine {

// Messages from streaming threads to the engine's, through the bus: in order with its errors,
// and gone with it.
constexpr const char* kSizeNews = "vaxo-size";
constexpr const char* kPictureNews = "vaxo-picture";
constexpr const char* kSoundNews = "vaxo-sound";
constexpr const char* kConnectedNews = "vaxo-connected";
constexpr const char* kReceivedNews = "vaxo-received";
constexpr const char* kEndNews = "vaxo-end";
constexpr const char* kUnknownNews = "vaxo-unknown-video";
void TellEngine(GstElement* pipeline, GstStructure* news);

struct Player::Impl : std::enable_shared_from_this<Player::Impl> {
    Impl(const std::string& address, const std::string& audioOutput, PlayerCallbacks toCall);
    ~Impl() { Stop(); }

    bool Start();
    void Leave();
    void Stop();
    Stats GetStats() const;

    // Engine's thread.
    void Connect();
    void OnMessage(GstMessage* message);
    void OnError(GstMessage* message);
    void OnNews(const GstStructure* news);
    void OnEnd();
    void OnConnected(const GstStructure* news) const;
    void OnSize(const GstStructure* news) const;
    void OnFirstSound();
    void OnPlaying();
    void Measure();
    void MeasureLateness();
    template <class Callback, class... Args>
    void Finish(Callback PlayerCallbacks::*callback, const Args&... args);

    // Streaming threads.
    static void OnPad(GstElement* demux, GstPad* pad, gpointer impl);
    static void OnShown(GstElement* sink, GstBuffer* picture, GstPad* pad, gpointer impl);
    static GstPadProbeReturn OnReceived(GstPad* pad, GstPadProbeInfo* info, gpointer impl);
    static GstPadProbeReturn OnVideo(GstPad* pad, GstPadProbeInfo* info, gpointer impl);
    static GstPadProbeReturn OnAudio(GstPad* pad, GstPadProbeInfo* info, gpointer impl);
    std::int64_t Now() const;
    using Shift = std::int64_t (LivePacer::*)(std::int64_t now, std::int64_t media);
    void Place(GstPadProbeInfo* info, Shift shift);

    struct Measured {
        std::chrono::steady_clock::time_point when;
        uint64 pictures;
        uint64 bytes;
    };

    PlayerCallbacks callbacks;
    std::string address;
    GstRef<GstElement> pipeline;
    GstRef<GstClock> clock{gst_system_clock_obtain()};
    GstClockTime baseTime = 0;
    std::unique_ptr<Sound> sound;
    std::unique_ptr<ViewBranch> view;
    std::unique_ptr<BusWatch> bus;
    std::unique_ptr<ServerWay> way;
    EngineTimer limit;
    EngineTimer measuring;
    std::deque<Measured> measured;
    int late = 0;             // measurements in a row
    bool connecting = false;  // the server's answer is still to come
    bool closing = false;     // the source has failed or ended, and closes its connection
    bool left = false;        // nobody has the player any more
    bool finished = false;    // the last callback has been called
    bool playing = false;
    bool heard = false;

    // Of streaming threads.
    LivePacer pacer;  // pictures and sound come on one thread
    ShownPictures shown;
    std::atomic<uint64> bytes{0};
    std::atomic<bool> hasVideo{false};
};

}  // namespace vaxoengine

#endif
