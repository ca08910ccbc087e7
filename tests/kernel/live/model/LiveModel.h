// The behaviour of the live proxy once more, written apart from it and another way: the
// commands and how they join, the queue that runs them, the relay of events, the getters.
// Plain standard library, one thread, nothing of the library's own: what it says and what
// the library does can be held against each other.
//
// This is the shortest whole account of the behaviour. It says everything that can be
// seen from outside, in order: log lines, calls of the engine and of the HTTP connection,
// calls of the application, and jobs posted to the two workers.
//
//   LiveModel.cpp        Call, AskEngine   operations of the application
//                        Event             operations of the engine's callback
//   LiveModelQueue.cpp   AddCmd, Join      a new command meets those that wait
//                        Pass, Done        worker 0 takes commands; one has come to its end
#ifndef VAXO_TESTS_MODEL_LIVEMODEL_H
#define VAXO_TESTS_MODEL_LIVEMODEL_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace livemodel {

typedef std::vector<std::string> Args;

// The application's callback object.
struct App;

enum CmdType {
    GetInRoom = 1,
    LeaveRoom,
    PlayStream,
    StopStream,
    StartPublish,
    StopPublish,
    SyncCmd,
};

enum Answer { Stays, Goes, Refuses };  // of a waiting command to a new one

// A command: printed everywhere as "type(number/text)".
struct Cmd {
    int type = SyncCmd;
    std::uint64_t number = 0;
    std::string text;
    std::function<int()> run;
    // How it joins while it waits: by the rule of a type (SyncCmd: stays with everybody),
    // comparing with a text; or, for a command made outside the proxy, with one answer.
    int rule = SyncCmd;
    std::string compared;
    int fixedAnswer = -1;
};
typedef std::shared_ptr<Cmd> CmdPtr;

// What stands around the proxy.
class Surroundings {
public:
    virtual ~Surroundings() = default;
    virtual void Say(std::string line) = 0;
    // Calls of the engine and of the HTTP connection. Each is said, and may call back.
    virtual int Engine(const std::string& op, const Args& args) = 0;
    virtual std::string EngineText(const std::string& op) = 0;
    virtual int EngineStreams(Args& streams) = 0;
    virtual int Http(const std::string& op, const Args& args) = 0;
    // Calls the application.
    virtual void Tell(App& app, const std::string& event, const Args& args) = 0;
    // For the curious: a waiting command of this rule met a new one.
    virtual void Met(int rule, int laterType, bool sameText) = 0;

    unsigned appID = 0;
    std::string sign, user, logFile;
    char thread = 'A';  // who acts: '0' and '2' are the workers
};

// Differences put in on purpose, to see them found.
struct Flaws {
    bool stopKeepsPlay = false;  // a waiting StopStream stays with a play of its stream
};

class LiveModel {
public:
    explicit LiveModel(Surroundings& surroundings, const Flaws& flaws = Flaws())
        : m_world(surroundings), m_flaws(flaws) {}

    // A queued operation: 0 accepted, 1 refused.
    int Call(const std::string& op, const Args& args);

    // A getter: runs `ask` on worker 0 if there is an engine, and waits.
    void AskEngine(const std::function<void()>& ask);

    void SetCallback(const std::weak_ptr<App>& app) { m_app = app; }
    void Event(const std::string& op, const Args& args);

    int AddCmd(const CmdPtr& cmd);
    void Done(int type);
    bool MayCallBack() const;
    CmdPtr executing;

    // Runs the worker's oldest job.
    bool RunOne(char worker);
    bool Busy() const { return m_busy; }  // worker 0 is inside a job
    // A pass keeps the queue's lock, so that completions on other threads wait, until it
    // ends or a completion on its own thread takes the lock from under it.
    bool PassHoldsLock() const { return m_passHoldsLock; }

    static std::string Name(const Cmd& cmd);

private:
    typedef std::function<void()> Job;

    struct LiveEngine {
        explicit LiveEngine(Surroundings& around) : world(around) { world.Say("engine: created"); }
        ~LiveEngine() { world.Say("engine: destroyed"); }
        Surroundings& world;
    };

    int Queue(int type, std::uint64_t number, const std::string& text, const std::string& compared,
              std::function<int()> run);
    int CallStream(const std::string& op, const Args& args);
    int Logout();
    int RunInit(const Args& args);
    int RunUninit();
    int RunGetStreamList(const Args& args);
    int RunStopPublishing();
    int RunUploadLog();
    int Engine(const std::string& op, const Args& args, int without = -1);
    int EngineOr(const std::string& op, const Args& args, const std::string& event,
                 const Args& eventArgs);
    bool Forwards(const std::string& op, const Args& args);

    Answer Offer(const CmdPtr& cmd);
    Answer Join(const Cmd& waiting, const Cmd& later);
    bool IsPointless(const Cmd& waiting, const Cmd& later) const;
    void Pass();
    void RunCmds();
    void Post(char worker, Job job);
    std::deque<Job>& Jobs(char worker) { return worker == '0' ? m_jobs0 : m_jobs2; }
    void Say(std::string line) { m_world.Say(std::move(line)); }

    Surroundings& m_world;
    const Flaws m_flaws;
    std::deque<Job> m_jobs0, m_jobs2;
    std::deque<CmdPtr> m_waiting;
    std::shared_ptr<LiveEngine> m_engine;
    std::weak_ptr<App> m_app;
    bool m_busy = false;
    bool m_passHoldsLock = false;
};

}  // namespace livemodel

#endif
