// What people see while a command runs, on the standard error: lines about what happens
// and, on a terminal, one line below them that is always current. Where there is no
// terminal, the current state is printed as a plain line every five seconds. Any thread.
#ifndef VAXO_APPS_STATUSLINE_H
#define VAXO_APPS_STATUSLINE_H

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "Colour.h"

namespace vaxoapp {

class StatusLine {
public:
    explicit StatusLine(bool quiet);
    ~StatusLine();  // leaves the terminal on a fresh line
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void Say(const std::string& line, Hue hue = Hue::Plain);  // not when quiet
    void Error(const std::string& line);                      // also when quiet
    void Show(const std::vector<Piece>& status);
    // What is waited for: on a terminal alone. Nothing at all takes it away.
    void ShowProgress(const std::vector<Piece>& progress);
    // A result, on the standard output; the line below keeps out of its way.
    void Result(const std::string& line);

    // Whether there is a line that is always current.
    bool IsLive() const { return m_isTerminal && !m_quiet; }

private:
    typedef std::chrono::steady_clock Clock;

    void Print(const std::string& line);
    void Draw();

    const bool m_quiet;
    const bool m_isTerminal;
    std::mutex m_lock;
    std::vector<Piece> m_status;  // what stands on the terminal's last line
    Clock::time_point m_nextPlain;
};

}  // namespace vaxoapp

#endif
