// Uploads and the pages of the HTTP server.
#include <gtest/gtest.h>

#include <filesystem>

#include "ServerTools.h"

namespace livetest {
namespace {

using std::string;

LocalServers& Servers() {
    return LocalServers::Shared();
}

string UploadTarget(const Application& app, const string& path, long long seconds = 600,
                    const string& user = "bob", const string& action = "upload") {
    return path + "?" + VaxoSignQuery(SignerOf(app, user), action, path, InSeconds(seconds));
}

string StoredAt(const string& path) {
    return Servers().Directory() + "/files" + path;
}

TEST(ServersUpload, SignedPutStoresTheFileAndASecondOneReplacesIt) {
    const string target = UploadTarget(Servers().App(), "/upload/42/bob/a.log");
    EXPECT_EQ(Http("PUT", target, "first").status, 201) << Servers().MediaLog();
    EXPECT_EQ(Slurp(StoredAt("/upload/42/bob/a.log")), "first");
    EXPECT_EQ(Http("PUT", target, "second").status, 204);
    EXPECT_EQ(Slurp(StoredAt("/upload/42/bob/a.log")), "second");
}

TEST(ServersUpload, StoredFileIsItsOwnersAlone) {
    const string path = "/upload/42/bob/private.log";
    EXPECT_EQ(Http("PUT", UploadTarget(Servers().App(), path), "x").status, 201);
    EXPECT_EQ(std::filesystem::status(StoredAt(path)).permissions() &
                  (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
              std::filesystem::perms::none);
}

TEST(ServersUpload, PutIsRefusedForEachReason) {
    const Application app = Servers().App();
    Application wrongKey = app;
    wrongKey.key[31] = static_cast<char>(wrongKey.key[31] ^ 1);
    const string path = "/upload/42/bob/refused.log";
    const string query = UploadTarget(app, path).substr(path.size());
    const struct {
        const char* what;
        string target;
        const char* reason;
    } refusals[] = {
        {"unsigned", path, "unsigned"},
        {"expired", UploadTarget(app, path, -1), "expired"},
        {"too far ahead", UploadTarget(app, path, 3700), "too far ahead"},
        {"wrong key", UploadTarget(wrongKey, path), "wrong signature"},
        {"another action", UploadTarget(app, path, 600, "bob", "publish"), "wrong signature"},
        {"another file", "/upload/42/bob/refused2.log" + query, "wrong signature"},
        {"another user's path", UploadTarget(app, path, 600, "eve"), "another user's path"},
        {"another application's path", UploadTarget(Servers().OtherApp(), path),
         "another user's path"},
        {"an argument twice", path + query + "&id=42", "arguments twice"},
        {"a cut signature", path + query.substr(0, query.size() - 1), "malformed"},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        const std::size_t before = Servers().MediaLog().size();
        EXPECT_EQ(Http("PUT", refusal.target, "x").status, 403);
        const string said = Servers().MediaLog().substr(before);
        EXPECT_NE(said.find("upload refused: "), string::npos) << said;
        EXPECT_NE(said.find(refusal.reason), string::npos) << said;
    }
    EXPECT_FALSE(std::filesystem::exists(StoredAt(path)));
}

TEST(ServersUpload, NoPathLeadsOutOfTheUsersDirectory) {
    const Application app = Servers().App();
    for (const string path :
         {"/upload/42/bob/../eve.log", "/upload/42/bob/../../../../keys/44",
          "/upload/42/bob/..%2f..%2fevil", "/upload/42/bob/.hidden", "/upload/42/bob/..",
          "/upload/42/bob/", "/upload/42/bob", "/upload/42/bob/a/b", "/upload/42//bob/a",
          "/upload/42/bob/%61.log", "/upload/42/./bob/a.log", "/upload/42/bob/a%00.log"}) {
        const HttpAnswer answer = Http("PUT", UploadTarget(app, path), "x");
        EXPECT_TRUE(answer.status == 400 || answer.status == 403) << path << ": " << answer.status;
    }
    EXPECT_FALSE(std::filesystem::exists(Servers().Directory() + "/keys/44"));
}

TEST(ServersUpload, OnlyPutIsTaken) {
    const string path = "/upload/42/bob/kept.log";
    const string target = UploadTarget(Servers().App(), path);
    ASSERT_EQ(Http("PUT", target, "kept").status, 201);
    for (const string method : {"GET", "HEAD", "POST", "DELETE", "MKCOL"}) {
        const HttpAnswer answer = Http(method, target);
        EXPECT_EQ(answer.status, 403) << method;
        EXPECT_EQ(answer.body.find("kept"), string::npos) << method;
    }
    EXPECT_EQ(Slurp(StoredAt(path)), "kept");
}

TEST(ServersUpload, BodiesTooLargeOrOfUnknownSizeAreRefusedUnread) {
    const string target = UploadTarget(Servers().App(), "/upload/42/bob/large.log");
    EXPECT_EQ(Http("PUT", target, "", "Content-Length: 16777217\r\n").status, 413);
    EXPECT_EQ(Http("PUT", target, "", "Transfer-Encoding: chunked\r\n").status, 411);
    EXPECT_EQ(Servers().MediaLog().find("too large"), string::npos) << "logs the whole address";
}

TEST(ServersUpload, LogsHoldNoSignature) {
    const string path = "/upload/42/bob/logged.log";
    const string target = UploadTarget(Servers().App(), path);
    EXPECT_EQ(Http("PUT", target, string(200000, 'x')).status, 201);
    EXPECT_EQ(Http("GET", target).status, 403);
    EXPECT_EQ(Http("PUT", target + "&user=bob", "x").status, 403);
    const string log = Slurp(Servers().Directory() + "/logs/http.log");
    EXPECT_NE(log.find(path), string::npos);
    EXPECT_EQ(log.find("sig="), string::npos) << log;
    EXPECT_EQ(Servers().MediaLog().find("sig="), string::npos) << Servers().MediaLog();
}

TEST(ServersPages, StatisticsAnswer) {
    EXPECT_NE(Servers().Statistics().find("<name>live</name>"), string::npos);
}

TEST(ServersPages, HealthAnswersEverybody) {
    EXPECT_EQ(Http("GET", "/health").body, "ok\n");
    EXPECT_EQ(Http("GET", "/health", "", "", "127.0.0.2").status, 200);
}

TEST(ServersPages, StatisticsControlAndChecksAnswerThisMachineAlone) {
    for (const string path : {"/stat", "/control/drop/publisher?app=live&name=42_x",
                              "/auth/publish?name=42_x", "/auth/play?name=42_x"}) {
        EXPECT_EQ(Http("GET", path, "", "", "127.0.0.2").status, 403) << path;
    }
    EXPECT_EQ(Http("GET", "/stat").status, 200);
}

TEST(ServersPages, InternalChecksAndFilesAreNotServed) {
    for (const string path : {"/auth/hls", "/auth/upload", "/keys/42", "/files/upload/42/bob/a.log",
                              "/auth.js", "/servers.env", "/logs/error.log", "/"}) {
        EXPECT_EQ(Http("GET", path).status, 404) << path;
    }
}

}  // namespace
}  // namespace livetest
