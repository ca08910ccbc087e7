// The machine-readable event log: one JSON object a line, each line given to the system at
// once, into a file, onto the standard output, or both. Any thread. With neither, nothing
// happens. What each event has stands in JsonTexts.h.
#ifndef VAXO_APPS_EVENTLOG_H
#define VAXO_APPS_EVENTLOG_H

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

#include "Json.h"

namespace vaxoapp {

class EventLog {
public:
    // Begins the file anew; others cannot read it. False with `error` when it cannot be had.
    bool Open(const std::string& path, std::string& error);

    // From now on onto the standard output too.
    void CopyToOutput();

    // {"ms": <milliseconds of the machine's monotonic clock>, "event": <kind>, fields...}
    void Write(const char* kind, const JsonObject& fields);

private:
    struct Closer {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    std::mutex m_lock;
    std::unique_ptr<std::FILE, Closer> m_file;
    bool m_isCopied = false;
};

}  // namespace vaxoapp

#endif
