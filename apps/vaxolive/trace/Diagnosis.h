// What is wrong, or was slow, in a story: of each process what holds its queue at the end of the
// log and what waits behind it, what was made pointless by what, and the longest waits.
//
// Texts in it come from the log as they are: each way of showing them escapes them.
#ifndef VAXO_APPS_TRACE_DIAGNOSIS_H
#define VAXO_APPS_TRACE_DIAGNOSIS_H

#include <string>
#include <vector>

#include "LogReader.h"
#include "Story.h"

namespace vaxotrace {

struct Longest {
    const char* what;  // "waited", "ran", "held the queue"
    const Command* command;
    Micros duration;
};

struct ProcessDiagnosis {
    std::size_t number = 0;  // from 1, in the order of the log
    std::size_t index = 0;   // in the story
    const Process* process = nullptr;
    bool isRestart = false;              // it begins behind the last line of the one before
    bool isLast = false;                 // none began later
    const Command* executing = nullptr;  // runs or holds the queue; null: idle
    Micros since = kNoTime;              // its first line, when it was popped before the file
    std::vector<const Command*> waiting;
    std::vector<const Event*> notes;  // trouble and stray events since then, the newest few
    std::size_t events = 0;           // and how many
};

struct Diagnosis {
    Micros begin = kNoTime;
    Micros end = kNoTime;
    std::vector<ProcessDiagnosis> processes;
    std::vector<const Command*> joins;  // removed or refused, oldest first
    std::vector<const Command*> failed;
    std::vector<const Command*> lost;
    std::vector<Longest> longest;  // longest first
    std::size_t commands = 0;
    std::vector<std::string> warnings;  // what was left out, what is doubtful
};

// Points into the story, which must outlive it.
Diagnosis Diagnose(const Story& story, const ReadReport& report);

// In one sentence, of each process: what a reader wants to know first.
std::string Verdict(const ProcessDiagnosis& process);

// For a terminal: every text from the log is made printable.
std::string SayDiagnosis(const Diagnosis& diagnosis);

// One JSON object.
std::string JsonDiagnosis(const Diagnosis& diagnosis);

}  // namespace vaxotrace

#endif
