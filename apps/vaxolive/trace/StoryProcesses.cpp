// Which process a line is of. See Story.h.
//
// A thread belongs to one process, so only the first lines of a thread are a question. The queue
// tells its size with every offer and every pop, and the story knows the size of each queue:
// that decides. A thread that begins with the library's first call is taken for a process of its
// own until a known worker runs what it offered; then the two are one.
#include <algorithm>
#include <utility>

#include "Story.h"

namespace vaxotrace {

namespace {

bool IsFirstCall(const CommandName& name) {
    return name.type == "SyncCmd" && name.number == 100;  // Init
}

}  // namespace

Story::Thread& Story::ThreadOf(std::uint64_t number) {
    if (m_threads.size() >= m_limits.threads && m_threads.count(number) == 0) {
        End(m_threads.begin()->second.offer, Fate::Lost, m_latest);
        m_threads.erase(m_threads.begin());
    }
    return m_threads[number];
}

Process& Story::Join(Thread& thread, std::size_t process, const LogLine& line) {
    thread.process = process;
    m_processes[process].end = line.time;
    return m_processes[process];
}

// At the limit, the last process stands for all that follow.
std::size_t Story::NewProcess(const LogLine& line) {
    if (m_processes.size() >= m_limits.processes) {
        LoseAll(m_processes.size() - 1);
        m_processes.back().isMerged = false;
        return m_processes.size() - 1;
    }
    Process process;
    process.firstThread = line.thread;
    process.begin = line.time;
    process.end = line.time;
    m_processes.push_back(process);
    return m_processes.size() - 1;
}

// The one that fits whose first thread is the nearest below: threads get rising numbers, and a
// process's first thread has the least of its own.
template <class Fits>
std::size_t Story::Nearest(std::uint64_t thread, Fits fits) const {
    std::size_t best = kNone;
    for (std::size_t i = 0; i < m_processes.size(); ++i) {
        if (m_processes[i].isMerged || !fits(m_processes[i])) {
            continue;
        }
        const auto distance = [&](std::size_t index) {
            return thread - m_processes[index].firstThread;  // of one above: wraps to far away
        };
        if (best == kNone || distance(i) <= distance(best)) {
            best = i;
        }
    }
    return best;
}

void Story::Finish() {
    for (Event& event : m_events) {
        const auto thread = m_threads.find(event.thread);
        event.process = thread != m_threads.end() ? thread->second.process : kNone;
        if (event.process == kNone) {
            event.process = Nearest(
                event.thread, [&](const Process& process) { return process.begin <= event.time; });
        }
        if (event.process == kNone) {
            event.process = Nearest(event.thread, [](const Process&) { return true; });
        }
    }
}

std::size_t Story::ProcessOfOffer(const LogLine& line, const Thread& thread,
                                  const QueueLine& word) {
    std::size_t found = thread.process;
    if (found == kNone) {
        if (word.size == 0 && IsFirstCall(word.command)) {
            return NewProcess(line);
        }
        found = Nearest(line.thread, [&](const Process& process) {
            return process.waiting.size() == word.size;
        });
        found = found != kNone ? found : Nearest(line.thread, [](const Process&) { return true; });
        return found != kNone ? found : NewProcess(line);
    }
    const std::size_t known = m_processes[found].waiting.size();
    if (known < word.size) {
        // What is more there, a process in the making may have offered.
        const std::size_t part = Nearest(line.thread, [&](const Process& process) {
            return process.runner == 0 && &process != &m_processes[found] &&
                   process.waiting.size() + known == word.size;
        });
        if (part != kNone) {
            Merge(part, found);
        }
    } else if (known > 0 && word.size == 0) {
        return BeginAnew(found, line);
    }
    return found;
}

std::size_t Story::ProcessOfPop(const LogLine& line, const Thread& thread, const QueueLine& word) {
    const auto isToRun = [&](const Process& process) {
        return process.runner == 0 && IsFront(process, word.command);
    };
    std::size_t found = thread.process;
    if (found == kNone) {
        found = Nearest(line.thread, isToRun);
        if (found == kNone) {
            found =
                Nearest(line.thread, [](const Process& process) { return process.runner == 0; });
        }
        return found != kNone ? found : NewProcess(line);
    }
    if (IsFront(m_processes[found], word.command)) {
        const bool isHeld = m_processes[found].executing != 0;
        return isHeld && IsFirstCall(word.command) ? BeginAnew(found, line) : found;
    }
    const std::size_t part = Nearest(line.thread, isToRun);
    if (part != kNone && part != found) {
        Merge(part, found);
        return found;
    }
    // Two processes that began alike were taken for each other: each has the other's worker.
    const std::size_t twin = Nearest(line.thread, [&](const Process& process) {
        return process.runner != 0 && process.waiting.size() == word.size + 1 &&
               IsFront(process, word.command);
    });
    if (twin != kNone && PlaceOf(m_processes[found], 0, word.command) == kNone) {
        SwapRunners(found, twin);
        return twin;
    }
    return found;
}

std::size_t Story::ProcessOfDone(const LogLine& line, const Thread& thread, const QueueLine& word) {
    const auto holdsIt = [&](const Process& process) {
        return IsNamed(process.executing, word.command);
    };
    if (thread.process != kNone) {
        return thread.process;
    }
    std::size_t found = Nearest(line.thread, holdsIt);
    found = found != kNone ? found : Nearest(line.thread, [](const Process&) { return true; });
    return found != kNone ? found : NewProcess(line);
}

void Story::Merge(std::size_t from, std::size_t into) {
    Process& part = m_processes[from];
    Process& whole = m_processes[into];
    part.isMerged = true;
    whole.begin = std::min(whole.begin, part.begin);
    whole.waiting.insert(whole.waiting.end(), part.waiting.begin(), part.waiting.end());
    std::sort(whole.waiting.begin(), whole.waiting.end());  // ids rise with time
    part.waiting.clear();
    for (auto& [id, command] : m_commands) {
        command.process = command.process == from ? into : command.process;
    }
    for (auto& [id, thread] : m_threads) {
        thread.process = thread.process == from ? into : thread.process;
    }
}

void Story::SwapRunners(std::size_t one, std::size_t other) {
    Process& first = m_processes[one];
    Process& second = m_processes[other];
    std::swap(first.executing, second.executing);
    std::swap(first.running, second.running);
    std::swap(first.runner, second.runner);
    for (const std::size_t index : {one, other}) {
        const Process& process = m_processes[index];
        ThreadOf(process.runner).process = index;
        for (const std::uint64_t id : {process.executing, process.running}) {
            if (Command* const command = FindToChange(id)) {
                command->process = index;
            }
        }
    }
}

// Another process with the same numbers of threads, as in a container that was started again,
// or lines are missing.
std::size_t Story::BeginAnew(std::size_t process, const LogLine& line) {
    const std::deque<std::uint64_t> waiting = line.text.substr(0, 6) == "PopCmd"
                                                  ? m_processes[process].waiting
                                                  : std::deque<std::uint64_t>();
    if (!waiting.empty()) {
        m_processes[process].waiting.clear();
    }
    LoseAll(process);
    const std::size_t fresh = NewProcess(line);
    m_processes[fresh].waiting = waiting;
    for (const std::uint64_t id : waiting) {
        m_commands.at(id).process = fresh;
    }
    for (auto& [id, thread] : m_threads) {
        thread.process = thread.process == process ? fresh : thread.process;
    }
    return fresh;
}

void Story::LoseAll(std::size_t process) {
    Process& lost = m_processes[process];
    for (const std::uint64_t id : lost.waiting) {
        End(id, Fate::Lost, lost.end);
    }
    lost.waiting.clear();
    End(lost.executing, Fate::Lost, lost.end);
    End(lost.running, Fate::Lost, lost.end);
    lost.executing = 0;
    lost.running = 0;
}

}  // namespace vaxotrace
