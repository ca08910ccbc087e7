// The upload server on a full disk: what it answers, what the library makes of it, and that
// all goes on when there is room. Making a full disk takes the right to mount.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ServerTools.h"
#include "connection/VaxoUploadTransfer.h"

namespace livetest {
namespace {

using std::string;

LocalServers& Servers() {
    return LocalServers::Shared();
}

// A file system without room, mounted on a directory while this lives. A process in a session
// of its own mounts it and takes it away at the end of a pipe whose other end this process
// alone holds: so it goes also when a test crashes or is killed.
class FullDisk {
public:
    explicit FullDisk(const string& directory) {
        string script =
            "mount -t tmpfs -o size=64k none \"$1\" || exit 1; "
            "head -c 1000000 /dev/zero 2>/dev/null >\"$1/full\"; "
            "echo full; cat >/dev/null; umount -l \"$1\"";
        string words[] = {"setsid", "sh", "-c", script, "sh", directory};
        std::vector<char*> arguments;
        for (string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
            ADD_FAILURE() << "no pipes";
            return;
        }
        m_lifeline = input[1];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], 0);
        posix_spawn_file_actions_adddup2(&actions, output[1], 1);
        if (posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
            m_pid = 0;
        }
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        char said[5];
        m_isThere = read(output[0], said, sizeof(said)) > 0;
        close(output[0]);
    }
    ~FullDisk() { MakeRoom(); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

    bool IsThere() const { return m_isThere; }  // false: nobody may mount here

    void MakeRoom() {
        if (m_pid > 0) {
            close(m_lifeline);
            int status = 0;
            EXPECT_EQ(waitpid(m_pid, &status, 0), m_pid);
            EXPECT_TRUE(!m_isThere || status == 0) << "still mounted";
            m_pid = 0;
        }
    }

private:
    pid_t m_pid = 0;
    int m_lifeline = -1;
    bool m_isThere = false;
};

// Where a body is written, and where it is moved to.
class ServersNoRoom : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        setenv("no_proxy", "*", 1);  // the server is on this machine
        ASSERT_TRUE(VaxoTransferReady());
        ASSERT_EQ(Put("before").status / 100, 2) << Servers().MediaLog();
        m_logged = std::filesystem::file_size(m_log);
        m_disk = std::make_unique<FullDisk>(Servers().Directory() + GetParam());
        if (!m_disk->IsThere()) {
            GTEST_SKIP() << "no full disk to be had: mounting a tmpfs takes root's rights";
        }
    }
    void TearDown() override {
        m_disk.reset();
        std::filesystem::remove(m_file);
        // Of a full disk nginx tells with the request line, and other tests look for that.
        std::filesystem::resize_file(m_log, m_logged);
    }

    static string Target(const Application& app) {
        const string path = "/upload/42/bob/full.log";
        return path + "?" + VaxoSignQuery(SignerOf(app), "upload", path, InSeconds(600));
    }
    static HttpAnswer Put(const string& body) { return Http("PUT", Target(Servers().App()), body); }
    static string Stored() {
        return Slurp(Servers().Directory() + "/files/upload/42/bob/full.log");
    }

    // As the library sends it.
    VaxoTransferResult Transfer(const string& target, std::size_t size) {
        std::ofstream(m_file) << string(size, 'x');
        string refusal;
        const auto file = VaxoUploadFile::Open(m_file, size, refusal);
        if (file == nullptr) {
            return {VaxoTransferEnd::GaveUp, refusal};
        }
        return VaxoTransfer(Servers().HttpURL() + target, *file, {}, [] { return false; });
    }

    std::unique_ptr<FullDisk> m_disk;
    const string m_file = Servers().Directory() + "/sent.log";
    const string m_log = Servers().Directory() + "/logs/error.log";
    std::uintmax_t m_logged = 0;
};

TEST_P(ServersNoRoom, APutIsAnswered507AndTheFileThatWasThereStays) {
    EXPECT_EQ(Put("small").status, 507) << Servers().MediaLog();
    EXPECT_EQ(Put(string(200000, 'x')).status, 507);
    m_disk->MakeRoom();
    EXPECT_EQ(Stored(), "before");
    EXPECT_EQ(Put("after").status, 204);
    EXPECT_EQ(Stored(), "after");
}

TEST_P(ServersNoRoom, RefusalsStayWhatTheyAre) {
    Application wrongKey = Servers().App();
    wrongKey.key[31] = static_cast<char>(wrongKey.key[31] ^ 1);
    const string target = Target(Servers().App());
    EXPECT_EQ(Http("PUT", Target(wrongKey), "x").status, 403);
    EXPECT_EQ(Http("PUT", target.substr(0, target.find('?')), "x").status, 403);
    EXPECT_EQ(Http("GET", target).status, 403);
    EXPECT_EQ(Http("PUT", target, "", "Content-Length: 16777217\r\n").status, 413);
    EXPECT_EQ(Http("PUT", target, "", "Transfer-Encoding: chunked\r\n").status, 411);
    EXPECT_EQ(Transfer(Target(wrongKey), 10000000).text, "answer 403");
}

TEST_P(ServersNoRoom, TheLibrarySaysSoAndTriesAgain) {
    const string target = Target(Servers().App());
    for (const std::size_t size : {1000U, 900000U, 10000000U}) {
        const VaxoTransferResult result = Transfer(target, size);
        EXPECT_EQ(result.end, VaxoTransferEnd::TryAgain) << size;
        EXPECT_EQ(result.text, "answer 507: the server has no room") << size;
    }
    m_disk->MakeRoom();
    const VaxoTransferResult result = Transfer(target, 10000000);
    EXPECT_EQ(result.end, VaxoTransferEnd::Done) << result.text;
    EXPECT_EQ(Stored().size(), 10000000U);
}

string NameOf(const testing::TestParamInfo<const char*>& place) {
    return string(place.param) == "/files" ? "WhereFilesLie" : "WhereBodiesAreWritten";
}

INSTANTIATE_TEST_SUITE_P(, ServersNoRoom, testing::Values("/files", "/tmp/body"), NameOf);

}  // namespace
}  // namespace livetest
