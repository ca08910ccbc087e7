// Uploads the log and finds out what became of it. The live interface only says that the
// upload was asked for; its end stands in the log itself, which this reads.
#ifndef VAXO_APPS_UPLOAD_H
#define VAXO_APPS_UPLOAD_H

#include <string>

#include "Visit.h"

namespace vaxoapp {

// Before the log is opened: its length in bytes, 0 when it is not there yet; and why a file of
// that length is not uploaded, empty when it may be.
unsigned long long LogLength(const std::string& logFile);
std::string UploadRefusal(const std::string& logFile, unsigned long long length);

// The log puts a file away that is as long as it lets one grow, and begins a new one. Says so,
// when the log was `length` bytes long before it was opened.
void TellOfNewLog(Visit& visit, unsigned long long length);

// Inside a channel, with a log file at the level "generic" or above: Exit_Ok when the server
// has the file as it was at the call (`sent`: so many bytes), Exit_Upload with `error` when it has
// not, Exit_Timeout when that is not known in time. Attempts that fail meanwhile are told as they
// do.
ExitCode UploadLog(Visit& visit, std::string& error, unsigned long long& sent);

// What a line of the log says about an upload. `bytes`: how much was sent, when done. `reason`:
// when failed, for good or to be tried again.
enum class UploadNews { None, Done, Failed, Again };
UploadNews ReadUploadNews(const std::string& line, unsigned long long& bytes, std::string& reason);

}  // namespace vaxoapp

#endif
