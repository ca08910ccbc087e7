// What a line of the log says of the command queue.
//
// Pure function, any thread.
#ifndef VAXO_APPS_TRACE_QUEUELINE_H
#define VAXO_APPS_TRACE_QUEUELINE_H

#include "LogLine.h"

namespace vaxotrace {

enum class QueueWord {
    None,         // nothing of the queue
    Offer,        // "AddCmd, going to add ...": command, size
    Stays,        // a waiting command's answers to the newcomer: command
    Removed,      //
    Refuses,      //
    Added,        // command, size
    Listed,       // at the debug level, one line for each that waits: command, size is its place
    Pass,         // a worker looks for what there is to do
    Holding,      // that pass found this one holding the queue: command
    Popped,       // command, size
    Ran,          // a command that is finished by that: command
    RanAndHolds,  // command: its type alone
    Failed,       // command
    Report,       // an event reports a completion: command: its type alone
    Done,         // it ended what held the queue: command
};

struct QueueLine {
    QueueWord word = QueueWord::None;
    CommandName command;
    std::uint64_t size = 0;
};

QueueLine ParseQueueLine(const LogLine& line);

}  // namespace vaxotrace

#endif
