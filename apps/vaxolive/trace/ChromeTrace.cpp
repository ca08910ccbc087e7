#include "ChromeTrace.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "Bars.h"
#include "Json.h"
#include "Rules.h"

namespace vaxotrace {

namespace {

using vaxoapp::JsonObject;

// The lanes' thread numbers, in the order they are shown.
constexpr std::size_t kHolding = 1;
constexpr std::size_t kRunning = 2;
constexpr std::size_t kEvents = 3;
constexpr std::size_t kRefused = 4;
constexpr std::size_t kWaiting = 10;  // and the following

struct Entry {
    Micros time;
    std::string json;
};

std::size_t LaneOf(const Bar& bar) {
    switch (bar.kind) {
        case LaneKind::Holding:
            return kHolding;
        case LaneKind::Running:
            return kRunning;
        case LaneKind::Refused:
            return kRefused;
        case LaneKind::Waiting:
            break;
    }
    return kWaiting + bar.lane;
}

class Writer {
public:
    Writer(const Story& story, const Diagnosis& diagnosis) : m_story(story), m_all(diagnosis) {}

    std::string Write() {
        for (const ProcessDiagnosis& process : m_all.processes) {
            AddProcess(process);
        }
        std::stable_sort(m_entries.begin(), m_entries.end(),
                         [](const Entry& a, const Entry& b) { return a.time < b.time; });
        std::string all = R"({"displayTimeUnit":"ms","traceEvents":[)";
        const char* between = "\n";
        for (const std::vector<Entry>* part : {&m_names, &m_entries}) {
            for (const Entry& entry : *part) {
                all += between + entry.json;
                between = ",\n";
            }
        }
        return all + "\n]}\n";
    }

private:
    typedef std::map<std::uint64_t, std::size_t> LaneOfCommand;

    JsonObject Begin(const char* phase, const std::string& name, std::size_t lane,
                     Micros time) const {
        JsonObject object;
        object.Text("ph", phase).Text("name", name).Number("pid", m_process);
        object.Number("tid", lane).Number("ts", time - m_all.begin);
        return object;
    }

    void AddName(const char* what, std::size_t lane, const std::string& name) {
        JsonObject args;
        args.Text("name", name);
        m_names.push_back({0, WithArgs(Begin("M", what, lane, m_all.begin), args)});
        JsonObject order;
        order.Number("sort_index", lane);
        m_names.push_back(
            {0, WithArgs(Begin("M", lane == 0 ? "process_sort_index" : "thread_sort_index", lane,
                               m_all.begin),
                         order)});
    }

    static std::string WithArgs(const JsonObject& object, const JsonObject& args) {
        std::string line = object.Line();
        line.pop_back();
        return line + ",\"args\":" + args.Line() + "}";
    }

    void AddProcess(const ProcessDiagnosis& process) {
        m_process = process.number;
        AddName("process_name", 0,
                "process " + std::to_string(process.number) + ", worker thread " +
                    std::to_string(process.process->runner));
        AddName("thread_name", kHolding, LaneName(LaneKind::Holding));
        AddName("thread_name", kRunning, LaneName(LaneKind::Running));
        AddName("thread_name", kEvents, "events");
        AddName("thread_name", kRefused, LaneName(LaneKind::Refused));
        const ProcessBars bars = BarsOf(m_story, process, SIZE_MAX);
        for (std::size_t lane = 0; lane < bars.waitingLanes; ++lane) {
            AddName("thread_name", kWaiting + lane, "waiting " + std::to_string(lane + 1));
        }
        LaneOfCommand lanes;
        for (const Bar& bar : bars.bars) {
            AddBar(bar);
            if (bar.kind == LaneKind::Waiting || bar.kind == LaneKind::Refused) {
                lanes[bar.command->id] = LaneOf(bar);
            }
        }
        for (const Bar& bar : bars.bars) {
            AddArrow(bar, lanes);
        }
        AddCounter(bars);
        for (const Event& event : m_story.Events()) {
            if (event.process == process.index) {
                AddEvent(event);
            }
        }
    }

    // One that was made pointless is a microsecond longer: an arrow needs to end within a span.
    void AddBar(const Bar& bar) {
        const Command& command = *bar.command;
        JsonObject args;
        args.Number("command", command.id).Text("log", command.name.text);
        args.Text("fate", FateName(command.fate)).Flag("failed", command.hasFailed);
        args.Number("offered_by_thread", command.thread);
        if (command.other != 0) {
            args.Text("by", Title(command.otherName)).Text("rule", Reason(command));
        }
        if (bar.kind == LaneKind::Holding) {
            args.Text("waits_for", EndingEvent(command.name));
        }
        if (bar.isOpen) {
            args.Flag("goes_on", true);
        }
        JsonObject object = Begin("X", Title(command.name), LaneOf(bar), bar.begin);
        object.Number("dur", bar.end - bar.begin + (command.other != 0 ? 1 : 0));
        object.Text("cat", LaneName(bar.kind));
        m_entries.push_back({bar.begin, WithArgs(object, args)});
    }

    void AddArrow(const Bar& bar, const LaneOfCommand& lanes) {
        const Command& command = *bar.command;
        const bool isRefused = bar.kind == LaneKind::Refused;
        const auto other = lanes.find(command.other);
        if (command.other == 0 || other == lanes.end() ||
            (!isRefused && bar.kind != LaneKind::Waiting)) {
            return;
        }
        const char* const name = isRefused ? "refuses" : "removes";
        JsonObject from = Begin("s", name, other->second, command.ended);
        from.Text("cat", "join").Number("id", command.id);
        JsonObject to = Begin("f", name, LaneOf(bar), command.ended);
        to.Text("cat", "join").Number("id", command.id).Text("bp", "e");
        m_entries.push_back({command.ended, from.Line()});
        m_entries.push_back({command.ended, to.Line()});
    }

    void AddCounter(const ProcessBars& bars) {
        std::map<Micros, int> changes;
        for (const Bar& bar : bars.bars) {
            if (bar.kind == LaneKind::Waiting) {
                ++changes[bar.begin];
                changes[bar.end] -= bar.isOpen ? 0 : 1;
            }
        }
        int waiting = 0;
        for (const auto& [time, change] : changes) {
            waiting += change;
            JsonObject args;
            args.Number("commands", waiting);
            m_entries.push_back({time, WithArgs(Begin("C", "waiting", 0, time), args)});
        }
    }

    void AddEvent(const Event& event) {
        JsonObject args;
        args.Text("kind", EventKindName(event.kind)).Number("thread", event.thread);
        JsonObject object = Begin("i", event.text, kEvents, std::max(event.time, m_all.begin));
        object.Text("s", "t").Text("cat", EventKindName(event.kind));
        m_entries.push_back({std::max(event.time, m_all.begin), WithArgs(object, args)});
    }

    const Story& m_story;
    const Diagnosis& m_all;
    std::vector<Entry> m_names;
    std::vector<Entry> m_entries;
    std::size_t m_process = 0;
};

}  // namespace

std::string ChromeTrace(const Story& story, const Diagnosis& diagnosis) {
    return Writer(story, diagnosis).Write();
}

}  // namespace vaxotrace
