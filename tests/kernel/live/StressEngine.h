// A live engine and an HTTP connection for tests with many threads: every call is checked
// for its thread and handed to one host. Linking StressEngine.cpp defines CVaxoLiveShow
// and CVaxoAVConnHttp; it needs nothing else of the tests.
//
// Guarantees
// - It takes no lock and orders no memory between threads, so that it hides no race of
//   the code under test from a thread sanitizer.
// - An engine operation off worker 0, or one that changes something while another such
//   runs, counts as a misuse. The list of streams alone may be asked for on any thread at
//   any moment.
// - The getters answer "room", "id" and "url", the lists two streams or one device.
#ifndef VAXO_TESTS_LIVE_STRESSENGINE_H
#define VAXO_TESTS_LIVE_STRESSENGINE_H

#include <memory>
#include <string>

#include "IVaxoLive.h"

namespace livetest {

// One call of an engine operation that changes something.
struct EngineCall {
    const char* operation;  // the method's name, static storage
    std::string text;       // the stream or the channel, if the operation names one
    unsigned int tag = 0;   // what tells calls of one operation apart: the play channel, the
                            // title or the user read as a number, a setter's first value
    std::shared_ptr<Strova::IVaxoLiveCallback> callback;  // given to the engine; may be empty
};

// What stands behind all engines. Called on worker 0.
class IEngineHost {
public:
    // The answer is the operation's.
    virtual int OnCall(const EngineCall& call) = 0;
    virtual bool OnUpload(const std::string& userID, bool bByUser) = 0;

protected:
    ~IEngineHost() = default;
};

// Null, as in the beginning: every operation succeeds. Only while no engine is called.
void SetEngineHost(IEngineHost* host);

int EngineMisuses();
int EnginesCreated();
int EnginesAlive();
int ConnectionsDestroyed();

// The streams that every engine lists.
const char* const s_listedStreams[] = {"l1", "l2"};

// A string's bytes, also when it has no buffer; the number that it says, 0 for none.
std::string Plain(const vaxo::strutf8& text);
unsigned int Number(const std::string& text);

// A signing key, as an application has one.
vaxo::stream Key();

}  // namespace livetest

#endif
