// For tests of the HTTP connection: a connection with short pauses, files of the test's own
// to upload, and the log.
#ifndef VAXO_TESTS_CONNECTION_CONNHTTPFIXTURE_H
#define VAXO_TESTS_CONNECTION_CONNHTTPFIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "connection/VaxoAVConnHttp.h"
#include "connection/VaxoUploader.h"
#include "kernel/connection/HttpServer.h"
#include "support/LogRecorder.h"

namespace httptest {

// Limits far beyond a test's length, pauses of next to nothing.
VaxoUploaderTimes TestTimes();
std::unique_ptr<CVaxoAVConnHttp> MakeConnection(const VaxoUploaderTimes& times);

vaxo::stream Sign(const std::string& key);
void SetUploadURL(const std::string& url);

// Whether id, user and signature of a request are these, and it is valid for 5 minutes.
::testing::AssertionResult IsSigned(const Request& request, unsigned int appID,
                                    const std::string& key, const std::string& user);

class ConnHttpFixture : public ::testing::Test {
protected:
    static constexpr unsigned int kAppID = 42;

    ConnHttpFixture();
    // No line of the test holds the key or anything that stands behind a "?".
    ~ConnHttpFixture() override;

    // Sets the address, makes the connection and gives it the test's credentials.
    void Connect(const HttpServer& server, const VaxoUploaderTimes& times = TestTimes());
    bool Upload(const std::string& file, bool bByUser = true, const char* user = "bob");
    // Ends the connection, which first does all that waits: TestTimes give it the time.
    void Finish() { connection.reset(); }

    std::string Path(const std::string& name) const { return m_folder + "/" + name; }
    // Writes a file, or appends to it; its path.
    std::string Write(const std::string& name, const std::string& content) const;
    std::string Append(const std::string& name, const std::string& content) const;

    // How many lines hold this text, so far in the test.
    int Logged(const std::string& text);
    // Waits for that many, half a minute at most.
    bool WaitLogged(const std::string& text, int count = 1);

    const std::string key = "the key \xff\x01 of 42";
    std::unique_ptr<CVaxoAVConnHttp> connection;

private:
    std::string m_folder;
    LogRecorder m_log;
    std::vector<std::string> m_lines;
};

}  // namespace httptest

#endif
