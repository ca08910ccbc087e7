// The command line as a process of its own, with the engine of FakeLiveShow.cpp: the program
// vaxolive_scripted beside the test's own; or another program, by its path. Its environment holds
// what the test gives and nothing else of the library's.
#ifndef VAXO_TESTS_APPS_APPPROCESS_H
#define VAXO_TESTS_APPS_APPPROCESS_H

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace apptest {

struct Surroundings {
    bool hasTerminal = false;                   // the standard error is one, 100 columns wide
    std::string folder;                         // where it works; empty: where the test does
    std::string program = "vaxolive_scripted";  // a path, or a name beside the test
};

class AppProcess {
public:
    // `arguments`: without the program's name.
    AppProcess(const std::vector<std::string>& arguments,
               const std::map<std::string, std::string>& environment,
               const Surroundings& surroundings = {});
    ~AppProcess();  // kills it if it still runs
    AppProcess(const AppProcess&) = delete;
    AppProcess& operator=(const AppProcess&) = delete;

    pid_t Id() const { return m_pid; }
    void Write(const std::string& text) const;  // to its standard input
    void CloseInput();
    void Signal(int signal) const;

    // Reads the standard output (or error) until it holds `text`; false when it ends, or takes
    // 30 s, without it.
    bool AwaitOutput(const std::string& text);
    bool AwaitError(const std::string& text);

    // Reads on until the process ends: its status, or -signal. Fails the test when that takes
    // more than 30 s, and kills it.
    int End();

    const std::string& Output() const { return m_out; }
    const std::string& Error() const { return m_err; }

private:
    bool ReadSome(int millis);  // false: both are at their end, or time is over
    bool Await(const std::string& text, const std::string& where);

    pid_t m_pid = -1;
    int m_in = -1;
    int m_outPipe = -1;
    int m_errPipe = -1;
    std::string m_out;
    std::string m_err;
};

}  // namespace apptest

#endif
