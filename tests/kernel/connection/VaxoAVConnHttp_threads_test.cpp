// The HTTP connection's waiting files, its end, the end of the process, and many callers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "connection/VaxoAVConnHttp.h"
#include "kernel/connection/ConnHttpFixture.h"
#include "vaxolog.h"

using httptest::HttpServer;
using httptest::IsSigned;
using httptest::Request;
using httptest::Sign;
using httptest::TestTimes;

namespace {

// In a forked child what the parent's threads held is a leak, and rightly so.
bool s_isForkedChild = false;

}  // namespace

// The leak sanitizer asks it at the exit, where there is one; it chose the name.
extern "C" VAXO_API int __lsan_is_turned_off();
extern "C" VAXO_API int __lsan_is_turned_off() {
    return s_isForkedChild ? 1 : 0;
}

namespace {

class VaxoAVConnHttpThreads : public httptest::ConnHttpFixture {
protected:
    // Offers a file and waits until the server has it; it stays under way until Release.
    void Occupy(HttpServer& server) {
        EXPECT_TRUE(Upload(Write("first.log", "first")));
        EXPECT_EQ(server.Requests(1).size(), 1U);
    }
};

}  // namespace

TEST_F(VaxoAVConnHttpThreads, FourFilesWaitAndAFifthIsRefused) {
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    for (const char* const name : {"a.log", "b.log", "c.log", "d.log"}) {
        EXPECT_TRUE(Upload(Write(name, name))) << name;
    }
    EXPECT_FALSE(Upload(Write("e.log", "e.log")));
    EXPECT_EQ(Logged("not taken: too many wait"), 1);
    server.Release();
    Finish();
    const std::vector<Request> requests = server.Requests(5);
    ASSERT_EQ(requests.size(), 5U);
    for (std::size_t i = 1; i < 5; ++i) {
        const std::string name = std::string(1, static_cast<char>('a' + i - 1)) + ".log";
        EXPECT_EQ(requests[i].path, "/upload/42/bob/" + name);
        EXPECT_EQ(requests[i].body, name);
    }
    EXPECT_EQ(server.MostAtOnce(), 1);
}

TEST_F(VaxoAVConnHttpThreads, AFileThatWaitsGoesOutOnceWithWhatCameLater) {
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    for (const char* const name : {"a.log", "b.log", "c.log", "d.log"}) {
        EXPECT_TRUE(Upload(Write(name, "old")));
    }
    EXPECT_TRUE(Upload(Append("a.log", " and new"), false));
    server.Release();
    Finish();
    const std::vector<Request> requests = server.Requests(5);
    ASSERT_EQ(requests.size(), 5U);
    EXPECT_EQ(requests[1].path, "/upload/42/bob/a.log");
    EXPECT_EQ(requests[1].body, "old and new");
}

TEST_F(VaxoAVConnHttpThreads, AWaitingFileThatSomebodyAskedForStaysAskedFor) {
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    EXPECT_TRUE(Upload(Path("first.log")));
    EXPECT_TRUE(Upload(Path("first.log"), false));
    server.Release();
    Finish();
    EXPECT_EQ(server.Requests(2).size(), 2U);
}

TEST_F(VaxoAVConnHttpThreads, TheSameFileForAnotherUserIsAnotherUpload) {
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    EXPECT_TRUE(Upload(Write("a.log", "text"), true, "ann"));
    EXPECT_TRUE(Upload(Path("a.log"), true, "ben"));
    server.Release();
    Finish();
    EXPECT_EQ(server.Requests(3).size(), 3U);
}

TEST_F(VaxoAVConnHttpThreads, AnOfferThatTheUploadUnderWayCoversIsPassedOver) {
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    EXPECT_TRUE(Upload(Path("first.log"), false));
    server.Release();
    Finish();
    EXPECT_EQ(server.Requests(1).size(), 1U);
    EXPECT_EQ(Logged("passed over, nothing new in it"), 1);
}

TEST_F(VaxoAVConnHttpThreads, AnAcceptedUploadKeepsTheCredentialsItCameWith) {
    HttpServer server({201}, false);
    Connect(server);
    EXPECT_TRUE(Upload(Write("a.log", "a")));
    EXPECT_EQ(connection->Init(43, Sign("another key")), 0);
    EXPECT_TRUE(Upload(Write("b.log", "b")));
    EXPECT_EQ(connection->Init(0, vaxo::stream()), -1);
    server.Accept();
    const std::vector<Request> requests = server.Requests(2);
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_TRUE(IsSigned(requests[0], 42, key, "bob"));
    EXPECT_EQ(requests[1].path, "/upload/43/bob/b.log");
    EXPECT_TRUE(IsSigned(requests[1], 43, "another key", "bob"));
}

TEST_F(VaxoAVConnHttpThreads, TheEndDoesNotWaitForAServerThatIsSilent) {
    HttpServer server({httptest::NeverAnswer});
    VaxoUploaderTimes times = TestTimes();  // nothing else ends the upload for ten minutes
    times.farewell = std::chrono::milliseconds(10);
    Connect(server, times);
    Occupy(server);
    EXPECT_TRUE(Upload(Write("a.log", "a")));
    EXPECT_TRUE(Upload(Write("b.log", "b")));
    const auto begin = std::chrono::steady_clock::now();
    Finish();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::minutes(1));
    EXPECT_EQ(server.Requests(0).size(), 1U);
    for (const char* const name : {"first", "a", "b"}) {
        EXPECT_EQ(Logged("/" + std::string(name) + ".log: given up, the connection ends"), 1);
    }
}

TEST_F(VaxoAVConnHttpThreads, TheEndDoesNotWaitForALongPause) {
    HttpServer server({500});
    VaxoUploaderTimes times = TestTimes();
    times.firstPause = std::chrono::hours(1);
    Connect(server, times);
    EXPECT_TRUE(Upload(Write("a.log", "a")));
    ASSERT_TRUE(WaitLogged("to be tried again"));
    Finish();
    EXPECT_EQ(server.Requests(0).size(), 1U);
    EXPECT_EQ(Logged("given up, the connection ends"), 1);
}

TEST_F(VaxoAVConnHttpThreads, AConnectionThatWasNeverUsedEndsAtOnce) {
    const CVaxoAVConnHttp unused;
    CVaxoAVConnHttp initialised;
    EXPECT_EQ(initialised.Init(1, Sign("k")), 0);
}

TEST_F(VaxoAVConnHttpThreads, ManyThreadsMayOfferAndChangeTheCredentials) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 25;
    HttpServer server({201});
    Connect(server);
    std::atomic<int> accepted{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &accepted] {
            const std::string name = std::to_string(t) + ".log";
            for (int i = 0; i < kRounds; ++i) {
                EXPECT_EQ(connection->Init(kAppID, Sign(key)), 0);
                accepted += Upload(Append(name, "x"), i % 2 == 0) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Finish();
    EXPECT_EQ(server.MostAtOnce(), 1);
    const std::vector<Request> requests = server.Requests(1);
    EXPECT_LE(requests.size(), static_cast<std::size_t>(accepted));
    EXPECT_EQ(Logged(": done"), static_cast<int>(requests.size()));
    std::array<std::size_t, kThreads> longest = {};
    for (const Request& request : requests) {
        EXPECT_TRUE(IsSigned(request, kAppID, key, "bob"));
        const auto t = static_cast<std::size_t>(request.path[request.path.size() - 5] - '0');
        longest.at(t) = std::max(longest.at(t), request.body.size());
    }
    // Four files never fill the waiting room, so each went out with its last byte.
    for (const std::size_t length : longest) {
        EXPECT_EQ(length, static_cast<std::size_t>(kRounds));
    }
}

namespace {

void PrintLine(void* /*context*/, int32 /*level*/, const char* /*tag*/, int32 /*line*/,
               const char* text) {
    static_cast<void>(std::fprintf(stderr, "%s\n", text));
}

// A process that ends with an upload under way and a connection that nobody destroys.
void ExitWhileUploading(const std::string& file) {
    HttpServer& server = *new HttpServer({httptest::NeverAnswer});
    httptest::SetUploadURL(server.URL());
    VaxoUploaderTimes times = TestTimes();
    times.farewell = std::chrono::milliseconds(10);
    static CVaxoAVConnHttp& s_connection = *httptest::MakeConnection(times).release();
    s_connection.Init(1, Sign("k"));
    s_connection.UploadLogFile("bob", file.c_str(), true);
    server.Requests(1);
    vaxolog_set_sink(PrintLine, nullptr);
    std::exit(0);
}

}  // namespace

TEST_F(VaxoAVConnHttpThreads, TheEndOfTheProcessGivesUpWhatIsUnderWay) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const std::string file = Write("app.log", "text");
    EXPECT_EXIT(ExitWhileUploading(file), ::testing::ExitedWithCode(0),
                "given up, the connection ends");
}

TEST_F(VaxoAVConnHttpThreads, AForkedChildUploadsNothingAndEnds) {
    ::testing::FLAGS_gtest_death_test_style = "fast";
    HttpServer server({httptest::AfterRelease});
    Connect(server);
    Occupy(server);
    const auto child = [this] {
        s_isForkedChild = true;
        ::alarm(60);  // ends a child that waits for ever
        const bool wasRefused = !Upload(Path("first.log"));
        connection.reset();
        std::exit(wasRefused ? 0 : 1);
    };
    EXPECT_EXIT(child(), ::testing::ExitedWithCode(0), "");
    server.Release();
}
