// The plays of an engine: each from a request to its end, through lost connections.
//
// Each request is answered exactly once: a start by Begin or an error at most kAnswerLimit
// later, a stop by End at once. What happens to a running play meanwhile comes as a change.
// Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_PLAYS_H
#define VAXO_ENGINE_SHOW_PLAYS_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "VaxoAVDefines.h"
#include "VaxoLiveStats.h"
#include "engine/player/Player.h"
#include "engine/show/Play.h"

namespace vaxoengine {

class Plays {
public:
    explicit Plays(PlayHost host);
    ~Plays();  // ends them all without a word
    Plays(const Plays&) = delete;
    Plays& operator=(const Plays&) = delete;

    // A play of a stream that plays already moves to the channel. A channel holds one stream:
    // the one before ends, which comes as a change.
    void Start(const std::string& streamID, unsigned channel);
    void Stop(const std::string& streamID);
    // Ends them all; each comes as a change, one whose start is unanswered as its answer.
    void StopAll();
    // The stream left the channel's list.
    void OnGone(const std::string& streamID);

    void SetWindow(unsigned long window, unsigned channel);
    void SetMode(ViewMode mode, unsigned channel);
    void EnableSound(bool enable);
    void SetAudioOutput(const std::string& device);  // of plays that begin from now on
    bool TakeSnapshot(unsigned channel, Snapshot& out);
    std::vector<Strova::VaxoLivePlayStats> GetStats() const;

private:
    std::map<std::string, std::unique_ptr<Play>>::iterator OnChannel(unsigned channel);
    void Remove(const std::string& streamID);

    PlayHost m_host;
    PlayLook m_look;
    std::map<unsigned, PlayView> m_views;  // by channel
    std::map<std::string, std::unique_ptr<Play>> m_plays;
};

}  // namespace vaxoengine

#endif
