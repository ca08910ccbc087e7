// The stage of the stress tests: the shared proxy, an engine with four threads of its own
// that answers every call it accepted with exactly one event, and the books.
//
// A stage begins and ends with the proxy at rest. Two ways to watch:
// - Followed: the queue is followed by its log, there may be no callback at times, and
//   everything is accounted for.
// - Unfollowed: the log is silent, there is always a callback, and the test itself orders
//   as little as it can between threads, so that a thread sanitizer sees what the code
//   under test leaves unordered.
// `steady`: there is always an engine.
#ifndef VAXO_TESTS_LIVE_STRESSSTAGE_H
#define VAXO_TESTS_LIVE_STRESSSTAGE_H

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/StressEngine.h"
#include "kernel/live/StressEvents.h"
#include "kernel/live/StressFollower.h"
#include "live/VaxoLiveProxy.h"

namespace livetest {

const unsigned int s_engineThreads = 4;

// Threads that call tag their calls (see EngineCall) with numbers of their own, counting
// up. Smaller numbers are no tags.
const unsigned int s_tagsPerCaller = 100000;

// What drives the random choices of a test: printed, and given back through the
// environment variable VAXO_STRESS_SEED to repeat a run.
unsigned int NewSeed();

class Random {
public:
    explicit Random(unsigned int seed) : m_numbers(seed) {}
    // 0 to count - 1.
    unsigned int Below(unsigned int count) {
        return static_cast<unsigned int>(m_numbers() % count);
    }
    bool Once(unsigned int in) { return Below(in) == 0; }

private:
    std::mt19937 m_numbers;
};

class Stage final : public IEngineHost {
public:
    Stage(unsigned int seed, bool followed, bool steady);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // For callers, on any thread.
    const bool followed;
    const bool steady;
    const std::shared_ptr<Strova::CVaxoLiveProxy> proxy = Strova::CVaxoLiveProxy::GetInstance();
    CallbackTimes times;
    EventBook book;
    void Chatter();          // one of the engine's threads is to send an event nobody asked for
    void AwaitMyCommands();  // returns when all that the caller queued is done; not on a worker

    // Holds the queue with a play that is not answered until Release(). Once. Meanwhile
    // one thread may send the events that answer everything but that play.
    void Hold();
    void SendOtherAnswers();
    void Release();

    // Waits until nothing is left to be done: all commands, then all events; stops the
    // engine's threads; without engine and callback from then on.
    void ComeToRest();

    // What the engine got. At rest.
    long Ran(const std::string& operation) const;
    long Refused(const std::string& operation) const;  // of those: answered with a failure
    const std::vector<unsigned int>& Tags() const { return m_tags; }
    QueueFollower follower;

    // At rest: the followed queue's account, and the proxy's reports of failures.
    void CheckCommands();
    void CheckReports() const;

    int OnCall(const EngineCall& call) override;
    bool OnUpload(const std::string& userID, bool bByUser) override;

private:
    struct Work {
        Kind kind;
        std::string stream;
        std::shared_ptr<Strova::IVaxoLiveCallback> to;
    };

    // A failure that the proxy reports as an event of its own, from worker 0.
    struct Reports {
        long most = 0;   // that may have come
        long least = 0;  // that must have come
    };

    void EngineThread(unsigned int number, unsigned int seed);
    void Give(Work work);
    void Keep(Work work);
    int Accept(const EngineCall& call, Kind answer);
    void Reply(unsigned int sender, const Work& work);
    void CheckTag(const EngineCall& call);
    void CmdBegins();
    void CmdFailed(const std::string& type);

    std::mutex m_mutex;  // guards the three below
    std::condition_variable m_given;
    std::deque<Work> m_work;
    std::deque<Work> m_kept;  // for Release
    bool m_over = false;
    std::vector<std::thread> m_threads;
    std::atomic<int> m_unanswered{0};  // accepted operations; relaxed

    // Worker 0 only.
    Random m_random;
    std::map<std::string, long> m_ran;
    std::map<std::string, long> m_refused;
    std::vector<unsigned int> m_tags;
    std::map<unsigned int, unsigned int> m_last;  // tag by caller
    unsigned int m_entered = 0;                   // tag of the latest channel entry
    long m_gapsAtBegin = 0;
    long m_abandonedAtBegin = 0;
    std::array<Reports, s_droppable> m_reports;
};

}  // namespace livetest

#endif
