// The command queue as its log tells of it: which commands wait, in which order, and
// which one holds the queue. Every line is checked against what can follow, so that the
// queue's promises are looked at in every step of every schedule.
//
// - A command taken is the oldest that waits, and none holds the queue then.
// - A command removed by a join was waiting; those left keep their order.
// - A command ends that holds the queue, and no other.
// - The sizes that the queue prints are those that follow from all this.
#ifndef VAXO_TESTS_EXPLORE_QUEUEWATCH_H
#define VAXO_TESTS_EXPLORE_QUEUEWATCH_H

#include <cstdint>
#include <string>
#include <vector>

namespace explore {

class QueueWatch {
public:
    // A line of the log; those of others are passed over. Calls Fail.
    void OnLine(const std::string& tag, const std::string& text);

    // Nothing waits, nothing holds the queue, and every command accepted was run once or
    // removed by a join.
    void MustBeAtRest() const;

    const std::vector<std::string>& Waiting() const { return m_waiting; }
    const std::string& Executing() const { return m_executing; }
    std::uint64_t Accepted() const { return m_accepted; }
    std::uint64_t Refused() const { return m_refused; }
    std::uint64_t Removed() const { return m_removed; }
    std::uint64_t Run() const { return m_run; }

    // The time during which a LeaveRoom waits without a gap has a number; 0: none waits.
    std::uint64_t LeaveWaits() const { return m_leaveWaits ? m_leaveTime : 0; }

private:
    void OnJoin(const std::string& waiting, const std::string& result);
    void OnAdded(const std::string& command, std::size_t size);
    void OnTaken(const std::string& command, std::size_t size);
    void LookForLeave();

    std::vector<std::string> m_waiting;  // oldest first
    std::string m_executing;
    std::uint64_t m_accepted = 0;
    std::uint64_t m_refused = 0;
    std::uint64_t m_removed = 0;
    std::uint64_t m_run = 0;
    bool m_leaveWaits = false;
    std::uint64_t m_leaveTime = 0;
};

}  // namespace explore

#endif
