// How the process ends. What stands here is what --help and the man page say.
#ifndef VAXO_APPS_EXITCODE_H
#define VAXO_APPS_EXITCODE_H

#include <array>

namespace vaxoapp {

enum ExitCode {
    Exit_Ok = 0,
    Exit_Failed = 1,
    Exit_Usage = 2,
    Exit_Channel = 3,
    Exit_Publish = 4,
    Exit_Play = 5,
    Exit_Timeout = 6,
    Exit_Upload = 7,
};

struct ExitText {
    ExitCode code;
    const char* when;
};

constexpr std::array<ExitText, 8> kExitTexts = {{
    {Exit_Ok, "all went well, also after Ctrl-C"},
    {Exit_Failed,
     "a file could not be read or written, a snapshot could not be taken, pictures differ"},
    {Exit_Usage, "arguments, settings or sign key"},
    {Exit_Channel, "the channel could not be entered"},
    {Exit_Publish, "the publish failed"},
    {Exit_Play, "the play failed, no such stream"},
    {Exit_Timeout, "no answer in time"},
    {Exit_Upload, "the log was not uploaded"},
}};

static_assert(kExitTexts.back().code == kExitTexts.size() - 1, "a code is its place in the table");

// What no code of its own stands for.
constexpr const char* kSignalsText =
    "Ctrl-C leaves the channel properly, and so do SIGTERM and SIGHUP; the second one ends at "
    "once, with 128 and the signal's number.";

}  // namespace vaxoapp

#endif
