// Who is in a scene of FaultScene.h: members that ask for things and remember what they hear.
#ifndef VAXO_TESTS_ENGINE_LIVE_FAULTCAST_H
#define VAXO_TESTS_ENGINE_LIVE_FAULTCAST_H

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "engine/live/Ear.h"
#include "engine/live/FaultScene.h"
#include "engine/live/LiveFaultsTable.h"
#include "engine/live/Member.h"

namespace livetest {

// One member, and what it asked for. Its requests do not wait.
class Part {
public:
    using Clock = Heard::Clock;

    Part(const LocalServers& servers, const std::string& theName, const Story& theStory);

    void Enter(const std::string& channel);
    void Publish(const std::string& streamID);
    void Play(const std::string& streamID);
    void Leave();

    // Both wait longer than every bound that is tested. False: in vain.
    bool AwaitWords(std::size_t count, Clock::time_point from) const;
    bool AwaitAnswer() const;  // to the last request
    bool Listed(const std::string& streamID);

    // What came from `from` to `to`. The answer to a request made after `from` is counted from
    // the request, everything else from `base`, or as 0 when it came before.
    std::vector<Timed> Words(Clock::time_point from, Clock::time_point to,
                             Clock::time_point base) const;

    const std::string name;
    const Story story;
    bool asksAgain = false;  // what it asked for in the fault has failed
    std::vector<Timed> during;
    std::vector<Timed> after;
    Clock::time_point left;
    std::string kind;  // of the last request
    Clock::time_point asked;

private:
    void Asks(const char* what);

    Member m_member;
    Ear m_ear;  // last: it ends before the member does
};

// The publisher and the viewer of one phase, in a channel of their own.
struct Act {
    Act(const LocalServers& servers, const FaultRow& row);

    bool Publishes() const;  // before the fault
    bool Plays() const;
    bool PublishesAtTheEnd() const;
    void AskWhatStarts();
    void AskAgain();

    const Phase phase;
    const std::string stream;  // and channel
    Part publisher;
    Part viewer;
    bool listed = false;
};

}  // namespace livetest

#endif
