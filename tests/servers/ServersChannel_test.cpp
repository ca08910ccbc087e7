// Who may connect to the channel server, and to whose topics.
#include <gtest/gtest.h>

#include "ServerTools.h"

namespace livetest {
namespace {

using std::string;

// A mosquitto client of an application: protocol 5, which tells about refusals.
std::vector<string> Client(const char* program, const Application& app,
                           const std::vector<string>& more) {
    const string url = LocalServers::Shared().ServiceURL();
    std::vector<string> words = {program,
                                 "-V",
                                 "5",
                                 "-h",
                                 "127.0.0.1",
                                 "-p",
                                 url.substr(url.rfind(':') + 1),
                                 "--psk-identity",
                                 std::to_string(app.id),
                                 "--psk",
                                 Hex(app.key)};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

Outcome Publish(const Application& app, const string& topic, const string& text) {
    return RunProgram(Client("mosquitto_pub", app, {"-q", "1", "-r", "-t", topic, "-m", text}));
}

bool Refused(const Outcome& outcome) {
    return outcome.output.find("Not authorized") != string::npos ||
           outcome.output.find("not authorised") != string::npos;
}

TEST(ServersChannel, ApplicationPublishesAndReadsItsOwnTopics) {
    const Application app = LocalServers::Shared().App();
    const Outcome sent = Publish(app, "live/42/own", "hello");
    EXPECT_EQ(sent.status, 0) << sent.output;
    EXPECT_FALSE(Refused(sent)) << sent.output;
    const Outcome got =
        RunProgram(Client("mosquitto_sub", app, {"-t", "live/42/own", "-C", "1", "-W", "20"}));
    EXPECT_EQ(got.status, 0) << got.output;
    EXPECT_EQ(got.output, "hello\n");
}

TEST(ServersChannel, WrongKeyIsRefused) {
    Application app = LocalServers::Shared().App();
    app.key[0] = static_cast<char>(app.key[0] ^ 1);
    EXPECT_GT(Publish(app, "live/42/own", "x").status, 0);
}

TEST(ServersChannel, KeyOfAnotherApplicationIsRefused) {
    Application app = LocalServers::Shared().App();
    app.key = LocalServers::Shared().OtherApp().key;
    EXPECT_GT(Publish(app, "live/42/own", "x").status, 0);
}

TEST(ServersChannel, UnknownApplicationIsRefused) {
    Application app = LocalServers::Shared().App();
    app.id = 44;
    EXPECT_GT(Publish(app, "live/44/own", "x").status, 0);
}

TEST(ServersChannel, ConnectionWithoutTlsIsRefused) {
    const string url = LocalServers::Shared().ServiceURL();
    const Outcome outcome =
        RunProgram({"mosquitto_pub", "-V", "5", "-h", "127.0.0.1", "-p",
                    url.substr(url.rfind(':') + 1), "-u", "42", "-t", "live/42/own", "-m", "x"});
    EXPECT_GT(outcome.status, 0) << outcome.output;
}

TEST(ServersChannel, TopicsOfOthersCannotBeWritten) {
    const Application app = LocalServers::Shared().App();
    for (const string topic : {"live/43/own", "live", "other/42/own", "live/421/own"}) {
        const Outcome outcome = Publish(app, topic, "x");
        EXPECT_TRUE(Refused(outcome)) << topic << ": " << outcome.output;
    }
}

// The other application's retained record would arrive first.
TEST(ServersChannel, TopicsOfOthersCannotBeRead) {
    const Application app = LocalServers::Shared().App();
    const Outcome theirs = Publish(LocalServers::Shared().OtherApp(), "live/43/read", "theirs");
    ASSERT_EQ(theirs.status, 0) << theirs.output;
    ASSERT_FALSE(Refused(theirs)) << theirs.output;
    ASSERT_EQ(Publish(app, "live/42/read", "ours").status, 0);
    const Outcome got = RunProgram(Client(
        "mosquitto_sub", app,
        {"-t", "live/43/read", "-t", "live/+/read", "-t", "live/42/read", "-C", "1", "-W", "20"}));
    EXPECT_EQ(got.output, "ours\n");
}

}  // namespace
}  // namespace livetest
