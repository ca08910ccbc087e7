// How the process ends; the same table stands in --help.
#ifndef VAXO_APPS_EXITCODE_H
#define VAXO_APPS_EXITCODE_H

namespace vaxoapp {

enum ExitCode {
    Exit_Ok = 0,
    Exit_Failed = 1,   // a file could not be read or written, two pictures differ
    Exit_Usage = 2,    // arguments, settings, sign key
    Exit_Channel = 3,  // the channel could not be entered
    Exit_Publish = 4,
    Exit_Play = 5,  // also: no such stream
    Exit_Timeout = 6,
    Exit_Upload = 7,  // the log was not accepted
};

}  // namespace vaxoapp

#endif
