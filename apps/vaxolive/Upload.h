// Uploads the log and finds out what became of it. The live interface only says that the
// upload was asked for; its end stands in the log itself, which this reads.
#ifndef VAXO_APPS_UPLOAD_H
#define VAXO_APPS_UPLOAD_H

#include <string>

#include "Visit.h"

namespace vaxoapp {

// Inside a channel, with a log file at the level "generic" or above: Exit_Ok when the server
// has the file as it was at the call, Exit_Upload with `error` when it has not, Exit_Timeout
// when that is not known in time.
ExitCode UploadLog(Visit& visit, std::string& error);

// What a line of the log says about an upload. `bytes`: how much was sent, when done.
enum class UploadNews { None, Done, Failed };
UploadNews ReadUploadNews(const std::string& line, unsigned long long& bytes, std::string& reason);

}  // namespace vaxoapp

#endif
