#include "Commands.h"

#include <algorithm>
#include <cstdlib>

#include "vaxolog.h"

namespace vaxoapp {

ExitCode RunInChannel(Settings settings, Needs needs, bool readLines,
                      const std::function<ExitCode(Visit&)>& inside,
                      const std::function<ExitCode(Visit&)>& before) {
    const auto report = std::make_shared<Report>(settings.quiet, settings.json);
    std::string error;
    if (!ResolveSettings(settings, needs, error)) {
        report->events.Write(
            "failed",
            JsonObject().Number("code", static_cast<int>(Exit_Usage)).Text("reason", error));
        report->status.Error(error);
        return Exit_Usage;
    }
    Visit visit(std::move(settings), report, readLines);
    ExitCode code = visit.Begin();
    if (code == Exit_Ok && before) {
        code = before(visit);
    }
    if (code == Exit_Ok && !visit.MustStop()) {
        code = visit.Enter();
    }
    if (code == Exit_Ok && !visit.MustStop()) {
        code = inside(visit);
    }
    code = visit.Leave(code);
    visit.Tell("end", JsonObject().Number("code", static_cast<int>(code)), "");
    if (visit.MustEndAtOnce()) {
        vaxolog_flush();
        std::_Exit(code);
    }
    return code;
}

Attended Attend(Visit& visit, Console* console, Visit::Clock::time_point end,
                const std::function<bool(const SessionState&)>& isOver) {
    constexpr std::chrono::milliseconds kStatusEvery{500};
    for (;;) {
        visit.ShowStatus(end);
        const Visit::Clock::time_point next = std::min(end, Visit::Clock::now() + kStatusEvery);
        const Wake wake = visit.GetSession().Wait(next, [&](const SessionState& state) {
            return isOver(state) ||
                   (console != nullptr && (!state.lines.empty() || state.linesEnded));
        });
        if (wake == Wake::Stop || (console != nullptr && !console->RunWaiting())) {
            return Attended::Leaving;
        }
        if (visit.GetSession().With(isOver)) {
            return Attended::Over;
        }
        if (Visit::Clock::now() >= end) {
            return Attended::Time;
        }
    }
}

Visit::Clock::time_point After(double seconds) {
    constexpr double kYear = 365.0 * 86400;  // a wait cannot take the clock's own end
    const double limited = seconds < 0 || seconds > kYear ? kYear : seconds;
    return Visit::Clock::now() + std::chrono::milliseconds(static_cast<long long>(limited * 1000));
}

}  // namespace vaxoapp
