#include <algorithm>

#include "Diagnosis.h"
#include "Json.h"
#include "Rules.h"

namespace vaxotrace {

namespace {

constexpr std::size_t kMostListed = 1000;

using vaxoapp::JsonObject;

void AddTime(JsonObject& object, const char* name, Micros time) {
    if (time != kNoTime) {
        object.Text(name, SayDate(time));
    }
}

void AddMicros(JsonObject& object, const char* name, Micros duration) {
    if (duration != kNoTime) {
        object.Number(name, duration);
    }
}

JsonObject Described(const Command& command, Micros now) {
    JsonObject object;
    const Spans spans = SpansOf(command, now);
    object.Number("id", command.id).Text("type", command.name.type);
    object.Number("number", command.name.number).Text("text", command.name.text);
    object.Text("title", Title(command.name)).Text("fate", FateName(command.fate));
    AddTime(object, "offered", command.offered);
    AddTime(object, "began", command.popped);
    AddTime(object, "ended", command.ended);
    AddMicros(object, "waited_us", spans.waited);
    AddMicros(object, "ran_us", spans.ran);
    AddMicros(object, "held_us", spans.held);
    if (command.other != 0) {
        object.Number("by", command.other).Text("by_title", Title(command.otherName));
        object.Text("rule", Reason(command));
    }
    return object;
}

std::vector<JsonObject> Described(const std::vector<const Command*>& commands, Micros now) {
    std::vector<JsonObject> all;
    for (std::size_t i = 0; i < std::min(commands.size(), kMostListed); ++i) {
        all.push_back(Described(*commands[i], now));
    }
    return all;
}

JsonObject Described(const ProcessDiagnosis& process) {
    const Micros now = process.process->end;
    JsonObject object;
    object.Number("process", process.number).Number("worker_thread", process.process->runner);
    AddTime(object, "begin", process.process->begin);
    AddTime(object, "end", now);
    object.Flag("restart", process.isRestart).Flag("last", process.isLast);
    object.Text("verdict", Verdict(process));
    if (process.executing != nullptr) {
        JsonObject executing = Described(*process.executing, now);
        AddTime(executing, "since", process.since);
        executing.Number("age_us", std::max<Micros>(0, now - process.since));
        if (process.executing->fate == Fate::Holding) {
            executing.Text("waits_for", EndingEvent(process.executing->name));
        }
        object.Objects("executing", {executing});
    }
    object.Number("waiting_count", process.waiting.size());
    object.Objects("waiting", Described(process.waiting, now));
    std::vector<JsonObject> notes;
    for (const Event* const event : process.notes) {
        JsonObject note;
        AddTime(note, "time", event->time);
        notes.push_back(note.Text("kind", EventKindName(event->kind)).Text("text", event->text));
    }
    return object.Objects("notes", notes);
}

}  // namespace

std::string JsonDiagnosis(const Diagnosis& diagnosis) {
    JsonObject object;
    AddTime(object, "begin", diagnosis.begin);
    AddTime(object, "end", diagnosis.end);
    object.Number("commands", diagnosis.commands);
    std::vector<JsonObject> processes;
    for (const ProcessDiagnosis& process : diagnosis.processes) {
        processes.push_back(Described(process));
    }
    object.Objects("processes", processes);
    object.Objects("joins", Described(diagnosis.joins, diagnosis.end));
    object.Objects("failed", Described(diagnosis.failed, diagnosis.end));
    object.Objects("lost", Described(diagnosis.lost, diagnosis.end));
    std::vector<JsonObject> longest;
    for (const Longest& each : diagnosis.longest) {
        JsonObject one;
        one.Text("what", each.what).Text("title", Title(each.command->name));
        longest.push_back(one.Number("id", each.command->id).Number("us", each.duration));
    }
    object.Objects("longest", longest).Texts("warnings", diagnosis.warnings);
    return object.Line();
}

}  // namespace vaxotrace
