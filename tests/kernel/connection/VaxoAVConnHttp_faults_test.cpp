// The HTTP connection and servers that do not read what they are sent: that die in the
// middle of a body, refuse it unread, or have no room for it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <vector>

#include "kernel/connection/ConnHttpFixture.h"

using httptest::HttpServer;
using httptest::IsSigned;
using httptest::Request;

namespace {

class VaxoAVConnHttpFaults : public httptest::ConnHttpFixture {};

// More than the sockets' buffers hold.
std::string Large() {
    std::string bytes(std::size_t{10} * 1024 * 1024, 'x');
    for (std::size_t i = 0; i < bytes.size(); i += 1000) {
        bytes[i] = static_cast<char>('a' + i / 1000 % 26);
    }
    return bytes;
}

}  // namespace

TEST_F(VaxoAVConnHttpFaults, AServerThatDiesHalfwayIsTriedAgainWithTheWholeFile) {
    HttpServer server({httptest::DieHalfway, 201});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", Large())));
    Finish();
    const std::vector<Request> requests = server.Requests(1);
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_TRUE(IsSigned(requests[0], 42, key, "bob"));
    EXPECT_TRUE(requests[0].body == Large());
    EXPECT_EQ(server.Connections(), 2U);
    EXPECT_EQ(Logged("to be tried again, "), 1);
    EXPECT_EQ(Logged("done, 10485760 bytes, answer 201"), 1);
}

TEST_F(VaxoAVConnHttpFaults, AServerThatAlwaysDiesHalfwayIsTriedFourTimes) {
    HttpServer server({httptest::DieHalfway});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", Large())));
    Finish();
    EXPECT_EQ(server.Connections(), 4U);
    EXPECT_EQ(Logged("to be tried again, "), 3);
    EXPECT_EQ(Logged("failed, "), 1);
    EXPECT_EQ(Logged("answer"), 0);
}

TEST_F(VaxoAVConnHttpFaults, AnAnswerBeforeTheBodyIsTheReason) {
    for (const int status : {403, 413}) {
        HttpServer server({httptest::Unread(status)});
        Connect(server);
        EXPECT_TRUE(Upload(Write("app.log", Large())));
        Finish();
        EXPECT_EQ(server.Connections(), 1U);
        EXPECT_EQ(Logged("failed, answer " + std::to_string(status)), 1);
    }
    HttpServer server({httptest::Unread(500), httptest::Unread(503), 201});
    Connect(server);
    EXPECT_TRUE(Upload(Path("app.log")));
    Finish();
    EXPECT_EQ(Logged("to be tried again, answer 500"), 1);
    EXPECT_EQ(Logged("to be tried again, answer 503"), 1);
    EXPECT_EQ(Logged("done, 10485760 bytes, answer 201"), 1);
}

// Such a file is sent without a question, so the server closes on what it has not read.
TEST_F(VaxoAVConnHttpFaults, AnAnswerBeforeTheBodyOfAShorterFileIsTheReasonToo) {
    HttpServer server({httptest::Unread(413)});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", Large().substr(0, std::size_t{1024} * 1024))));
    Finish();
    EXPECT_EQ(server.Connections(), 1U);
    EXPECT_EQ(Logged("failed, answer 413"), 1);
}

TEST_F(VaxoAVConnHttpFaults, AnAnswerInTheMiddleOfTheBodyIsTheReason) {
    HttpServer server({httptest::HalfRead(500), httptest::HalfRead(413)});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", Large())));
    Finish();
    EXPECT_EQ(server.Connections(), 2U);
    EXPECT_EQ(Logged("to be tried again, answer 500"), 1);
    EXPECT_EQ(Logged("failed, answer 413"), 1);
}

TEST_F(VaxoAVConnHttpFaults, AServerThatWantsNoQuestionGetsTheFileWithoutOne) {
    HttpServer server({httptest::Unread(417), 201});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", Large())));
    Finish();
    ASSERT_EQ(server.Requests(1).size(), 1U);
    EXPECT_TRUE(server.Requests(1)[0].body == Large());
    EXPECT_EQ(Logged("to be tried again"), 0);
    EXPECT_EQ(Logged("done, 10485760 bytes, answer 201"), 1);
}

TEST_F(VaxoAVConnHttpFaults, AServerWithoutRoomIsTriedAgainAndNamed) {
    HttpServer server({507, 201});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", "text")));
    Finish();
    EXPECT_EQ(server.Requests(2).size(), 2U);
    EXPECT_EQ(Logged("to be tried again, answer 507: the server has no room"), 1);
    EXPECT_EQ(Logged("done, 4 bytes, answer 201"), 1);
}

TEST_F(VaxoAVConnHttpFaults, AServerThatNeverHasRoomIsTheReason) {
    HttpServer server({507});
    Connect(server);
    EXPECT_TRUE(Upload(Write("app.log", "text")));
    Finish();
    EXPECT_EQ(server.Requests(4).size(), 4U);
    EXPECT_EQ(Logged("failed, answer 507: the server has no room"), 1);
}

TEST_F(VaxoAVConnHttpFaults, ARefusedFileIsToldWithWhatItLacks) {
    HttpServer server({201});
    Connect(server);
    const std::string file = Write("app.log", "");
    ASSERT_EQ(::truncate(file.c_str(), 50000000), 0);
    EXPECT_FALSE(Upload(file));
    EXPECT_EQ(Logged("/app.log not taken: the file is 50000000 bytes long, the limit is 16777216"),
              1);
    EXPECT_FALSE(Upload(Path("missing.log")));
    EXPECT_EQ(Logged("/missing.log not taken: there is no such file"), 1);
    ASSERT_EQ(::mkdir(Path("folder").c_str(), 0700), 0);
    EXPECT_FALSE(Upload(Path("folder")));
    EXPECT_EQ(Logged("/folder not taken: it is no regular file"), 1);
    Finish();
    EXPECT_EQ(server.Connections(), 0U);
}

TEST_F(VaxoAVConnHttpFaults, AFileAtTheLimitIsTaken) {
    HttpServer server({201});
    Connect(server);
    const std::string file = Write("app.log", "");
    ASSERT_EQ(::truncate(file.c_str(), 16777216), 0);
    EXPECT_TRUE(Upload(file));
    Finish();
    EXPECT_EQ(Logged("done, 16777216 bytes, answer 201"), 1);
}
