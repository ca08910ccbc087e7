#include "explore/Session.h"

#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "explore/DepthFirst.h"

namespace explore {

namespace {

const char* const s_differs = "the same decisions led to another run";
const unsigned kSecondsForARun = 120;  // no run takes a hundredth of it: it hangs

// Memory that a child process shares, for the life of the object.
class Shared {
public:
    Shared()
        : m_memory(mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) {
        if (m_memory == MAP_FAILED) {
            throw std::bad_alloc();
        }
        new (m_memory) Record();
    }
    ~Shared() { munmap(m_memory, sizeof(Record)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    Record& Get() const { return *static_cast<Record*>(m_memory); }

private:
    void* const m_memory;
};

// One run in this process.
void RunHere(const Program& program, Chooser& chooser, Record& record) {
    alarm(kSecondsForARun);
    if (program.prepare) {
        program.prepare();
    }
    Run(program.body, chooser, record, program.afterStep);
    if (program.check) {
        program.check();
    }
}

// Does `work` in a child; how it ended, in words, empty when well.
std::string InChild(Record& record, const std::function<void()>& work) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        return "no process could be had";
    }
    if (child == 0) {
        // On one processor a hand-over costs a third.
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        sched_setaffinity(0, sizeof(one), &one);
        ReportTo(&record);
        work();
        std::fflush(nullptr);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (record.failed) {
        return record.failure;
    }
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "a thread waits unseen, or runs for ever"
                                           : "killed by signal " + std::to_string(WTERMSIG(status));
    }
    return WEXITSTATUS(status) == 0 ? ""
                                    : "ended with status " + std::to_string(WEXITSTATUS(status));
}

Outcome OutcomeOf(const Record& record, std::string failure) {
    Outcome outcome;
    outcome.failed = !failure.empty();
    outcome.failure = std::move(failure);
    if (outcome.failed) {
        outcome.schedule = ScheduleOf(record);
    }
    outcome.exhausted = record.exhausted;
    outcome.schedules = record.schedules;
    outcome.steps = record.steps;
    outcome.decisions = record.decisions;
    outcome.trace = record.trace;
    return outcome;
}

class Clock {
public:
    explicit Clock(const Limits& limits) : m_limits(limits) {}
    bool IsOver(const Record& record) const {
        return record.schedules >= m_limits.schedules ||
               std::chrono::steady_clock::now() - m_begin >= std::chrono::seconds(m_limits.seconds);
    }

private:
    const Limits m_limits;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

// Makes the singletons and their workers, so that every run finds the same.
void WarmUp(const Program& program, Record& record) {
    Replay byDefault({});
    RunHere(program, byDefault, record);
    record.schedules = 0;
}

// Runs what `next` gives, until it gives nothing. In one child, or in a child each.
Outcome Explore(const Program& program, const Limits& limits,
                const std::function<std::unique_ptr<Chooser>()>& next,
                const std::function<bool(const Record&)>& learn) {
    const Shared shared;
    Record& record = shared.Get();
    const Clock clock(limits);
    if (!program.fresh) {
        const std::string failure = InChild(record, [&] {
            WarmUp(program, record);
            const std::size_t left = ThreadsLeft();
            while (!clock.IsOver(record)) {
                const std::unique_ptr<Chooser> chooser = next();
                if (!chooser) {
                    record.exhausted = true;
                    return;
                }
                RunHere(program, *chooser, record);
                if (ThreadsLeft() != left) {
                    Fail("the run leaves a worker behind");
                }
                if (!learn(record)) {
                    Fail(s_differs);
                }
            }
        });
        return OutcomeOf(record, failure);
    }
    while (!clock.IsOver(record)) {
        const std::unique_ptr<Chooser> chooser = next();
        if (!chooser) {
            record.exhausted = true;
            break;
        }
        const std::string failure = InChild(record, [&] { RunHere(program, *chooser, record); });
        if (!failure.empty()) {
            return OutcomeOf(record, failure);
        }
        if (!learn(record)) {
            return OutcomeOf(record, s_differs);
        }
    }
    return OutcomeOf(record, "");
}

}  // namespace

void Settle(const std::function<void()>& body) {
    static Record s_unused;
    Replay byDefault({});
    const std::function<void()> nothing;
    Run(body, byDefault, s_unused, nothing);
}

Outcome ExploreDepthFirst(const Program& program, int bound, const Limits& limits) {
    DepthFirst depthFirst(bound);
    return Explore(
        program, limits,
        [&]() -> std::unique_ptr<Chooser> {
            Schedule schedule;
            if (!depthFirst.Next(&schedule)) {
                return nullptr;
            }
            return std::make_unique<Replay>(schedule);
        },
        [&](const Record& record) { return depthFirst.Learn(record); });
}

Outcome ExploreSeeds(const Program& program, const MakeChooser& make, std::uint64_t seed,
                     const Limits& limits) {
    std::uint64_t next = seed;
    return Explore(
        program, limits, [&] { return make(next++); }, [](const Record&) { return true; });
}

Outcome RunOne(const Program& program, const Schedule& schedule) {
    bool isFirst = true;
    return Explore(
        program, Limits(),
        [&]() -> std::unique_ptr<Chooser> {
            return std::exchange(isFirst, false) ? std::make_unique<Replay>(schedule) : nullptr;
        },
        [](const Record&) { return true; });
}

Schedule Shrink(const Program& program, const Outcome& failed) {
    const auto isSame = [&](const Outcome& outcome) {
        const auto firstLine = [](const std::string& text) {
            return text.substr(0, text.find('\n'));
        };
        return outcome.failed && firstLine(outcome.failure) == firstLine(failed.failure);
    };
    Schedule small = failed.schedule;
    for (const int bound : {1, 0}) {
        const Outcome outcome = ExploreDepthFirst(program, bound, {20000, 10});
        if (isSame(outcome) && outcome.schedule.size() < small.size()) {
            small = outcome.schedule;
        }
    }
    for (std::size_t size = small.size(); size > 0; size = size > 1 ? (size + 1) / 2 : 0) {
        for (std::size_t at = 0; at < small.size();) {
            Schedule less = small;
            const auto from = less.begin() + static_cast<std::ptrdiff_t>(at);
            less.erase(
                from, less.begin() + static_cast<std::ptrdiff_t>(std::min(at + size, less.size())));
            const Outcome outcome = RunOne(program, less);
            if (isSame(outcome) && outcome.schedule.size() < small.size()) {
                small = outcome.schedule;
            } else {
                at += size;
            }
        }
    }
    return small;
}

}  // namespace explore
