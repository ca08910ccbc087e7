// Starting and ending the servers: script/servers and the harness itself.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ServerTools.h"

#ifndef VAXO_SOURCE_DIR
#define VAXO_SOURCE_DIR "."  // run from the top of the tree
#endif

namespace livetest {
namespace {

using std::string;

Outcome Script(const string& command, const string& directory) {
    return RunProgram({VAXO_SOURCE_DIR "/script/servers", command, directory});
}

class OwnDirectory {
public:
    OwnDirectory() {
        m_path = (std::filesystem::temp_directory_path() / "livetest-own-XXXXXX").string();
        if (mkdtemp(m_path.data()) == nullptr) {
            ADD_FAILURE() << "no directory";
        }
    }
    ~OwnDirectory() {
        Script("stop", m_path);
        std::filesystem::remove_all(m_path);
    }
    OwnDirectory(const OwnDirectory&) = delete;
    OwnDirectory& operator=(const OwnDirectory&) = delete;

    const string& Path() const { return m_path; }
    string Pids() const { return Slurp(m_path + "/nginx.pid") + Slurp(m_path + "/mosquitto.pid"); }

private:
    string m_path;
};

bool OthersMayUse(const string& path) {
    const auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    return (std::filesystem::status(path).permissions() & others) != std::filesystem::perms::none;
}

TEST(Servers, StartTwiceAndStopTwiceAreHarmless) {
    const OwnDirectory own;
    EXPECT_EQ(Script("status", own.Path()).status, 3);
    const Outcome first = Script("start", own.Path());
    ASSERT_EQ(first.status, 0) << first.output;
    const string pids = own.Pids();
    EXPECT_NE(pids, "");
    const Outcome second = Script("start", own.Path());
    EXPECT_EQ(second.status, 0) << second.output;
    EXPECT_EQ(second.output, first.output);
    EXPECT_EQ(own.Pids(), pids);
    EXPECT_EQ(Script("status", own.Path()).status, 0);
    EXPECT_EQ(Script("stop", own.Path()).status, 0);
    EXPECT_EQ(Script("status", own.Path()).status, 3);
    EXPECT_EQ(Script("stop", own.Path()).status, 0);
}

TEST(Servers, StartPrintsAddressesAndNoKeysAndKeepsThemForTheNextStart) {
    const OwnDirectory own;
    const Outcome first = Script("start", own.Path());
    ASSERT_EQ(first.status, 0) << first.output;
    const string key = Slurp(own.Path() + "/keys/42");
    EXPECT_EQ(key.size(), 64U);
    EXPECT_NE(key, Slurp(own.Path() + "/keys/43"));
    EXPECT_NE(first.output.find("VAXO_MEDIA_URL=rtmp://127.0.0.1:"), string::npos);
    EXPECT_EQ(first.output.find(key), string::npos);
    EXPECT_EQ(Script("stop", own.Path()).status, 0);
    const Outcome second = Script("start", own.Path());
    EXPECT_EQ(second.output, first.output);
    EXPECT_EQ(Slurp(own.Path() + "/keys/42"), key);
}

TEST(Servers, SecretsAreTheirOwnersAlone) {
    const string& directory = LocalServers::Shared().Directory();
    for (const string name : {"", "/keys", "/keys/42", "/keys/43", "/psk", "/servers.env", "/logs",
                              "/logs/error.log"}) {
        EXPECT_TRUE(std::filesystem::exists(directory + name)) << name;
        EXPECT_FALSE(OthersMayUse(directory + name)) << name;
    }
}

TEST(Servers, PortThatIsTakenFailsTheStartWithTheReason) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), length), 0);
    ASSERT_EQ(listen(fd, 8), 0);
    ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const OwnDirectory own;
    ASSERT_EQ(Script("start", own.Path()).status, 0);
    ASSERT_EQ(Script("stop", own.Path()).status, 0);
    string settings = Slurp(own.Path() + "/servers.env");
    const auto from = settings.find("VAXO_SERVICE_URL=");
    settings.replace(
        from, settings.find('\n', from) - from,
        "VAXO_SERVICE_URL=mqtts://127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
    std::ofstream(own.Path() + "/servers.env") << settings;
    const Outcome outcome = Script("start", own.Path());
    EXPECT_GT(outcome.status, 0);
    EXPECT_NE(outcome.output.find("mosquitto) did not start"), string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("in use"), string::npos) << outcome.output;
    EXPECT_EQ(Script("status", own.Path()).status, 3) << "leaves the other one running";
    close(fd);
}

TEST(Servers, WordsThatAreNoCommandAreRefused) {
    EXPECT_EQ(Script("begin", "none").status, 2);
    const Outcome path = Script("start", std::filesystem::temp_directory_path() / "livetest own;");
    std::filesystem::remove(std::filesystem::temp_directory_path() / "livetest own;");
    EXPECT_EQ(path.status, 1);
    EXPECT_NE(path.output.find("may hold letters"), string::npos) << path.output;
}

TEST(LocalServersHarness, KilledServersStartAgainOnTheirPorts) {
    LocalServers servers;
    ASSERT_TRUE(servers.Running());
    const string media = servers.MediaURL();
    servers.KillMedia();
    EXPECT_FALSE(servers.Running());
    EXPECT_EQ(servers.Statistics(), "");
    servers.StartMedia();
    EXPECT_NE(servers.Statistics(), "");
    servers.KillChannel();
    EXPECT_FALSE(servers.Running());
    servers.StartChannel();
    EXPECT_TRUE(servers.Running());
    EXPECT_EQ(servers.MediaURL(), media);
}

TEST(LocalServersHarness, FrozenMediaServerStandsStillAndGoesOn) {
    LocalServers& servers = LocalServers::Shared();
    const string stat =
        "/proc/" + std::to_string(std::atoi(Slurp(servers.Directory() + "/nginx.pid").c_str())) +
        "/stat";
    const auto state = [&stat] {
        const string text = Slurp(stat);
        return text.substr(text.rfind(')') + 2, 1);
    };
    servers.FreezeMedia();
    EXPECT_TRUE(Eventually([&] { return state() == "T"; })) << state();
    servers.ThawMedia();
    EXPECT_TRUE(Eventually([&] { return state() != "T"; })) << state();
    EXPECT_NE(servers.Statistics(), "");
}

// A child starts servers, tells where, and is killed: nobody of its own can clean up.
TEST(LocalServersHarness, ServersEndWithATestProcessThatIsKilled) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const LocalServers servers;
        const string told = servers.Directory() + " " + servers.HttpURL() + "\n";
        const ssize_t written = write(ends[1], told.data(), told.size());
        raise(written > 0 ? SIGKILL : SIGTERM);
    }
    close(ends[1]);
    string told;
    char letter = 0;
    while (read(ends[0], &letter, 1) == 1 && letter != '\n') {
        told.push_back(letter);
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    const string directory = told.substr(0, told.find(' '));
    ASSERT_NE(directory, "");
    EXPECT_TRUE(Eventually([&] { return !std::filesystem::exists(directory); }));
    EXPECT_EQ(Script("status", directory).status, 3);
}

}  // namespace
}  // namespace livetest
