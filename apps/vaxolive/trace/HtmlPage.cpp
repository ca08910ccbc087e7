#include "HtmlPage.h"

#include <algorithm>

#include "Bars.h"
#include "Html.h"
#include "Rules.h"
#include "SvgPicture.h"

namespace vaxotrace {

namespace {

constexpr std::size_t kMostListed = 20;

std::string Name(const std::string& text) {
    return "<bdi>" + Escape(text) + "</bdi>";
}

std::string Row(const char* name, const std::string& value) {
    return std::string("<dt>") + name + "</dt><dd>" + value + "</dd>\n";
}

template <class Things, class Say>
std::string List(const Things& things, const char* kind, Say say) {
    std::string all = kind;
    const std::size_t shown = std::min(things.size(), kMostListed);
    for (std::size_t i = 0; i < shown; ++i) {
        all += "<li>" + say(things[i]) + "</li>\n";
    }
    if (shown < things.size()) {
        all += "<li>and " + std::to_string(things.size() - shown) + " more</li>\n";
    }
    return all + (std::string(kind).substr(0, 3) == "<ol" ? "</ol>" : "</ul>");
}

std::string Head(const Diagnosis& diagnosis) {
    std::string all =
        "<!DOCTYPE html>\n<html lang='en'>\n<head>\n<meta charset='utf-8'>\n"
        "<meta name='viewport' content='width=device-width,initial-scale=1'>\n"
        R"(<meta http-equiv="Content-Security-Policy" content="default-src 'none'; )"
        R"(style-src 'unsafe-inline'">)"
        "\n<title>Command queue</title>\n<style>" +
        std::string(PageStyle()) + "</style>\n</head>\n<body>\n<h1>Command queue</h1>\n";
    if (diagnosis.begin != kNoTime) {
        all += "<p class='dim'>" + SayDate(diagnosis.begin) + " to " + SayDate(diagnosis.end) +
               " (" + SayDuration(diagnosis.end - diagnosis.begin) + "), " +
               std::to_string(diagnosis.commands) + " commands, " +
               std::to_string(diagnosis.processes.size()) +
               (diagnosis.processes.size() == 1 ? " process" : " processes") + "</p>\n";
    }
    return all;
}

std::string ProcessTitle(const ProcessDiagnosis& process) {
    return "Process " + std::to_string(process.number) + ", worker thread " +
           std::to_string(process.process->runner) + (process.isRestart ? ", a restart" : "") +
           (process.isLast ? "" : ", ended since");
}

std::string VerdictBox(const ProcessDiagnosis& process, bool isOnly) {
    const char* style = process.executing != nullptr ? " busy"
                        : !process.waiting.empty()   ? " more"
                                                     : "";
    std::string all =
        std::string("<div class='verdict") + style + "'><p>" + Name(Verdict(process)) + "</p>\n";
    if (!isOnly) {
        all += "<p class='dim'>" + ProcessTitle(process) + "</p>\n";
    }
    if (process.executing == nullptr && process.waiting.empty()) {
        return all + "</div>\n";
    }
    all += "<dl>\n";
    if (process.executing != nullptr) {
        const Command& command = *process.executing;
        all += Row("Since", SayDate(process.since) +
                                (command.popped == kNoTime ? ", the first line, or before" : ""));
        all += Row("Waits for", command.fate == Fate::Running ? "the engine's function to return"
                                                              : Name(EndingEvent(command.name)));
    }
    if (!process.waiting.empty()) {
        all +=
            Row("Behind it", List(process.waiting, "<ol>", [](const Command* command) {
                    return "<a href='#c" + std::to_string(command->id) + "'>" +
                           Name(Title(command->name)) + "</a>" +
                           (command->offered == kNoTime ? ", since before the log begins"
                                                        : ", since " + SayTime(command->offered));
                }));
    }
    if (!process.notes.empty()) {
        all += Row("Meanwhile", List(process.notes, "<ul class='notes'>", [](const Event* event) {
                       return SayTime(event->time) + " " + Name(event->text);
                   }));
    }
    return all + "</dl></div>\n";
}

std::string Findings(const Diagnosis& diagnosis) {
    std::string all;
    if (!diagnosis.joins.empty()) {
        all += "<h3>Made pointless by others</h3>\n" +
               List(diagnosis.joins, "<ul>", [](const Command* command) {
                   return SayTime(command->ended) + " " + Name(Title(command->name)) + " " +
                          FateName(command->fate) + " by " + Name(Title(command->otherName)) +
                          ": " + Escape(Reason(*command));
               });
    }
    if (!diagnosis.failed.empty()) {
        all += "<h3>Failed</h3>\n" + List(diagnosis.failed, "<ul>", [](const Command* command) {
                   return SayTime(command->ran) + " " + Name(Title(command->name));
               });
    }
    if (!diagnosis.lost.empty()) {
        all += "<h3>Whose end is not in the log</h3>\n" +
               List(diagnosis.lost, "<ul>",
                    [](const Command* command) { return Name(Title(command->name)); });
    }
    if (!diagnosis.longest.empty()) {
        all += "<h3>Longest</h3>\n" + List(diagnosis.longest, "<ul>", [](const Longest& longest) {
                   return SayDuration(longest.duration) + " " + Name(Title(longest.command->name)) +
                          " " + longest.what;
               });
    }
    if (!diagnosis.warnings.empty()) {
        all += "<h3>About the log</h3>\n" +
               List(diagnosis.warnings, "<ul class='notes'>",
                    [](const std::string& warning) { return Escape(warning); });
    }
    return all;
}

std::string Cell(const char* style, const std::string& content) {
    return std::string("<td") + style + ">" + content + "</td>";
}

std::string DurationCell(Micros duration) {
    return Cell(" class='n'", duration == kNoTime ? "" : SayDuration(duration));
}

std::string TableRow(const Command& command, Micros now) {
    const Spans spans = SpansOf(command, now);
    std::string result = FateName(command.fate);
    if (command.other != 0) {
        result += " by <a href='#c" + std::to_string(command.other) + "'>" +
                  Name(Title(command.otherName)) + "</a>: " + Escape(Reason(command));
    } else if (command.fate == Fate::Holding) {
        result += ", waits for " + Name(EndingEvent(command.name));
    } else if (command.hasFailed) {
        result += ", failed";
    }
    return "<tr id='c" + std::to_string(command.id) + "'" +
           (command.fate == Fate::Holding || command.fate == Fate::Running ? " class='busy'" : "") +
           ">" + Cell(" class='n'", std::to_string(command.id)) +
           Cell("", command.offered == kNoTime ? "before" : SayTime(command.offered)) +
           Cell("", Name(Title(command.name))) + DurationCell(spans.waited) +
           DurationCell(spans.ran) + DurationCell(spans.held) + Cell(" class='wide'", result) +
           "</tr>\n";
}

std::string Table(const ProcessDiagnosis& process, const ProcessBars& bars) {
    std::vector<const Command*> commands;
    for (const Bar& bar : bars.bars) {
        commands.push_back(bar.command);
    }
    std::sort(commands.begin(), commands.end(),
              [](const Command* a, const Command* b) { return a->id < b->id; });
    commands.erase(std::unique(commands.begin(), commands.end()), commands.end());
    std::string all =
        "<div class='table' tabindex='0' role='region' aria-label='Commands of process " +
        std::to_string(process.number) +
        "; scrolls sideways'><table>\n<thead><tr><th class='n'>#</th><th>Offered</th>"
        "<th>Command</th><th class='n'>Waited</th><th class='n'>Ran</th>"
        "<th class='n'>Held the queue</th><th>Result</th></tr></thead>\n<tbody>\n";
    for (const Command* const command : commands) {
        all += TableRow(*command, process.process->end);
    }
    return all + "</tbody></table></div>\n";
}

std::string ZoomButton(const std::string& factor) {
    return "<input type='radio' name='zoom' id='z" + factor + "'" +
           (factor == "1" ? " checked" : "") + "> <label class='zoom' for='z" + factor + "'>" +
           factor + "&times;</label>\n";
}

std::string Zoom() {
    std::string all = "<span class='hint'>Zoom: </span>";
    for (const char* const factor : {"1", "4", "16", "64", "256"}) {
        all += ZoomButton(factor);
    }
    return all;
}

}  // namespace

std::string HtmlPage(const Story& story, const Diagnosis& diagnosis) {
    const bool isOnly = diagnosis.processes.size() == 1;
    std::string pictures;
    std::string tables;
    for (const ProcessDiagnosis& process : diagnosis.processes) {
        const ProcessBars bars = BarsOf(story, process, kMostDrawn);
        const std::string title = isOnly ? "" : "<h3>" + ProcessTitle(process) + "</h3>\n";
        pictures += title + "<figure>" + SvgPicture(story, process, bars) + "</figure>\n";
        tables += title + Table(process, bars);
    }
    std::string page = Head(diagnosis) + "<main>\n";
    // What happened last is what a reader came for.
    for (auto it = diagnosis.processes.rbegin(); it != diagnosis.processes.rend(); ++it) {
        page += VerdictBox(*it, isOnly);
    }
    page += "<h2>Time line</h2>\n" + SvgLegend() + "<section>" + Zoom() +
            "<p class='dim hint'>Scroll the picture sideways; point at a bar for its times, "
            "follow it to its row of the table. Grey stretches, in which nothing happens, are "
            "drawn short.</p>\n<div class='pictures'>\n" +
            pictures + "</div></section>\n<h2>Findings</h2>\n" + Findings(diagnosis) +
            "<h2>Commands</h2>\n" + tables;
    if (diagnosis.commands > kMostDrawn) {
        page += "<p class='dim'>Of each process the newest " + std::to_string(kMostDrawn) +
                " commands are shown.</p>\n";
    }
    return page + "</main>\n</body>\n</html>\n";
}

}  // namespace vaxotrace
