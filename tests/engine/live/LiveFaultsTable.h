// What two members of a channel must hear when their servers fail: one row for each fault and
// each phase of a stream in which it may strike.
//
// A story is written in words, one for each event that matters:
//   "entry begins", "entry fails N"         OnGetStreamList(0), (N)
//   "publish begins", "publish breaks",     OnPublishStateUpdate(0, (2, (1, (N
//   "publish ends", "publish fails N"
//   "play ..."                              OnPlayStateUpdate, likewise
//   "channel lost N", "channel back"        OnDisconnected(N, OnReconnected(
//   "left", "left with N"                   OnLogout(0), (N)
// Words of one kind (the first word of each) come in the order they stand in; between two kinds
// there is no order: media and channel notice a fault each for itself.
#ifndef VAXO_TESTS_ENGINE_LIVE_LIVEFAULTSTABLE_H
#define VAXO_TESTS_ENGINE_LIVE_LIVEFAULTSTABLE_H

#include <ostream>
#include <string>
#include <vector>

namespace livetest {

enum class Fault { MediaKilled, MediaFrozen, ChannelKilled, ChannelFrozen, BothKilled, BothFrozen };

// The request that names the phase is made with the server frozen, and so is under way when the
// server is killed.
enum class Phase {
    Entering,         // both ask to enter
    PublishStarting,  // both have entered, one asks to publish
    Live,             // one publishes, the other one is there
    PlayStarting,     // one publishes, the other one asks to play
    Playing,          // one publishes, the other one plays
    Leaving,          // both were at it, and ask to leave
};

struct Story {
    std::vector<std::string> during;  // until the servers are repaired
    std::vector<std::string> after;   // until both are where the phase had them
};

struct FaultRow {
    Fault fault;
    Phase phase;
    Story publisher;
    Story viewer;
};

const std::vector<FaultRow>& FaultRows();
const FaultRow& RowOf(Fault fault, Phase phase);

bool HitsMedia(Fault fault);
bool HitsChannel(Fault fault);
bool Kills(Fault fault);
std::string NameOf(Fault fault);
std::string NameOf(Phase phase);

// The word of an event as Member writes it; empty for events that are not of the story.
std::string WordOf(const std::string& event);
// By kind: two stories that are the same but for the order of kinds become equal.
std::vector<std::string> ByKind(std::vector<std::string> words);
std::string Joined(const std::vector<std::string>& words);  // "one, two"; "-" for none

std::ostream& operator<<(std::ostream& out, const FaultRow& row);  // for GoogleTest

}  // namespace livetest

#endif
