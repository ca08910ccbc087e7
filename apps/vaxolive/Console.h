// Commands typed in, or sent by a script, while a publish or a play runs: one a line on the
// standard input. Each is answered on the standard output by a line "ok COMMAND" or "error
// COMMAND: reason". For a setting, ok means that it was accepted; for a snapshot and an
// upload, that it is done. With --json the events "command", "status" and "help" answer instead.
// The end of the input leaves, as "stop" does.
#ifndef VAXO_APPS_CONSOLE_H
#define VAXO_APPS_CONSOLE_H

#include <map>
#include <string>
#include <vector>

#include "Visit.h"

namespace vaxoapp {

class Console {
public:
    // `isPublisher`: a snapshot without a stream is the preview.
    Console(Visit& visit, bool isPublisher) : m_visit(visit), m_isPublisher(isPublisher) {}

    // Which number a played stream has; "play" adds to it.
    void AddPlay(const std::string& streamID, unsigned int channel);

    // Runs what waits. False when somebody wants to leave.
    bool RunWaiting();

    // The commands, a line each.
    static std::string Help();

private:
    typedef std::vector<std::string> Arguments;
    struct Command;

    static const std::vector<Command>& Commands();
    void Run(const std::string& line);
    void Answer(const char* kind, const JsonObject& fields, const std::string& line);

    // Each answers what went wrong; empty: nothing.
    std::string Number(const std::string& word, int least, int most,
                       int (Strova::CVaxoLiveProxy::*operation)(int));
    std::string Switch(const std::string& word, int (Strova::CVaxoLiveProxy::*operation)(bool));
    std::string Rotation(const Arguments& words);
    std::string Size(const Arguments& words);
    std::string Bitrate(const Arguments& words);
    std::string Snapshot(const Arguments& words);
    std::string Upload(const Arguments& words);
    std::string Play(const Arguments& words);
    std::string EndPlay(const Arguments& words);
    std::string Status(const Arguments& words);

    Visit& m_visit;
    const bool m_isPublisher;
    std::map<std::string, unsigned int> m_plays;
    unsigned int m_nextChannel = 0;
    bool m_wantsToLeave = false;
};

}  // namespace vaxoapp

#endif
