// Media, upload and channel servers for tests: a set of their own on free loopback ports,
// in a new directory, started with script/servers and ended by process id.
#ifndef VAXO_TESTS_SERVERS_LOCALSERVERS_H
#define VAXO_TESTS_SERVERS_LOCALSERVERS_H

#include <string>

namespace livetest {

struct Application {
    unsigned int id = 0;
    std::string key;  // bytes
};

class LocalServers {
public:
    LocalServers();   // returns when both answer; a failed start fails the test
    ~LocalServers();  // ends them and removes the directory
    LocalServers(const LocalServers&) = delete;
    LocalServers& operator=(const LocalServers&) = delete;

    // One set for all tests of a process, started on first use, ended when the process ends.
    static LocalServers& Shared();

    bool Running() const;
    const std::string& Directory() const;
    const std::string& ServiceURL() const;  // mqtts://127.0.0.1:port
    const std::string& MediaURL() const;    // rtmp://127.0.0.1:port/live
    const std::string& UploadURL() const;   // http://127.0.0.1:port/upload
    std::string HttpURL() const;            // http://127.0.0.1:port
    Application App() const;                // two applications the servers know
    Application OtherApp() const;

    // Kill (by signal 9) and start again on the same ports. Start returns when it answers.
    void KillMedia();
    void StartMedia();
    void KillChannel();
    void StartChannel();
    // Stop and continue the processes: a server that is there and does not answer.
    void FreezeMedia();
    void ThawMedia();
    void FreezeChannel();
    void ThawChannel();

    std::string Statistics() const;  // the media server's own page, XML
    std::string MediaLog() const;    // its error log so far

private:
    struct Impl;
    Impl* m_impl;
};

}  // namespace livetest

#endif
