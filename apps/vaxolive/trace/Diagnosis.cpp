#include "Diagnosis.h"

#include <algorithm>

#include "Rules.h"
#include "Text.h"

namespace vaxotrace {

namespace {

constexpr std::size_t kMostLongest = 8;
constexpr std::size_t kMostNotes = 6;
constexpr Micros kWorthTelling = 1000;  // microseconds

std::string Counted(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void AddWarnings(const Story& story, const ReadReport& report, Diagnosis& out) {
    const auto warn = [&](bool doubtful, const std::string& text) {
        if (doubtful) {
            out.warnings.push_back(text);
        }
    };
    for (const std::string& file : report.strangeFiles) {
        warn(true, "no line of this library in " + file);
    }
    warn(story.QueueLines() == 0,
         "no line of the command queue: it was logged below the level \"generic\"");
    const auto& processes = story.Processes();
    warn(std::any_of(processes.begin(), processes.end(),
                     [](const Process& process) { return process.beganBefore; }),
         "the log begins in the middle: some commands were accepted before its first line");
    warn(report.otherLines > 0,
         Counted(report.otherLines, "line") + " of another kind, or torn, passed over");
    warn(report.tooLongLines > 0,
         Counted(report.tooLongLines, "line") + " of more than 64 KiB passed over");
    warn(report.isCut, "only the first 4 GiB were read");
    warn(story.CommandsLeftOut() > 0,
         Counted(story.CommandsLeftOut(), "command") + " left out, the oldest first");
    warn(story.EventsLeftOut() > 0,
         Counted(story.EventsLeftOut(), "event") + " left out, the oldest first");
    warn(story.StepsBack() > 0, "the time steps back " + Counted(story.StepsBack(), "time") +
                                    ": give the files oldest first, or the clock was set");
}

void AddLongest(const Command& command, Micros now, std::vector<Longest>& out) {
    const Spans spans = SpansOf(command, now);
    for (const auto& [what, duration] :
         {std::make_pair("waited", spans.waited), std::make_pair("ran", spans.ran),
          std::make_pair("held the queue", spans.held)}) {
        if (duration >= kWorthTelling) {
            out.push_back({what, &command, duration});
        }
    }
}

void KeepLongest(std::vector<Longest>& all) {
    std::stable_sort(all.begin(), all.end(),
                     [](const Longest& a, const Longest& b) { return a.duration > b.duration; });
    all.resize(std::min(all.size(), kMostLongest));
}

void AddCommands(const Story& story, Diagnosis& out) {
    for (const auto& [id, command] : story.Commands()) {
        ++out.commands;
        AddLongest(command, story.Processes()[command.process].end, out.longest);
        if (out.longest.size() > 64 * kMostLongest) {
            KeepLongest(out.longest);
        }
        if (command.fate == Fate::Removed || command.fate == Fate::Refused) {
            out.joins.push_back(&command);
        }
        if (command.hasFailed) {
            out.failed.push_back(&command);
        }
        if (command.fate == Fate::Lost) {
            out.lost.push_back(&command);
        }
    }
    KeepLongest(out.longest);
}

void AddNotes(const Story& story, ProcessDiagnosis& out) {
    for (const Event& event : story.Events()) {
        const bool tells = event.kind == EventKind::Trouble || event.kind == EventKind::NotForThis;
        if (tells && event.process == out.index && event.time >= out.since) {
            ++out.events;
            out.notes.push_back(&event);
            if (out.notes.size() > kMostNotes) {
                out.notes.erase(out.notes.begin());
            }
        }
    }
}

ProcessDiagnosis DiagnoseProcess(const Story& story, std::size_t index) {
    const Process& process = story.Processes()[index];
    ProcessDiagnosis out;
    out.index = index;
    out.process = &process;
    const Command* const running = story.Find(process.running);
    out.executing = running != nullptr ? running : story.Find(process.executing);
    if (out.executing != nullptr) {
        out.since = out.executing->popped != kNoTime ? out.executing->popped : process.begin;
        AddNotes(story, out);
    }
    for (const std::uint64_t id : process.waiting) {
        if (const Command* const command = story.Find(id)) {
            out.waiting.push_back(command);
        }
    }
    return out;
}

}  // namespace

Diagnosis Diagnose(const Story& story, const ReadReport& report) {
    Diagnosis out;
    for (std::size_t i = 0; i < story.Processes().size(); ++i) {
        const Process& process = story.Processes()[i];
        if (process.isMerged) {
            continue;
        }
        ProcessDiagnosis next = DiagnoseProcess(story, i);
        next.number = out.processes.size() + 1;
        next.isRestart = !out.processes.empty() && process.begin >= out.end;
        out.begin = out.processes.empty() ? process.begin : std::min(out.begin, process.begin);
        out.end = out.processes.empty() ? process.end : std::max(out.end, process.end);
        out.processes.push_back(next);
    }
    for (std::size_t i = 0; i < out.processes.size(); ++i) {
        out.processes[i].isLast = i + 1 == out.processes.size() || !out.processes[i + 1].isRestart;
    }
    AddCommands(story, out);
    AddWarnings(story, report, out);
    return out;
}

std::string Verdict(const ProcessDiagnosis& process) {
    const std::string behind = process.waiting.empty()
                                   ? "nothing waits behind it"
                                   : Counted(process.waiting.size(), "command") + " behind it";
    if (process.executing == nullptr) {
        return process.waiting.empty()
                   ? "The queue is idle."
                   : Counted(process.waiting.size(), "command") + " accepted and not yet begun.";
    }
    const Command& command = *process.executing;
    const std::string age = SayDuration(std::max<Micros>(0, process.process->end - process.since)) +
                            (command.popped == kNoTime ? " or longer" : "");
    if (command.fate == Fate::Running) {
        return Title(command.name) + " has been running for " + age +
               ": its function has not returned; " + behind + ".";
    }
    return Title(command.name) + " holds the queue, for " + age + ": no event has ended it; " +
           behind + ".";
}

}  // namespace vaxotrace
