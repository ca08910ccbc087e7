// The surroundings of a program on the proxy: an engine that answers on a thread of its
// own, an application's callback, and the watch over both and the queue.
//
// All of it is seen by nobody but the explorer: it adds no order between the threads that
// the library would not make.
#ifndef VAXO_TESTS_EXPLORE_LIVESTAGE_H
#define VAXO_TESTS_EXPLORE_LIVESTAGE_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "IVaxoLive.h"
#include "explore/QueueWatch.h"

namespace explore {

enum class Answer {
    Later,   // the event comes from the engine's thread
    Inside,  // the event comes before the call returns
    Never,   // until OweTheRest or AnswerTheRest
    Fails,   // the call answers a status
};

// One run's surroundings. Begin in Program::prepare, End in Program::check.
class LiveStage {
public:
    static LiveStage& The();

    // A clean stage. `withEngine`: with an application's callback set, an engine
    // initialised, and the engine's thread, which gives what is owed.
    void Begin(bool withEngine = true);
    // Everything is at rest, and the engine goes.
    void End();

    // How the engine answers an operation such as "PlayStream".
    void Let(const std::string& operation, Answer answer) { m_answers[operation] = answer; }
    typedef std::function<void(Strova::IVaxoLiveCallback&)> Event;

    // An event that the engine gives inside an operation that has no answer, "EnableMic".
    void GiveInside(const std::string& operation, Event event) {
        m_inside[operation] = std::move(event);
    }
    // Whether the engine's list of streams has one, "a"; else it is empty.
    void ListStream(bool lists) { m_listsStream = lists; }
    bool ListsStream() const { return m_listsStream; }

    // An event that the engine gives of itself: of those that pass while a Logout waits.
    void Owe(Event event);
    // What was never answered is now, by the engine's thread; or at once, in a run of its
    // own, for Program::check.
    void OweTheRest();
    void AnswerTheRest();

    // Another application callback in place of the one before, which is released.
    void ReplaceApp();
    // Without a new one.
    void DropApp();
    std::size_t EventsHeard() const { return m_heard; }

    QueueWatch& Watch() { return m_watch; }

    // For the engine: one call at a time on worker 0; the status of the call.
    int EnterEngine(const std::string& operation, Event answer = nullptr);
    void SetEngineCallback(std::weak_ptr<Strova::IVaxoLiveCallback> callback);
    // For the application's callback.
    void Heard(const char* event, const bool* alive);

private:
    struct Owed {
        Event event;
        bool isAnswer;  // held back while a Logout waits
    };

    void Give(const Owed& owed);
    void Serve();

    QueueWatch m_watch;
    std::map<std::string, Answer> m_answers;
    std::map<std::string, Event> m_inside;
    std::deque<Owed> m_owed;
    std::vector<Owed> m_unanswered;
    std::weak_ptr<Strova::IVaxoLiveCallback> m_callback;
    std::shared_ptr<Strova::IVaxoLiveCallback> m_app;
    bool m_listsStream = false;
    bool m_closed = false;
    std::string m_inEngine;  // the call under way
    std::size_t m_heard = 0;
    bool m_hearing = false;
};

}  // namespace explore

#endif
