#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Text.h"
#include "trace/ChromeTrace.h"
#include "trace/Diagnosis.h"
#include "trace/HtmlPage.h"
#include "trace/LogReader.h"

namespace vaxoapp {

namespace {

struct TraceOptions {
    std::vector<std::string> logs;
    std::string chrome;
    std::string html;
    bool json = false;
};

ExitCode Fail(const std::string& text) {
    std::fprintf(stderr, "vaxolive: %s\n", text.c_str());
    return Exit_Failed;
}

bool WriteFile(const std::string& path, const std::string& content) {
    std::FILE* const file = std::fopen(path.c_str(), "wbe");
    const bool isOpen = file != nullptr;
    bool isWritten =
        isOpen && std::fwrite(content.data(), 1, content.size(), file) == content.size();
    int error = errno;
    if (isOpen && std::fclose(file) != 0) {
        error = isWritten ? errno : error;
        isWritten = false;
    }
    if (!isWritten) {
        Fail("cannot write " + Printable(path) + ": " + SystemError(error));
    }
    return isWritten;
}

ExitCode Run(const TraceOptions& options) {
    vaxotrace::Story story;
    vaxotrace::ReadReport report;
    std::string error;
    const auto take = [&](const vaxotrace::LogLine& line) { story.Take(line); };
    if (!vaxotrace::ReadLogs(options.logs, take, report, error)) {
        return Fail(error);
    }
    if (report.lines == 0) {
        return Fail("no line of this library's log in " + Printable(options.logs.front()) +
                    (options.logs.size() > 1 ? " and the others" : ""));
    }
    story.Finish();
    const vaxotrace::Diagnosis diagnosis = vaxotrace::Diagnose(story, report);
    if (!options.chrome.empty() &&
        !WriteFile(options.chrome, vaxotrace::ChromeTrace(story, diagnosis))) {
        return Exit_Failed;
    }
    if (!options.html.empty() && !WriteFile(options.html, vaxotrace::HtmlPage(story, diagnosis))) {
        return Exit_Failed;
    }
    const std::string text = options.json ? vaxotrace::JsonDiagnosis(diagnosis) + "\n"
                                          : vaxotrace::SayDiagnosis(diagnosis);
    const bool isSaid =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return isSaid ? Exit_Ok : Fail("cannot write to the standard output: " + SystemError(errno));
}

}  // namespace

Command AddTrace(CLI::App& app) {
    const auto options = std::make_shared<TraceOptions>();
    CLI::App* const command = app.add_subcommand(
        "trace", "Tell from the library's log what the command queue did, and what holds it");
    command->add_option("logs", options->logs, "Log files, of rotated ones the oldest first")
        ->type_name("FILE")
        ->required();
    command
        ->add_option("--chrome", options->chrome,
                     "Write a trace for Perfetto or chrome://tracing to this file")
        ->type_name("FILE");
    command->add_option("--html", options->html, "Write a page with a picture to this file")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "The diagnosis as JSON");
    return {command, [options] { return Run(*options); }};
}

}  // namespace vaxoapp
