// A look at the command queue from the application, for the report that comes at night: what
// runs, since when, what waits behind it, and what became of the calls before.
//
//     Strova::VaxoLiveWatchQueue(true);                    // once, at the start
//     ...
//     const auto dump = Strova::VaxoLiveDumpQueue();       // when something seems stuck
//     Report(Strova::VaxoLiveDescribeQueue(dump));
//
// Off by default, and without any effect on calls, events and the log. On, each call costs a
// few copies of its text.
//
// Guarantees
// - Every function here may be called from any thread. VaxoLiveDumpQueue and
//   VaxoLiveDescribeQueue may also be called from a callback, from the log's sink and while
//   the engine hangs: they wait for nobody.
// - What is told holds what the log tells of a command, and so no sign key.
//
// Non-guarantees
// - A dump is a moment of a queue that goes on; the next line of code may find another.
#ifndef VAXO_VAXOLIVEWATCH_H
#define VAXO_VAXOLIVEWATCH_H

#include <memory>

#include "vaxostream.h"
#include "vaxotypes.h"
#include "vaxovector.h"

namespace Strova {

// A call, as the log names its command: "PlayStream(0/alpha)".
struct VaxoLiveCall {
    vaxo::strutf8 type;             // "GetInRoom" to "StopPublish", or "SyncCmd"
    vaxo::strutf8 operation;        // what the application called: "SetVideoBitrate"
    unsigned long long number = 0;  // the call number of a SyncCmd (docs/call-numbers.md), or 0
    vaxo::strutf8 text;             // the stream or channel it is about, or empty
    long long millis = -1;          // how long ago it came into this state; -1: before the watch
};

// What the call does that came to its turn.
enum VaxoLiveCallPhase : int32 {
    VaxoLiveCall_None = 0,     // there is none
    VaxoLiveCall_Running = 1,  // it is in the engine's hands on worker 0
    VaxoLiveCall_Held = 2,     // it has run; nothing else runs until its event comes
};

// How a call was received.
enum VaxoLiveDecisionKind : int32 {
    VaxoLiveDecision_Stored = 0,   // it waits for its turn
    VaxoLiveDecision_Removed = 1,  // it made a waiting call pointless, which was removed
    VaxoLiveDecision_Refused = 2,  // a waiting call made it pointless
};

// One call that was received, and how.
struct VaxoLiveDecision {
    VaxoLiveDecisionKind kind = VaxoLiveDecision_Stored;  // how
    VaxoLiveCall call;                                    // the newcomer
    VaxoLiveCall other;  // the one removed or the one that refused; empty texts for Stored
};

// The queue at one moment.
struct VaxoLiveQueueDump {
    // False while not watched: then only `phase` and `current` are known, and of SyncCmds nothing.
    bool watched = false;
    VaxoLiveCallPhase phase = VaxoLiveCall_None;  // of `current`
    VaxoLiveCall current;                         // the one that runs or holds the queue
    vaxo::strutf8 awaited;  // the event that ends a held call, as "OnPlayStateUpdate(alpha)"
    vaxostl::vector<VaxoLiveCall> waiting;        // oldest first, at most 256
    uint32 waitingCount = 0;                      // all of them
    vaxostl::vector<VaxoLiveDecision> decisions;  // oldest first, at most the last 64
};

// Begins to note what happens in the queue; false ends it and forgets the notes. Not from the
// log's sink: the queue may be at work in it.
VAXO_API void VaxoLiveWatchQueue(bool watch);

// The queue at this moment.
VAXO_API VaxoLiveQueueDump VaxoLiveDumpQueue();

// The same for people: a few lines, each ended by a line feed.
VAXO_API vaxo::strutf8 VaxoLiveDescribeQueue(const VaxoLiveQueueDump& dump);

// Told of calls that were accepted and never run.
class VAXO_API IVaxoLiveQueueObserver {
public:
    // A newer call made this waiting one pointless, and it was removed. On worker 2, in the
    // order of the removals and of the application's events; `millis` is -1.
    virtual void OnCallRemoved(const VaxoLiveCall& removed) = 0;

    virtual ~IVaxoLiveQueueObserver() = default;
};

// Sets the observer, empty for none; none at first. It is held weakly. What is on its way
// then goes to the new one. Not from the log's sink.
VAXO_API void VaxoLiveSetQueueObserver(std::weak_ptr<IVaxoLiveQueueObserver> observer);

}  // namespace Strova

#endif
