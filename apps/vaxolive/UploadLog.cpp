#include <CLI/CLI.hpp>
#include <cstdio>

#include "Commands.h"
#include "Upload.h"

namespace vaxoapp {

namespace {

struct UploadOptions {
    Settings settings;
    bool json = false;
};

void PrintResult(const std::string& logFile, ExitCode code, unsigned long long sent,
                 const std::string& reason) {
    JsonObject result;
    result.Text("file", logFile).Flag("uploaded", code == Exit_Ok);
    if (code == Exit_Ok) {
        result.Number("bytes", sent);
    } else {
        const char* const kind = kExitTexts[static_cast<std::size_t>(code)].when;
        result.Number("code", static_cast<int>(code))
            .Text("reason", reason.empty() ? kind : reason);
    }
    const std::string line = result.Line() + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
}

ExitCode RunUpload(const UploadOptions& options) {
    // Opening the log may put it away, so its length is asked before. Settings that do not
    // resolve are no matter here: RunInChannel says what is wrong with them.
    Settings resolved = options.settings;
    std::string reason;
    unsigned long long length = 0;
    unsigned long long sent = 0;
    ExitCode code = Exit_Upload;
    if (ResolveSettings(resolved, Needs::Upload, reason)) {
        length = LogLength(resolved.logFile);
        reason = UploadRefusal(resolved.logFile, length);
    } else {
        reason.clear();
    }
    if (!reason.empty()) {
        Report(resolved.quiet).status.Error(reason);
    } else {
        code = RunInChannel(options.settings, Needs::Upload, false, [&](Visit& visit) {
            TellOfNewLog(visit, length);
            const ExitCode outcome = UploadLog(visit, reason, sent);
            return outcome == Exit_Ok ? outcome : visit.Fail(outcome, reason);
        });
    }
    if (options.json) {
        PrintResult(resolved.logFile, code, sent, reason);
    }
    return code;
}

}  // namespace

Command AddUploadLog(CLI::App& app) {
    const auto options = std::make_shared<UploadOptions>();
    CLI::App* const command = app.add_subcommand(
        "upload-log",
        "Upload the log file that --log names, with what this run adds to it, and wait until the "
        "server has it. A file that is missing is made; one above 16 MiB is refused");
    command->add_flag("--json", options->json, "What became of it as one JSON object");
    AddSettingsOptions(*command, options->settings);
    return {command, [options] { return RunUpload(*options); }};
}

}  // namespace vaxoapp
