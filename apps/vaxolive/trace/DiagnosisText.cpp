#include <algorithm>

#include "Diagnosis.h"
#include "Rules.h"
#include "Text.h"

namespace vaxotrace {

namespace {

constexpr std::size_t kMostListed = 20;

std::string Line(const std::string& text) {
    return vaxoapp::Printable(text, 400) + "\n";
}

// The first ones of a list, and how many more there are.
template <class Things, class Say>
std::string List(const Things& things, Say say) {
    std::string all;
    const std::size_t shown = std::min(things.size(), kMostListed);
    for (std::size_t i = 0; i < shown; ++i) {
        all += "    " + Line(say(things[i]));
    }
    if (shown < things.size()) {
        all += "    and " + std::to_string(things.size() - shown) + " more\n";
    }
    return all;
}

std::string Since(const Command* command) {
    return command->offered == kNoTime ? std::string("since before the log begins")
                                       : "since " + SayTime(command->offered);
}

std::string SayProcess(const ProcessDiagnosis& process, bool isOnly) {
    std::string all;
    if (!isOnly) {
        all += "Process " + std::to_string(process.number) + ", worker thread " +
               std::to_string(process.process->runner) + ", " + SayDate(process.process->begin) +
               " to " + SayTime(process.process->end) + (process.isRestart ? ", a restart" : "") +
               (process.isLast ? "" : ", ended since") + "\n";
    }
    all += Line(Verdict(process));
    if (process.executing != nullptr) {
        const Command& command = *process.executing;
        all += "  since     " + SayDate(process.since) +
               (command.popped == kNoTime ? ", the first line, or before\n" : "\n");
        all += command.fate == Fate::Running ? "  waits for the engine's function to return\n"
                                             : "  waits for " + Line(EndingEvent(command.name));
    }
    if (!process.waiting.empty()) {
        all += "  behind it, in this order:\n" + List(process.waiting, [](const Command* command) {
                   return Title(command->name) + ", " + Since(command);
               });
    }
    if (!process.notes.empty()) {
        all += "  warnings and stray events since then (" + std::to_string(process.events) +
               "), the last:\n" + List(process.notes, [](const Event* event) {
                   return SayTime(event->time) + " " + event->text;
               });
    }
    return all;
}

std::string SayJoin(const Command* command) {
    const Micros waited = SpansOf(*command, command->ended).waited;
    return SayTime(command->ended) + " " + Title(command->name) +
           (command->fate == Fate::Removed ? " removed by " : " refused by ") +
           Title(command->otherName) +
           (waited != kNoTime ? " after " + SayDuration(waited) : std::string()) + ": " +
           Reason(*command);
}

}  // namespace

std::string SayDiagnosis(const Diagnosis& diagnosis) {
    std::string all;
    for (const ProcessDiagnosis& process : diagnosis.processes) {
        all += SayProcess(process, diagnosis.processes.size() == 1) + "\n";
    }
    if (!diagnosis.joins.empty()) {
        all += "Made pointless by others (" + std::to_string(diagnosis.joins.size()) + "):\n" +
               List(diagnosis.joins, SayJoin) + "\n";
    }
    if (!diagnosis.failed.empty()) {
        all += "Failed (" + std::to_string(diagnosis.failed.size()) + "):\n" +
               List(diagnosis.failed,
                    [](const Command* command) {
                        return SayTime(command->ran) + " " + Title(command->name);
                    }) +
               "\n";
    }
    if (!diagnosis.lost.empty()) {
        all += "Whose end is not in the log (" + std::to_string(diagnosis.lost.size()) + "):\n" +
               List(diagnosis.lost,
                    [](const Command* command) {
                        return Title(command->name) + ", " + Since(command);
                    }) +
               "\n";
    }
    if (!diagnosis.longest.empty()) {
        all += "Longest:\n" +
               List(diagnosis.longest,
                    [](const Longest& longest) {
                        return SayDuration(longest.duration) + "  " + Title(longest.command->name) +
                               " " + longest.what;
                    }) +
               "\n";
    }
    if (diagnosis.begin != kNoTime) {
        all += std::to_string(diagnosis.commands) + " commands, " + SayDate(diagnosis.begin) +
               " to " + SayDate(diagnosis.end) + " (" +
               SayDuration(diagnosis.end - diagnosis.begin) + ")\n";
    }
    for (const std::string& warning : diagnosis.warnings) {
        all += "note: " + Line(warning);
    }
    return all;
}

}  // namespace vaxotrace
