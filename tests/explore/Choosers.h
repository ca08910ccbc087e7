// Ways to decide who goes on. Each is a function of its arguments alone: the same ones
// give the same run.
#ifndef VAXO_TESTS_EXPLORE_CHOOSERS_H
#define VAXO_TESTS_EXPLORE_CHOOSERS_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "explore/Scheduler.h"

namespace explore {

// Where a run leaves the default: the number of a decision, and the thread that goes on.
// As text "12:2 40:0"; the empty one is the run without any preemption.
typedef std::vector<std::pair<std::uint32_t, int>> Schedule;

std::string TextOf(const Schedule& schedule);
Schedule ScheduleOf(const std::string& text);  // what cannot be read is left out
Schedule ScheduleOf(const Record& record);     // of the run it tells of

// Follows a schedule. A decision whose thread cannot go on is taken by default.
class Replay : public Chooser {
public:
    explicit Replay(Schedule schedule) : m_schedule(std::move(schedule)) {}
    int Choose(const Decision& decision) override;

private:
    const Schedule m_schedule;
    std::uint32_t m_decision = 0;
    std::size_t m_next = 0;
};

// Anyone who can, with equal chances.
class Uniform : public Chooser {
public:
    explicit Uniform(std::uint64_t seed) : m_random(seed) {}
    int Choose(const Decision& decision) override;

private:
    std::mt19937_64 m_random;
};

// Probabilistic concurrency testing: threads have random priorities, the highest that can
// goes on, and at `depth` - 1 random decisions among the first `length` the one that would
// go on falls below all others. A bug that needs `depth` ordered steps is found with a
// probability of at least 1 / (threads * length ^ (depth - 1)).
class Pct : public Chooser {
public:
    Pct(std::uint64_t seed, int depth, std::uint32_t length);
    int Choose(const Decision& decision) override;

private:
    int Highest(const Decision& decision) const;

    std::vector<int> m_priority;  // by thread
    std::vector<std::uint32_t> m_changes;
    std::uint32_t m_decision = 0;
};

}  // namespace explore

#endif
