#include <CLI/CLI.hpp>

#include "Commands.h"
#include "Upload.h"

namespace vaxoapp {

namespace {

ExitCode RunUpload(const Settings& settings) {
    // Opening the log may put it away, so its length is asked before. Settings that do not
    // resolve are no matter here: RunInChannel says what is wrong with them.
    Settings resolved = settings;
    std::string error;
    unsigned long long length = 0;
    if (ResolveSettings(resolved, Needs::Upload, error)) {
        length = LogLength(resolved.logFile);
        error = UploadRefusal(resolved.logFile, length);
        if (!error.empty()) {
            Report(resolved.quiet).status.Error(error);
            return Exit_Upload;
        }
    }
    return RunInChannel(settings, Needs::Upload, false, [length](Visit& visit) {
        TellOfNewLog(visit, length);
        std::string reason;
        const ExitCode code = UploadLog(visit, reason);
        return code == Exit_Ok ? code : visit.Fail(code, reason);
    });
}

}  // namespace

Command AddUploadLog(CLI::App& app) {
    const auto settings = std::make_shared<Settings>();
    CLI::App* const command = app.add_subcommand(
        "upload-log",
        "Upload the log file that --log names, with what this run adds to it, and wait until the "
        "server has it. A file that is missing is made; one above 16 MiB is refused");
    AddSettingsOptions(*command, *settings);
    return {command, [settings] { return RunUpload(*settings); }};
}

}  // namespace vaxoapp
