// What the lines of one or several logs tell of the command queue: which commands there were,
// when each waited, ran and held the queue, which other one made it pointless, and what else
// happened meanwhile.
//
// A line names its thread and no process. The queue of a process is run by one thread, so that
// is how processes are told apart; which of them another thread belongs to is seen from the
// commands it offers and the size of the queue it finds (StoryProcesses.cpp).
//
// Guarantees
// - Take every line in order, Finish once, then read.
// - Whatever the lines say, memory is bounded by the limits below. What has ended longest ago is
//   left out first, and counted.
// - A command that was accepted before the first line is known from the first line that names
//   it: `offered` is kNoTime.
//
// One thread.
#ifndef VAXO_APPS_TRACE_STORY_H
#define VAXO_APPS_TRACE_STORY_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "LogLine.h"
#include "QueueLine.h"

namespace vaxotrace {

struct StoryLimits {
    std::size_t commands = 20000;
    std::size_t waiting = 10000;  // of one process
    std::size_t events = 20000;
    std::size_t threads = 4096;
    std::size_t processes = 64;
};

enum class Fate {
    Waiting,
    Running,  // its function has not returned
    Holding,  // it has run, and the queue waits for its event
    Finished,
    Removed,  // by a newer one, while it waited
    Refused,  // by one that waited
    Lost,     // its process began anew, or lines are missing
};

struct Command {
    std::uint64_t id = 0;  // in the order of the log
    std::size_t process = 0;
    std::uint64_t thread = 0;  // that offered it
    CommandName name;
    Fate fate = Fate::Waiting;
    bool hasFailed = false;  // the function answered something else than 0
    Micros offered = kNoTime;
    Micros popped = kNoTime;  // began to run
    Micros ran = kNoTime;     // its function returned
    Micros ended = kNoTime;   // and is no longer of interest to the queue
    std::uint64_t other = 0;  // removed or refused by this one
    CommandName otherName;

    bool Holds() const { return name.type != "SyncCmd"; }
    bool IsOver() const {
        return fate != Fate::Waiting && fate != Fate::Running && fate != Fate::Holding;
    }
};

enum class EventKind {
    Completion,  // reported to the queue
    Delivered,   // to the application
    Dropped,     // not delivered: a LeaveRoom waits
    NotForThis,  // a state of another stream than the one that holds the queue
    Trouble,     // a warning or an error
    Note,        // another line of the library's
};

struct Event {
    Micros time = kNoTime;
    std::size_t process = 0;
    std::uint64_t thread = 0;
    EventKind kind = EventKind::Note;
    std::string text;
};

struct Process {
    std::uint64_t firstThread = 0;
    std::uint64_t runner = 0;  // the thread that runs the commands; 0: none was seen yet
    Micros begin = kNoTime;
    Micros end = kNoTime;  // its last line
    std::deque<std::uint64_t> waiting;
    std::uint64_t executing = 0;  // runs, or holds the queue
    std::uint64_t running = 0;    // its function has not returned; it may have been completed
    bool isMerged = false;        // turned out to be part of another one: to be passed over
    bool beganBefore = false;     // some command of it was accepted before the first line
};

class Story {
public:
    explicit Story(const StoryLimits& limits = StoryLimits()) : m_limits(limits) {}

    void Take(const LogLine& line);
    void Finish();

    const std::map<std::uint64_t, Command>& Commands() const { return m_commands; }
    const std::deque<Event>& Events() const { return m_events; }
    const std::vector<Process>& Processes() const { return m_processes; }
    const Command* Find(std::uint64_t id) const;

    std::uint64_t QueueLines() const { return m_queueLines; }
    std::uint64_t CommandsLeftOut() const { return m_commandsLeftOut; }
    std::uint64_t EventsLeftOut() const { return m_eventsLeftOut; }
    std::uint64_t StepsBack() const { return m_stepsBack; }  // of the clock, a second or more

private:
    struct Thread {
        std::size_t process = kNone;
        std::uint64_t offer = 0;  // the newcomer that is being joined
        std::size_t place = 0;    // of the waiting command that answers next
    };
    static constexpr std::size_t kNone = SIZE_MAX;

    // Story.cpp
    void TakeQueueLine(const LogLine& line, const QueueLine& word);
    void TakeOther(const LogLine& line);
    void Offer(const LogLine& line, const QueueLine& word);
    void Answer(const LogLine& line, const QueueLine& word);
    void Added(const LogLine& line, const QueueLine& word);
    void Listed(const LogLine& line, const QueueLine& word);
    void Pop(const LogLine& line, const QueueLine& word);
    void Ran(const LogLine& line, const QueueLine& word);
    void Holding(const LogLine& line, const QueueLine& word);
    void Done(const LogLine& line, const QueueLine& word);

    // StoryKeeping.cpp
    Command* Make(std::size_t process, const LogLine& line, const CommandName& name);
    Command* MakeFromBefore(std::size_t process, const LogLine& line, const CommandName& name);
    Command* FindToChange(std::uint64_t id);
    void End(std::uint64_t id, Fate fate, Micros time);
    void MakeRoom();
    void AddEvent(const LogLine& line, EventKind kind, std::string text);
    std::size_t PlaceOf(const Process& process, std::size_t from, const CommandName& name) const;
    bool IsFront(const Process& process, const CommandName& name) const;
    bool IsNamed(std::uint64_t id, const CommandName& name) const;

    // StoryProcesses.cpp
    Thread& ThreadOf(std::uint64_t number);
    Process& Join(Thread& thread, std::size_t process, const LogLine& line);
    std::size_t NewProcess(const LogLine& line);
    std::size_t ProcessOfOffer(const LogLine& line, const Thread& thread, const QueueLine& word);
    std::size_t ProcessOfPop(const LogLine& line, const Thread& thread, const QueueLine& word);
    std::size_t ProcessOfDone(const LogLine& line, const Thread& thread, const QueueLine& word);
    template <class Fits>
    std::size_t Nearest(std::uint64_t thread, Fits fits) const;
    void SwapRunners(std::size_t one, std::size_t other);
    void Merge(std::size_t from, std::size_t into);
    std::size_t BeginAnew(std::size_t process, const LogLine& line);
    void LoseAll(std::size_t process);

    StoryLimits m_limits;
    std::map<std::uint64_t, Command> m_commands;
    std::deque<std::uint64_t> m_over;  // the commands that have ended, in that order
    std::deque<Event> m_events;
    std::vector<Process> m_processes;
    std::map<std::uint64_t, Thread> m_threads;
    std::uint64_t m_lastId = 0;
    std::uint64_t m_queueLines = 0;
    std::uint64_t m_commandsLeftOut = 0;
    std::uint64_t m_eventsLeftOut = 0;
    std::uint64_t m_stepsBack = 0;
    Micros m_latest = kNoTime;
};

}  // namespace vaxotrace

#endif
