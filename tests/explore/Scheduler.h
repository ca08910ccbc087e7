// Runs threads one at a time and decides, at every step, who goes on.
//
// A step is a call of Reach: every operation of the platform layer, every access to a
// shared slot, and what a program announces of itself. Between two steps a thread runs
// undisturbed, so a schedule is the list of the decisions alone, and the same decisions
// give the same run.
//
// Guarantees
// - One controlled thread runs at any time; the memory of the explorer needs no locks.
// - A thread that waits (Reach with a condition) goes on only when the condition holds.
// - Run returns when nothing can go on and nobody is held up: every ordinary thread has
//   ended, and every worker waits for work. Threads that can never go on are a deadlock:
//   Run does not return then, the process ends with a report.
//
// Non-guarantees
// - Nothing is controlled that does not come here: a plain std::mutex that is held
//   across a step hangs the process.
//
// Threads: Run is called by one thread, which is not controlled. Everything else here
// may be called by both kinds; of a thread that is not controlled nothing is decided.
#ifndef VAXO_TESTS_EXPLORE_SCHEDULER_H
#define VAXO_TESTS_EXPLORE_SCHEDULER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "explore/Steps.h"

namespace explore {

const int kMaxThreads = 32;

// One moment at which more than one thread could go on.
struct Decision {
    std::uint64_t state;   // what had happened, up to the order of what is independent
    std::uint32_t ready;   // a bit for each thread that could go on
    std::int16_t current;  // the thread that ran before; -1 when it cannot go on
    std::int16_t chosen;
};

// Without any other wish: the thread goes on that ran before, else the lowest.
int DefaultOf(const Decision& decision);

class Chooser {
public:
    virtual ~Chooser() = default;
    virtual int Choose(const Decision& decision) = 0;  // a thread whose bit is set
};

// What is known of a run; it lies in memory shared with the process that watches, so that
// it is there when a run takes its process along.
struct Record {
    static const std::size_t kDecisions = 1U << 15U;

    std::uint64_t schedules;  // begun
    std::uint64_t steps;      // of the last one
    std::uint64_t trace;      // hash of the last one's steps
    std::uint32_t decisions;  // of the last one
    bool exhausted;
    bool failed;
    char failure[8192];
    Decision decision[kDecisions];
};

enum class Kept { UntilItEnds, AsWorker };  // a worker may wait for work when all is over

// Runs `body` as the thread "main", with what it spawns, until nothing goes on. `afterStep`
// is called after every step of a controlled thread. Fails when a run takes too many steps.
void Run(const std::function<void()>& body, Chooser& chooser, Record& record,
         const std::function<void()>& afterStep);

// How many threads a run has left, all of them waiting for work.
std::size_t ThreadsLeft();

// A new controlled thread; its index.
int Spawn(const std::string& name, std::function<void()> body, Kept kept = Kept::UntilItEnds);

// Waits until the thread has ended.
void Join(int thread);

// The calling thread's index; -1 when it is not controlled.
int Self();
const char* SelfName();

// A step of the calling thread on `object`. The second form waits until the condition
// holds, a worker in it waits for work. The condition may be asked at any step by any
// thread and must change nothing.
void Reach(Kind kind, const void* object);
void Reach(Kind kind, const void* object, std::function<bool()> ready,
           Kept kept = Kept::UntilItEnds);

// The object goes; another one may come to stand at its address.
void Forget(const void* object);

// Who holds what, for the report of a deadlock: `thread` -1 for nobody.
void Holds(const void* object, int thread);

// Ends the process: the run has failed. The report is in the record given last, if any.
[[noreturn]] void Fail(const std::string& what);
void ReportTo(Record* record);

// The last run's steps as text, a line each.
std::string Trace();

}  // namespace explore

#endif
