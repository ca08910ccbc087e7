#include <CLI/CLI.hpp>

#include "Commands.h"
#include "Upload.h"

namespace vaxoapp {

Command AddUploadLog(CLI::App& app) {
    const auto settings = std::make_shared<Settings>();
    CLI::App* const command = app.add_subcommand(
        "upload-log", "Upload the log file that --log names and wait until the server has it");
    AddSettingsOptions(*command, *settings);
    return {command, [settings] {
                return RunInChannel(*settings, Needs::Upload, false, [](Visit& visit) {
                    std::string error;
                    const ExitCode code = UploadLog(visit, error);
                    return code == Exit_Ok ? code : visit.Fail(code, error);
                });
            }};
}

}  // namespace vaxoapp
