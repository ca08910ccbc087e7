#include "Story.h"

#include <algorithm>
#include <utility>

namespace vaxotrace {

namespace {

constexpr Micros kStepBack = 1000000;
constexpr std::size_t kLongestEvent = 500;  // bytes of its text

}  // namespace

void Story::Take(const LogLine& line) {
    if (m_latest != kNoTime && line.time < m_latest - kStepBack) {
        ++m_stepsBack;
    }
    m_latest = line.time;
    const QueueLine word = ParseQueueLine(line);
    if (word.word == QueueWord::None) {
        TakeOther(line);
    } else {
        ++m_queueLines;
        TakeQueueLine(line, word);
    }
    const auto thread = m_threads.find(line.thread);
    if (thread != m_threads.end() && thread->second.process != kNone) {
        m_processes[thread->second.process].end = line.time;
    }
}

void Story::TakeQueueLine(const LogLine& line, const QueueLine& word) {
    switch (word.word) {
        case QueueWord::Offer:
            return Offer(line, word);
        case QueueWord::Stays:
        case QueueWord::Removed:
        case QueueWord::Refuses:
            return Answer(line, word);
        case QueueWord::Added:
            return Added(line, word);
        case QueueWord::Listed:
            return Listed(line, word);
        case QueueWord::Popped:
            return Pop(line, word);
        case QueueWord::Ran:
        case QueueWord::RanAndHolds:
        case QueueWord::Failed:
            return Ran(line, word);
        case QueueWord::Holding:
            return Holding(line, word);
        case QueueWord::Report:
            return AddEvent(line, EventKind::Completion, "completion of " + word.command.type);
        case QueueWord::Done:
            return Done(line, word);
        case QueueWord::Pass:
        case QueueWord::None:
            return;
    }
}

void Story::TakeOther(const LogLine& line) {
    const auto has = [&](std::string_view part) {
        return line.text.find(part) != std::string_view::npos;
    };
    EventKind kind = EventKind::Note;
    if (line.level <= 2) {
        kind = EventKind::Trouble;
    } else if (line.tag == "CmdProxy" && has(", call back state: ")) {
        kind = EventKind::Delivered;
    } else if (line.tag == "CmdProxy" && has(", abandon callbak")) {
        kind = EventKind::Dropped;
    } else if (line.tag == "CmdProxy" && has(", not callback for this cmd")) {
        kind = EventKind::NotForThis;
    } else if (line.tag == "CmdProxy" || line.tag == "CmdQueue" || line.level > 3) {
        return;  // what the queue's own lines say better
    }
    const std::string tag =
        line.tag == "CmdProxy" ? "" : std::string(line.tag.substr(0, 40)) + ": ";
    AddEvent(line, kind, tag + std::string(line.text.substr(0, kLongestEvent)));
}

void Story::Offer(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    const std::size_t process = ProcessOfOffer(line, thread, word);
    Join(thread, process, line);
    End(thread.offer, Fate::Lost, line.time);  // how that went, no line says
    Command* const command = Make(process, line, word.command);
    if (command != nullptr) {
        command->offered = line.time;
    }
    thread.offer = command != nullptr ? command->id : 0;
    thread.place = 0;
}

// The lines come in the order of the queue, so each names the command at `place`; one that is
// not there was accepted before the first line.
void Story::Answer(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    if (thread.process == kNone) {
        return;
    }
    Process& process = m_processes[thread.process];
    std::size_t place = PlaceOf(process, thread.place, word.command);
    if (place == kNone) {
        const Command* const former = MakeFromBefore(thread.process, line, word.command);
        if (former == nullptr) {
            return;
        }
        place = std::min(thread.place, process.waiting.size());
        process.waiting.insert(process.waiting.begin() + static_cast<std::ptrdiff_t>(place),
                               former->id);
    }
    const std::uint64_t former = process.waiting[place];
    thread.place = place + 1;
    if (word.word == QueueWord::Stays) {
        return;
    }
    const bool isRemoved = word.word == QueueWord::Removed;
    const std::uint64_t loser = isRemoved ? former : thread.offer;
    const std::uint64_t winner = isRemoved ? thread.offer : former;
    if (isRemoved) {
        process.waiting.erase(process.waiting.begin() + static_cast<std::ptrdiff_t>(place));
        thread.place = place;
    }
    if (Command* const command = FindToChange(loser)) {
        const Command* const other = Find(winner);
        command->other = winner;
        command->otherName = other != nullptr ? other->name : CommandName();
    }
    End(loser, isRemoved ? Fate::Removed : Fate::Refused, line.time);
    thread.offer = isRemoved ? thread.offer : 0;
}

void Story::Added(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    if (!IsNamed(thread.offer, word.command)) {  // the file begins between the two lines
        Join(thread, ProcessOfOffer(line, thread, {QueueWord::Offer, word.command, word.size - 1}),
             line);
        Command* const command = Make(thread.process, line, word.command);
        thread.offer = command != nullptr ? command->id : 0;
        if (command != nullptr) {
            command->offered = line.time;
        }
    }
    Process& process = m_processes[thread.process];
    if (thread.offer != 0 && process.waiting.size() < m_limits.waiting) {
        process.waiting.push_back(thread.offer);
    } else if (thread.offer != 0) {
        m_commands.erase(thread.offer);
        ++m_commandsLeftOut;
    }
    thread.offer = 0;
}

// Tells of commands that were accepted before the first line.
void Story::Listed(const LogLine& line, const QueueLine& word) {
    const Thread& thread = ThreadOf(line.thread);
    if (thread.process == kNone || word.size > m_processes[thread.process].waiting.size()) {
        return;
    }
    Process& process = m_processes[thread.process];
    const auto place = static_cast<std::size_t>(word.size);
    if (PlaceOf(process, place, word.command) != kNone) {
        return;
    }
    if (const Command* const former = MakeFromBefore(thread.process, line, word.command)) {
        process.waiting.insert(process.waiting.begin() + static_cast<std::ptrdiff_t>(place),
                               former->id);
    }
}

void Story::Pop(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    Join(thread, ProcessOfPop(line, thread, word), line);
    Process& process = m_processes[thread.process];
    process.runner = line.thread;
    End(process.running, Fate::Lost, line.time);
    End(process.executing, Fate::Lost, line.time);
    process.running = 0;
    process.executing = 0;
    const std::size_t place = PlaceOf(process, 0, word.command);
    Command* command = nullptr;
    if (place == kNone) {
        command = MakeFromBefore(thread.process, line, word.command);
    } else {
        command = FindToChange(process.waiting[place]);
        for (std::size_t i = 0; i < place; ++i) {
            End(process.waiting[i], Fate::Lost, line.time);
        }
        process.waiting.erase(process.waiting.begin(),
                              process.waiting.begin() + static_cast<std::ptrdiff_t>(place) + 1);
    }
    if (command == nullptr) {
        return;
    }
    command->popped = line.time;
    command->fate = Fate::Running;
    process.running = command->id;
    process.executing = command->Holds() ? command->id : 0;
}

// The function of what runs has returned. It may have been completed before.
void Story::Ran(const LogLine& line, const QueueLine& word) {
    const Thread& thread = ThreadOf(line.thread);
    Command* const command =
        thread.process == kNone ? nullptr : FindToChange(m_processes[thread.process].running);
    if (command == nullptr || command->name.type != word.command.type) {
        return;
    }
    Process& process = m_processes[thread.process];
    process.running = 0;
    command->ran = line.time;
    command->hasFailed = word.word == QueueWord::Failed;
    if (process.executing == command->id) {
        command->fate = Fate::Holding;
    } else {
        End(command->id, Fate::Finished, line.time);
    }
}

void Story::Holding(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    const std::size_t found = ProcessOfDone(line, thread, word);
    Process& process = Join(thread, found, line);
    process.runner = line.thread;
    if (!IsNamed(process.executing, word.command)) {
        End(process.executing, Fate::Lost, line.time);
        const Command* const command = MakeFromBefore(found, line, word.command);
        process.executing = command != nullptr ? command->id : 0;
        if (command != nullptr) {
            FindToChange(command->id)->fate = Fate::Holding;
        }
    }
}

void Story::Done(const LogLine& line, const QueueLine& word) {
    Thread& thread = ThreadOf(line.thread);
    Process& process = Join(thread, ProcessOfDone(line, thread, word), line);
    if (!IsNamed(process.executing, word.command)) {
        if (const Command* const command = MakeFromBefore(thread.process, line, word.command)) {
            End(process.executing, Fate::Lost, line.time);
            End(command->id, Fate::Finished, line.time);
        }
    } else if (process.running != process.executing) {
        End(process.executing, Fate::Finished, line.time);
    }
    process.executing = 0;  // what still runs ends with its function
}

}  // namespace vaxotrace
