// What a porter writes to have an engine checked: the surroundings of a
// Strova::CVaxoLiveShow that the kit cannot know. README.md is the guide.
//
// The kit makes engines, calls them as the proxy does, and more roughly than it does, and
// holds every event against the rules in Rules.h. It needs one channel with one stream in it
// that can be played for as long as the program runs.
//
// What an engine must bear (from IVaxoLive.h, "for whoever writes an engine")
// - Its operations come one at a time on one thread, the worker. So do its constructor and
//   SetCallback. The kit keeps to that.
// - GetStreamList(vector) alone may also come on any other thread, at any moment, also on the
//   thread and from inside of one of the engine's events (a Logout calls it there).
// - An event may wait for an operation that runs on the worker: no operation waits for an event,
//   or for a thread of the engine that is inside one.
// - The callback is held weakly; it may be replaced, or go, at any moment.
// - The destructor may run on any thread, also from inside an event that the engine gives on a
//   thread of its own.
// - Calls before Init, after Uninit and in the wrong order, with any argument: a status other
//   than 0 and silence, or 0 and the answer.
// The proxy lets one stream or channel request wait for its answer at a time. The teardown
// cases do not: a program that ends, or a later proxy, may not either.
//
// What the kit leaves open: which arguments are refused, which number stands for which
// failure, which thread an event comes on, what media do.
#ifndef VAXO_TESTS_CONFORMANCE_ENVIRONMENT_H
#define VAXO_TESTS_CONFORMANCE_ENVIRONMENT_H

#include <memory>
#include <string>

#include "IVaxoLive.h"

namespace conformance {

// One object a program. All is called on the main thread, but InitEngine.
class Environment {
public:
    Environment() = default;
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    virtual ~Environment() = default;

    // Before the first engine is made: starts servers, sets the addresses in CVaxoAppSetting,
    // publishes PlayableStream(). A GoogleTest failure in here ends the program.
    virtual void SetUp() {}
    // After the last engine has gone.
    virtual void TearDown() {}

    // Init, with an identifier and a key that are accepted, and what else a new engine needs
    // before it can publish (capture devices). Answers Init's status. On the worker; the engine
    // is one of the kit's, or the proxy, which queues everything.
    virtual int InitEngine(Strova::IVaxoLive& engine) = 0;

    // A channel that may be entered, and a stream in it that can be played: it is there on entry,
    // and as long as the program runs. Any number of viewers.
    virtual std::string Channel() const { return "conformance"; }
    virtual std::string PlayableStream() const = 0;
    // Another channel that may be entered. It may be empty.
    virtual std::string OtherChannel() const { return "conformance-other"; }
    // A stream that is in no channel, and is a good identifier all the same.
    virtual std::string MissingStream() const { return "conformance-missing"; }
    // Names that the kit may publish under. Each number is another name, and each case takes one of
    // its own: a server may hold a name for a while after the engine that used it has gone.
    virtual std::string OwnStream(int number) const {
        return "conformance-own-" + std::to_string(number);
    }
    virtual std::string User() const { return "conformance-user"; }

    // From now on every server is out of reach for entries, publishes and plays that begin
    // (addresses where nobody listens will do). false: cannot be done, and the cases that
    // need it are skipped.
    virtual bool CutOff() { return false; }
    // Undoes CutOff.
    virtual void Restore() {}

    // Whether snapshots come: of a publish that runs, and of a play that has begun.
    virtual bool TakesSnapshots() const { return true; }
};

// Defined by the porter, once a program.
std::unique_ptr<Environment> MakeEnvironment();

}  // namespace conformance

#endif
