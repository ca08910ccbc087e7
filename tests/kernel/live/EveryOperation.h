// Every operation of the live interface as a row: how a test calls it, and what is to be
// seen of it with an engine and without.
#ifndef VAXO_TESTS_LIVE_EVERYOPERATION_H
#define VAXO_TESTS_LIVE_EVERYOPERATION_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"

namespace livetest {

typedef std::shared_ptr<Strova::IVaxoLiveCallback> App;

struct LiveOperation {
    const char* name;
    int (*call)(Strova::CVaxoLiveProxy& proxy, const App& app);  // a text's length for a text
    int result;  // with an engine, played as ScriptEveryOperation says
    int bare;    // without
    // Lists with '|' between.
    const char* commands;  // what it queues with an engine; without, it is the last alone
    const char* now;       // engine calls before it returns
    const char* later;     // engine calls of its commands
    const char* heard;     // the event that says there is no engine
};

// All forty, Uninit last and the rest in the order of the interface.
const std::vector<LiveOperation>& EveryOperation();

// With these, no command of the forty makes another one pointless. Two streams in the
// list, texts of three letters, a signing key for the upload; and each command that waits
// for an event is answered in its call.
void ScriptEveryOperation();

// The engine fires the event that what executes waits for.
void AnswerWhatExecutes();

// "a|b" as {"a", "b"}, each behind `start`.
Texts Split(const std::string& list, const std::string& start = "");

// The commands of these lines that were taken from the queue, in order.
Texts PoppedOf(const Texts& lines);

// The lines that begin so.
Texts OnlyOf(const Texts& lines, const std::string& start);

// All events that an engine has, by name, for a stream that nothing plays.
struct LiveEvent {
    const char* name;
    void (*fire)(Strova::IVaxoLiveCallback& callback);
    const char* heard;
    bool isDirect;  // on the engine's thread; all others come on worker 2
};
const std::vector<LiveEvent>& EveryEvent();

}  // namespace livetest

#endif
