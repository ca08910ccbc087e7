// One thread's share of the stress: it calls whatever the interface has, at random, tags
// its calls, and keeps what was answered.
//
// A caller is used by one thread. At rest its account is anybody's to read.
#ifndef VAXO_TESTS_LIVE_STRESSCALLER_H
#define VAXO_TESTS_LIVE_STRESSCALLER_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kernel/live/StressStage.h"

namespace livetest {

class Caller {
public:
    // `number` from 1 on. The callbacks it sets run `inside` in their events.
    Caller(unsigned int number, unsigned int seed, Stage& stage, std::function<void()> inside = {});

    // One call at random.
    void Step();
    // Mostly Init and Uninit.
    void StormStep();
    // Mostly Logout, with plays in between.
    void LogoutStep();

    // Every getter once, checked.
    void ReadAll();
    void ReplaceCallback();

    // The account: tags by what became of the call; calls accepted, by operation.
    std::vector<unsigned int> accepted;
    std::vector<unsigned int> refused;
    std::map<std::string, long> calls;

private:
    typedef std::shared_ptr<Strova::CVaxoLiveProxy> Proxy;

    unsigned int Tag() { return m_tag++; }
    std::string Stream();
    void Account(const char* operation, int result, unsigned int tag = 0);
    void StreamCall(unsigned int which);
    void Play(const std::string& streamID);
    void Publish();
    void Enter();
    void TaggedSetter(unsigned int which);
    void Switch(unsigned int which);
    void Other(unsigned int which);
    void LoseCallback();
    void CloseTheGate();
    void Text(const vaxo::strutf8& answer, const char* expected) const;

    Stage& m_stage;
    const Proxy m_proxy;
    Random m_random;
    const std::function<void()> m_inside;
    unsigned int m_tag;
    std::shared_ptr<StressApp> m_app;
};

}  // namespace livetest

#endif
