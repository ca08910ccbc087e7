#include <CLI/CLI.hpp>

#include "Arguments.h"
#include "Commands.h"

namespace vaxoapp {

namespace {

struct ListOptions {
    Settings settings;
    double duration = -1;
    bool json = false;
    bool follow = false;
};

typedef std::map<std::string, StreamRow> Rows;

void Print(Visit& visit, const char* change, const StreamRow& row, const ListOptions& options) {
    std::string line;
    if (options.json) {
        JsonObject whole;
        if (options.follow) {
            whole.Text("change", change);
        }
        line = whole.Add(row.Json()).Line();
    } else {
        line = (options.follow ? std::string(change) + "  " : "") + row.Text();
    }
    visit.Print(line);
}

Rows Known(Visit& visit) {
    return visit.GetSession().With([](const SessionState& state) { return state.streams; });
}

bool IsSame(const StreamRow& a, const StreamRow& b) {
    return a.Json().Line() == b.Json().Line();
}

void PrintChanges(Visit& visit, const Rows& before, const Rows& now, const ListOptions& options) {
    for (const auto& [id, row] : before) {
        if (now.count(id) == 0) {
            Print(visit, "-", row, options);
        }
    }
    for (const auto& [id, row] : now) {
        const auto former = before.find(id);
        if (former == before.end() || !IsSame(former->second, row)) {
            Print(visit, former == before.end() ? "+" : "*", row, options);
        }
    }
}

ExitCode Inside(Visit& visit, const ListOptions& options) {
    visit.AwaitList();
    Rows shown = Known(visit);
    PrintChanges(visit, {}, shown, options);
    if (visit.GetSession().With([](const SessionState& state) { return state.isListMissing; })) {
        return visit.Fail(Exit_Channel, "the list of streams could not be had");
    }
    if (!options.follow) {
        return Exit_Ok;
    }
    const Visit::Clock::time_point end = After(options.duration);
    for (;;) {
        auto last =
            visit.GetSession().With([](const SessionState& state) { return state.lastStream; });
        Rows now = Known(visit);
        PrintChanges(visit, shown, now, options);
        shown = std::move(now);
        const Attended attended = Attend(visit, nullptr, end, [&](const SessionState& state) {
            return state.lastStream != last;
        });
        if (attended != Attended::Over) {
            return Exit_Ok;
        }
    }
}

}  // namespace

Command AddList(CLI::App& app) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* const command = app.add_subcommand("list", "Print the streams of the channel");
    command->add_flag("--json", options->json, "One JSON object a line");
    command->add_flag("--follow", options->follow,
                      "Go on with what changes: + added, - gone, * changed");
    command->add_option("--duration", options->duration, "Leave after so many seconds")
        ->type_name("SECONDS")
        ->check(Between(0, 1e9));
    AddSettingsOptions(*command, options->settings);
    return {command, [options] {
                return RunInChannel(options->settings, Needs::Service, false,
                                    [&](Visit& visit) { return Inside(visit, *options); });
            }};
}

}  // namespace vaxoapp
