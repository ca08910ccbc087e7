// What the tests of the servers need: programs, raw HTTP, signed addresses.
#ifndef VAXO_TESTS_SERVERS_SERVERTOOLS_H
#define VAXO_TESTS_SERVERS_SERVERTOOLS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "LocalServers.h"
#include "kernel/connection/VaxoSign.h"

namespace livetest {

// A program that runs until it ends or this object does. Its output, both kinds, is in a file.
class Program {
public:
    explicit Program(std::vector<std::string> words);
    ~Program();  // ends it
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int Wait();  // until it has ended (30 s, then it is killed: -1); its exit status
    void End();
    void Freeze();  // it stands still until it is ended
    std::string Output() const;

private:
    pid_t m_pid = 0;
    std::string m_output;
};

struct Outcome {
    int status = -1;
    std::string output;
};
Outcome RunProgram(std::vector<std::string> words);

// Looks every 20 ms for at most 20 s.
bool Eventually(const std::function<bool()>& condition);

struct HttpAnswer {
    int status = 0;  // 0: no answer
    std::string headers;
    std::string body;
};
// The target goes out as it stands. `from`: the address to come from. `headers`: lines with
// their ends.
HttpAnswer Http(const std::string& method, const std::string& target, const std::string& body = {},
                const std::string& headers = {}, const std::string& from = "127.0.0.1");

long long InSeconds(long long seconds);  // from now, since 1970
VaxoSigner SignerOf(const Application& app, const std::string& user = "bob");
std::string Hex(const std::string& bytes);
std::string Slurp(const std::string& path);

// ffmpeg publishing a small test picture with sound, or ffprobe naming the codecs of what it
// reads, at an address of the "live" application given as "<name>?<query>".
std::vector<std::string> PublishCommand(const std::string& nameAndQuery);
std::vector<std::string> ProbeCommand(const std::string& nameAndQuery);
bool IsPublished(const std::string& name);  // as the statistics page says

}  // namespace livetest

#endif
