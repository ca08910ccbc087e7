// The book of a case: what was asked of an engine, what it told, and every rule that the two
// together break. Requests are entered before the call; events by the recorders. Any thread.
#ifndef VAXO_TESTS_CONFORMANCE_LEDGER_H
#define VAXO_TESTS_CONFORMANCE_LEDGER_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "IVaxoLive.h"

namespace conformance {

// The requests that are answered by an event.
enum class Ask { Enter, Publish, StopPublish, Play, StopPlay, Logout };

struct Request {
    Ask what = Ask::Logout;
    std::string id{};      // channel or stream
    unsigned channel = 0;  // of a play
};
// The call itself: its status.
int Perform(Strova::IVaxoLive& engine, const Request& request);

enum class Told {
    Entered,
    LeftChannel,
    PublishState,
    PlayState,
    Stream,
    Counts,
    Size,
    Lost,
    Back,
    PreviewPicture,
    RenderPicture
};

struct Event {
    Told what = Told::Counts;
    long long value = 0;  // error, state, flag, width, index
    long long second = 0;
    std::string id{};  // channel or stream
    const void* listener = nullptr;
};
std::string Words(const Event& event);
std::string Words(const Request& request);

// How long an answer may take: VAXO_CONFORMANCE_LIMIT_MS, 20 s without.
std::chrono::milliseconds Limit();
// How long nothing must come for it to count as silence: VAXO_CONFORMANCE_QUIET_MS, 20 ms
// without. A good engine passes whatever it is; a bad one that is slow may pass if it is short.
std::chrono::milliseconds Quiet();

class Ledger {
public:
    // Whose events these are. The proxy asks its engine for more than it was asked for (a Logout
    // stops every stream), and leaves out answers: there, states and lists may come at any time.
    enum class Of { Engine, Proxy };
    explicit Ledger(Of of = Of::Engine) : m_of(of) {}

    // ---- what was asked ------------------------------------------------------
    int Asked(const Request& request);      // its number
    void Returned(int number, int status);  // the call is over
    void Initialised();                     // before Init is called
    void Uninitialised();                   // Uninit has returned, or the destructor

    // ---- what was told -------------------------------------------------------
    void Heard(const Event& event);
    void Break(const char* rule, const std::string& what);

    // ---- what came of it -----------------------------------------------------
    // The event that answered the request; none: not in time, or a rule was broken meanwhile.
    std::optional<Event> Answer(int number);
    // Waits for an event that has come, or comes. false: not in time, or a rule was broken.
    bool Await(const std::function<bool(const Event&)>& wanted);
    void AwaitAnswerOrCount(int number, std::size_t events);  // or so many events of any kind
    void AwaitSilence();                                      // until nothing has come for Quiet()
    std::size_t Count() const;
    std::vector<std::string> Broken() const;

    // Runs on the event's thread, after the event was entered.
    void SetHook(std::function<void(const Event&)> hook);

private:
    struct Entry {
        Request request;
        bool waits = true;
        std::optional<Event> answer{};
    };
    struct Course {  // of a publish or a play
        std::optional<long long> state;
        bool refused = false;  // the last request was
    };

    static std::string Key(const Request& request);
    static std::string Key(const Event& event);
    static bool Answers(const Event& event, const Request& request);
    Entry* Waiting(const Event& event);
    void Enter(const Event& event);
    void EnterChange(const Event& event);
    void CheckValues(const Event& event);
    void BreakHeld(const char* rule, const std::string& what);
    bool WaitFor(std::unique_lock<std::mutex>& hold, const std::function<bool()>& done);

    const Of m_of;
    mutable std::mutex m_lock;  // guards the rest; the hook runs without it
    std::condition_variable m_changed;
    std::vector<Entry> m_entries;
    std::vector<Event> m_events;
    std::vector<std::string> m_broken;
    std::map<std::string, Course> m_courses;
    std::set<std::string> m_named;  // keys of all that was asked
    bool m_closed = false;
    bool m_outside = true;  // in no channel, and no entry asked for
    std::function<void(const Event&)> m_hook;
};

}  // namespace conformance

#endif
