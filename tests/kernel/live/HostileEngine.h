// An engine that gives its events at the wrong moment, on the wrong thread, twice, for
// the wrong stream or not at all: what a row of the table says, and the run of a row.
//
// A run: the first command's engine call begins and waits in the call; other commands
// are queued behind it; the row's events are fired at their moments; then three accounts
// are compared, each in the order written: worker 0 (engine calls and what the queue says
// of them), worker 2 (what the application heard), and the engine's own threads. A run
// ends with every command that holds the queue being answered as it should be.
#ifndef VAXO_TESTS_LIVE_HOSTILEENGINE_H
#define VAXO_TESTS_LIVE_HOSTILEENGINE_H

#include <functional>
#include <future>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"

namespace livetest {

// The commands that hold the queue, as bits: a row names those it holds for.
enum Holding : unsigned {
    HoldEnter = 1,
    HoldLogout = 2,
    HoldPlay = 4,
    HoldStopPlay = 8,
    HoldPublish = 16,
    HoldStopPublish = 32,
    HoldEnterOrLogout = 3,  // their events end them whatever executes
    HoldPlays = 12,         // their events name the stream they are about
    HoldPublishes = 48,     // their events end either of the two, of any stream
    HoldStreams = 60,
    HoldAll = 63,
};

// What is queued behind the first command (A): the next one (N), and in every run a
// setter as the last (M).
enum Behind {
    BehindOther,        // N is of a type whose event is another
    BehindSame,         // the same type, another stream or channel
    BehindSameStream,   // the same type, the same stream
    BehindCounterpart,  // stop behind start, start behind stop, leave behind enter
    BehindLogout,       // a Logout: a StopPublish (S) and the LeaveRoom (N)
    BehindUninit,       // an Uninit (U), then as BehindOther
};

enum Moment {
    Inside,       // in A's engine call, on worker 0
    OnThread,     // on a thread started in A's call, which does not wait for it
    HeldBack,     // likewise, but the call waits until that thread is about to report A
                  // done, and the thread goes on when all else is over
    After,        // on a thread of its own, once all before has come to rest
    AfterAtOnce,  // on the same thread as the one before, right behind it
};

struct Fire {
    Moment moment;
    char of;             // 'A', 'N', or 'F': a foreign event, none of A's kind
    int code;            // the state or the error
    const char* stream;  // null for the command's own
};

struct HostileRow {
    const char* name;
    unsigned commands;
    Behind behind;
    int status;  // what A's engine call answers
    std::vector<Fire> fires;
    const char* executes;  // in the end: 'A', 'N' or nothing
    // The accounts, in the words that LinesOf explains. A star is an account of which
    // the row says nothing.
    const char* worker0;
    const char* threads;
    const char* heard;  // "any order: " in front where two threads race to post
    // Started by completions of A and N. -1 where a pass that was under way may take N
    // before the completion looks whether anything executes.
    int passes;
};

std::vector<HostileRow> HostileRowsInTime();   // the command still waits for its event
std::vector<HostileRow> HostileRowsTooLate();  // another one runs, or the call has failed

void PrintTo(const HostileRow& row, std::ostream* out);

// A command as the accounts show it.
struct HostileRole {
    unsigned kind = 0;
    std::string printed;      // "PlayStream(0/s1)"
    std::string description;  // "PlayStream"
    std::string operation;    // the engine's name for it
    std::string call;         // "engine: PlayStream(s1, 1)"
    std::string event;        // "OnPlayStateUpdate"
    std::string stream;       // its event's, as this engine names it
    int failure = 0;          // the code that reports a failed call
    int number = 0;           // the argument that is one
};

struct HostileCast {
    HostileRole first, next, stopPublish, foreign, marker, uninit;
    const HostileRole& operator[](char letter) const;
};

HostileCast CastFor(unsigned kind, Behind behind);

// Makes the call; answers how many commands that queued.
int Ask(Strova::CVaxoLiveProxy& proxy, const HostileRole& role);

// The engine fires the command's event; a null stream is the command's own.
void Report(const HostileRole& role, int code, const char* stream);

// The lines that words such as "call A, waits A, A 0, A fail" stand for, verbatim. X is
// a letter of the cast.
//   call X     the engine was called       waits X    its call answered 0
//   fails X    its call did not            gone       the engine was destroyed
//   report X   the queue was told of X's   done X     and X ended
//   abandon X  X's event is kept from the  notfor X   X's event named another stream
//              application
//   X code s   the application heard X's event with that code, or `fail` for the one
//              of a failed call; of stream s if it is not its own, '' for the empty one
Texts LinesOf(const HostileCast& cast, const std::string& words);

class HostileEngine : public LiveProxyFixture, public ::testing::WithParamInterface<HostileRow> {
protected:
    HostileEngine();
    ~HostileEngine() override;

    void Run(unsigned kind);

private:
    void Begin(unsigned kind);
    void EnterFirstCall();
    void QueueBehind();
    void FireAfter();
    void Compare();
    void CompareHeard();
    void AnswerAll();
    void Forget();

    void OnEngineCall(const std::string& operation);
    void PlayFirstCall();
    Texts Account(const std::function<bool(vaxothread_id)>& isOf) const;
    long Count(const std::string& text) const;

    static void Sink(void* context, int32 level, const char* tag, int32 line, const char* text);
    void HoldBack(const std::string& text);
    bool IsHeld(const std::string& text);

    HostileRow m_row{};
    HostileCast m_cast;
    int m_passes = 0;      // started by calls
    int m_stops = 0;       // how often S was answered, which starts one too; worker 0's own
    bool m_begun = false;  // A's call has; worker 0's own
    std::mutex m_firing;   // held while events are fired after A's call; S waits for it
    std::promise<void> m_entered;
    std::promise<void> m_goOn;
    std::thread m_thread;        // of OnThread and HeldBack
    std::vector<Line> m_before;  // up to A's call
    std::vector<Line> m_lines;   // from there on

    const vaxothread_id m_worker0;
    const vaxothread_id m_worker2;
    std::mutex m_holdMutex;
    std::string m_holdAt;  // the line at which a thread other than worker 0 is held back
    std::promise<void> m_held;
    std::promise<void> m_letGo;
};

}  // namespace livetest

#endif
