// The smallest engine that keeps to the rules: channels and streams in memory, no media, nothing
// but the library's own headers. Each channel holds one stream, "remote"; the servers are in
// reach while the service's address is "memory:". Events come on a thread of the engine's own,
// which whoever lets go of the engine never waits for.
//
// The environment variable VAXO_MEMORY_FAULT names one fault to have, in the words of the
// calls of Fault(): Faults_test.cpp shows that the kit finds each.
#ifndef VAXO_TESTS_CONFORMANCE_MEMORYENGINE_H
#define VAXO_TESTS_CONFORMANCE_MEMORYENGINE_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "live/VaxoLiveShow.h"

namespace conformance::memory {

bool Fault(const char* name);

// The events' thread and what it shares with the engine. The thread holds it as well.
class Teller {
public:
    using Tell = std::function<void(Strova::IVaxoLiveCallback&)>;

    static std::shared_ptr<Teller> Make();
    void SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback> callback);
    void Add(Tell event);
    void End();         // what has not been told is dropped
    void WaitForAll();  // what no operation must do

private:
    bool DeliverNext();

    std::mutex m_lock;  // guards the rest; no callback runs under it
    std::condition_variable m_filled;
    std::deque<Tell> m_events;
    std::weak_ptr<Strova::IVaxoLiveCallback> m_callback;
    bool m_over = false;

    // For faults: the first callback, held in ways that are forbidden.
    std::shared_ptr<Strova::IVaxoLiveCallback> m_kept;
    Strova::IVaxoLiveCallback* m_plain = nullptr;
};

}  // namespace conformance::memory

namespace Strova {

struct CVaxoLiveShow::Impl {
    const std::shared_ptr<conformance::memory::Teller> teller = conformance::memory::Teller::Make();
    mutable std::recursive_mutex
        lock;  // guards the rest, which the list getter reads on any thread
    bool ready = false;
    vaxo::strutf8 channel;
    vaxo::strutf8 published;
    std::set<std::string> plays;

    void Entered(unsigned error, bool lists);
    void Publish(int state, const vaxo::strutf8& id);
    void Play(int state, const vaxo::strutf8& id);
    void Leave();
    int Status() const;  // of a control: taken, or not ready
};

}  // namespace Strova

#endif
