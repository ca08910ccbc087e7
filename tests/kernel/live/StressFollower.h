// Follows the shared queue, line by line of its log and command by command of its
// observer, and says when the queue does what it must not.
//
// While one lives it is the log's sink and the queue's observer. What it checks, as it
// happens: commands are executed in the order of their acceptance, each once unless a
// join removed it; nothing begins while a command holds the queue; the sizes in the log
// are those of a list that follows these rules.
#ifndef VAXO_TESTS_LIVE_STRESSFOLLOWER_H
#define VAXO_TESTS_LIVE_STRESSFOLLOWER_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "vaxotypes.h"

namespace livetest {

class QueueFollower final : public IVaxoAVMgrCmdQueueCallback {
public:
    typedef std::map<std::string, long> Counts;

    // The queue is at rest. `log` false: observes only, and takes no lock of its own, so
    // that it hides no race of the code under test.
    explicit QueueFollower(bool log);
    ~QueueFollower();
    QueueFollower(const QueueFollower&) = delete;
    QueueFollower& operator=(const QueueFollower&) = delete;

    void OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd> removed) override;

    // On worker 0: a command is about to run; its function has answered a failure.
    std::function<void()> begins;
    std::function<void(const std::string& type)> failed;

    // For when the queue is at rest. By type, "PlayStream"; SyncCmds by "SyncCmd(108/)".
    Counts removed;
    Counts added;
    Counts popped;
    Counts completed;
    Counts failures;
    long refused = 0;
    long foreign = 0;  // play events that were for another command

    // Nothing waits, nothing holds the queue.
    void CheckRest();

private:
    static void Sink(void* context, int32 level, const char* tag, int32 line, const char* text);
    void Line(const std::string& text);
    void Added(const std::string& cmd, const std::string& size);
    void Popped(const std::string& cmd, const std::string& size);
    void Completed(const std::string& cmd);

    const bool m_log;
    std::mutex m_mutex;
    std::deque<std::string> m_waiting;
    std::string m_held;  // empty for none
};

}  // namespace livetest

#endif
