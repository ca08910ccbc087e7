// One visit to a channel: the live object made ready, the entry, what is asked while inside,
// and the proper way out. Used on the command's own thread.
#ifndef VAXO_APPS_VISIT_H
#define VAXO_APPS_VISIT_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ExitCode.h"
#include "Inputs.h"
#include "Session.h"
#include "Settings.h"
#include "VaxoLiveStats.h"
#include "live/VaxoLiveProxy.h"

namespace vaxoapp {

class Visit {
public:
    typedef Session::Clock Clock;

    // `readLines`: see Inputs.h.
    Visit(Settings settings, std::shared_ptr<Report> report, bool readLines);
    ~Visit();  // leaves, if Leave was not called
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    // Opens log and events, gives addresses, identifier and key to the library.
    ExitCode Begin();
    // Enters the channel and waits for the answer. Exit_Ok also when somebody wants to leave
    // meanwhile: see MustStop.
    ExitCode Enter();
    // Waits until the list of streams is there: it comes after the entry, a stream at a time,
    // and nothing says that it is complete, so this waits for a pause.
    void AwaitList();
    // Leaves, and waits for it 12 s. Answers `soFar`, or that leaving took too long; then the
    // process must end without another word to the library: see MustEndAtOnce.
    ExitCode Leave(ExitCode soFar);
    bool MustEndAtOnce() const { return m_isStuck; }

    // A picture into a PNG file: of what is published, or of the play with this number.
    // False with `error`.
    bool TakeSnapshot(std::optional<unsigned int> play, const std::string& path,
                      std::string& error);

    // Says that something failed: on the terminal and in the events.
    ExitCode Fail(ExitCode code, const std::string& text);
    void Tell(const char* kind, const JsonObject& fields, const std::string& line,
              Hue hue = Hue::Plain);
    // A line of the standard output.
    void Print(const std::string& line) { m_report->status.Result(line); }
    // The status line, and once a second a "stats" event. A terminal also shows for how long
    // this has gone on, and what is left until `end` when that is near enough to matter.
    void ShowStatus(Clock::time_point end);
    // A terminal shows what is waited for, and since when.
    void ShowWaiting(const std::string& what, Clock::time_point since);
    // Session::Wait, with that.
    Wake Await(const std::string& what, Clock::time_point end,
               const std::function<bool(const SessionState&)>& isReady, bool untilEnd = false);
    void TellDevices();
    JsonObject StatusFields();

    bool MustStop();
    Clock::time_point Deadline() const;
    const Settings& GetSettings() const { return m_settings; }
    Session& GetSession() { return *m_session; }
    const std::shared_ptr<Session>& SharedSession() const { return m_session; }
    Strova::CVaxoLiveProxy& Live() { return *m_live; }

private:
    std::vector<Piece> StatusText();

    Settings m_settings;
    const std::shared_ptr<Report> m_report;
    const std::shared_ptr<Session> m_session;
    Inputs m_inputs;
    std::shared_ptr<Strova::CVaxoLiveProxy> m_live;
    bool m_hasBegun = false;
    bool m_hasAskedIn = false;
    bool m_isStuck = false;
    Clock::time_point m_nextStats;
    Clock::time_point m_entered;  // when
    std::string m_camera;         // of the last status
    std::string m_microphone;
};

}  // namespace vaxoapp

#endif
