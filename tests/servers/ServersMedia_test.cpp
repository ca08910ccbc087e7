// Who may publish and watch: RTMP and HLS.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include "ServerTools.h"

namespace livetest {
namespace {

using std::string;

LocalServers& Servers() {
    return LocalServers::Shared();
}

string MediaAddress(const string& action, const Application& app, const string& name,
                    long long seconds = 600) {
    return name + "?" + VaxoSignQuery(SignerOf(app), action, name, InSeconds(seconds));
}

string HlsPath(const Application& app, const string& tokenName, const string& pathName,
               long long seconds = 600, const string& action = "play") {
    return "/hls/" + VaxoSignToken(SignerOf(app), action, tokenName, InSeconds(seconds)) + "/" +
           pathName;
}

Application WithWrongKey(Application app) {
    app.key[0] = static_cast<char>(app.key[0] ^ 1);
    return app;
}

string Replaced(string text, const string& from, const string& to) {
    const auto at = text.find(from);
    return at == string::npos ? text : text.replace(at, from.size(), to);
}

// Addresses that must not be taken, and the reason that the log then gives.
struct Refusal {
    const char* what;
    std::function<string(const string& action)> address;
    const char* reason;
};

const Refusal kRefusals[] = {
    {"unsigned", [](const string&) { return string("42_shown"); }, "unsigned"},
    {"expired",
     [](const string& action) { return MediaAddress(action, Servers().App(), "42_shown", -1); },
     "expired"},
    {"too far ahead",
     [](const string& action) { return MediaAddress(action, Servers().App(), "42_shown", 3700); },
     "too far ahead"},
    {"another application's name",
     [](const string& action) { return MediaAddress(action, Servers().OtherApp(), "42_shown"); },
     "a name of another application"},
    {"a name that only begins like the application's",
     [](const string& action) { return MediaAddress(action, Servers().App(), "421_shown"); },
     "a name of another application"},
    {"wrong key",
     [](const string& action) {
         return MediaAddress(action, WithWrongKey(Servers().App()), "42_shown");
     },
     "wrong signature"},
    {"another user than the signed one",
     [](const string& action) {
         return Replaced(MediaAddress(action, Servers().App(), "42_shown"), "user=bob", "user=eve");
     },
     "wrong signature"},
    {"signed for the other action",
     [](const string& action) {
         return MediaAddress(action == "play" ? "publish" : "play", Servers().App(), "42_shown");
     },
     "wrong signature"},
    {"signed for another name",
     [](const string& action) {
         return Replaced(MediaAddress(action, Servers().App(), "42_mine"), "42_mine", "42_shown");
     },
     "wrong signature"},
    {"an argument twice",
     [](const string& action) {
         return MediaAddress(action, Servers().App(), "42_shown") + "&user=bob";
     },
     "arguments twice"},
    {"a second name behind the first",
     [](const string& action) {
         return MediaAddress(action, Servers().App(), "42_mine") + "&name=42_shown";
     },
     "arguments twice"},
    {"an argument in another writing",
     [](const string& action) {
         return MediaAddress(action, Servers().App(), "42_shown") + "&n%61me=42_mine";
     },
     "arguments twice"},
    {"an unknown application",
     [](const string& action) {
         Application app = Servers().App();
         app.id = 44;
         return MediaAddress(action, app, "44_shown");
     },
     "no key for application 44"},
};

// Expects `command` to fail, and the log to say why.
void ExpectRefused(const std::vector<string>& command, const string& action,
                   const Refusal& refusal) {
    SCOPED_TRACE(refusal.what);
    const std::size_t before = Servers().MediaLog().size();
    EXPECT_GT(RunProgram(command).status, 0);
    const string said = Servers().MediaLog().substr(before);
    EXPECT_NE(said.find(action + " refused: "), string::npos) << said;
    EXPECT_NE(said.find(refusal.reason), string::npos) << said;
    EXPECT_EQ(said.find("sig="), string::npos) << said;
}

// One stream for all tests, "42_shown".
class ServersMedia : public testing::Test {
public:
    static void SetUpTestSuite() {
        s_publisher = std::make_unique<Program>(
            PublishCommand(MediaAddress("publish", Servers().App(), "42_shown")));
        ASSERT_TRUE(Eventually([] { return IsPublished("42_shown"); })) << s_publisher->Output();
        const string playlist = HlsPath(Servers().App(), "42_shown", "42_shown/index.m3u8");
        ASSERT_TRUE(Eventually([&] { return Http("GET", playlist).status == 200; }))
            << Servers().MediaLog();
    }
    static void TearDownTestSuite() { s_publisher.reset(); }

    static std::unique_ptr<Program> s_publisher;
};

std::unique_ptr<Program> ServersMedia::s_publisher;

TEST_F(ServersMedia, SignedPublishIsReadOverRtmp) {
    const Outcome probe =
        RunProgram(ProbeCommand(MediaAddress("play", Servers().App(), "42_shown")));
    EXPECT_EQ(probe.status, 0) << probe.output;
    EXPECT_NE(probe.output.find("h264"), string::npos) << probe.output;
    EXPECT_NE(probe.output.find("aac"), string::npos) << probe.output;
}

TEST_F(ServersMedia, SignedPublishIsReadOverHls) {
    const string path = HlsPath(Servers().App(), "42_shown", "42_shown/index.m3u8");
    const Outcome probe =
        RunProgram({"ffprobe", "-loglevel", "error", "-show_entries", "stream=codec_name", "-of",
                    "csv=p=0", Servers().HttpURL() + path});
    EXPECT_EQ(probe.status, 0) << probe.output;
    EXPECT_NE(probe.output.find("h264"), string::npos) << probe.output;
    EXPECT_NE(probe.output.find("aac"), string::npos) << probe.output;
}

TEST_F(ServersMedia, TheReasonOfARefusalIsToldToWhomeverSigned) {
    const auto why = [](const string& action, const string& address) {
        return Http("GET", "/why?action=" + action + "&name=" + Replaced(address, "?", "&"));
    };
    for (const char* const action : {"publish", "play"}) {
        SCOPED_TRACE(action);
        EXPECT_EQ(why(action, MediaAddress(action, Servers().App(), "42_shown")).body, "good\n");
        for (const Refusal& refusal : kRefusals) {
            const HttpAnswer answer = why(action, refusal.address(action));
            const string reason = refusal.reason;
            if (answer.status == 200) {
                EXPECT_EQ(answer.body, reason == "expired" ? "expired\n" : "refused\n")
                    << refusal.what;
            } else {
                EXPECT_EQ(answer.status, 400) << refusal.what;
                EXPECT_TRUE(reason == "unsigned" || reason == "arguments twice") << refusal.what;
            }
        }
    }
    EXPECT_EQ(why("upload", MediaAddress("upload", Servers().App(), "42_shown")).status, 400);
}

TEST_F(ServersMedia, PlaylistIsNotCached) {
    const HttpAnswer answer =
        Http("GET", HlsPath(Servers().App(), "42_shown", "42_shown/index.m3u8"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.headers.find("Cache-Control: no-cache"), string::npos) << answer.headers;
    EXPECT_NE(answer.headers.find("application/vnd.apple.mpegurl"), string::npos);
    EXPECT_EQ(answer.body.compare(0, 7, "#EXTM3U"), 0) << answer.body;
}

TEST_F(ServersMedia, PublishIsRefusedForEachReason) {
    for (const Refusal& refusal : kRefusals) {
        ExpectRefused(PublishCommand(refusal.address("publish")), "publish", refusal);
    }
}

TEST_F(ServersMedia, PlayIsRefusedForEachReason) {
    for (const Refusal& refusal : kRefusals) {
        ExpectRefused(ProbeCommand(refusal.address("play")), "play", refusal);
    }
}

TEST_F(ServersMedia, NoStreamNameLeadsOutOfTheDirectory) {
    for (const string name : {"42_../../evil", "42_/../../evil", "../42_evil", "42_..", "42_a/b"}) {
        ExpectRefused(PublishCommand(MediaAddress("publish", Servers().App(), name)), "publish",
                      {"traversal", nullptr, "malformed name"});
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Servers().Directory())) {
        EXPECT_EQ(entry.path().string().find("evil"), string::npos) << entry.path();
    }
}

// The rtmp module keeps 255 characters of a name with its query.
TEST_F(ServersMedia, NameAndQueryOf255CharactersAreTaken) {
    const string name = VaxoMediaName(42, string(90, 'n'));
    const auto address = [&name](std::size_t length) {
        return name + "?" +
               VaxoSignQuery(SignerOf(Servers().App(), string(length, 'u')), "publish", name,
                             InSeconds(600));
    };
    const std::size_t room = 255 - address(0).size() + 1;  // no user is written "~"
    ASSERT_EQ(address(room).size(), 255U);
    Program publisher(PublishCommand(address(room)));
    EXPECT_TRUE(Eventually([&] { return IsPublished(name); }))
        << publisher.Output() << Servers().MediaLog();
    publisher.End();
    ExpectRefused(PublishCommand(address(room + 1)), "publish", {"256", nullptr, "malformed"});
}

TEST_F(ServersMedia, SecondPublisherOfANameChangesNothing) {
    const string address = MediaAddress("publish", Servers().App(), "42_shown");
    EXPECT_GT(RunProgram(PublishCommand(address)).status, 0);
    EXPECT_TRUE(IsPublished("42_shown"));
    const auto sequence = [] {
        const string key = "#EXT-X-MEDIA-SEQUENCE:";
        const string text =
            Http("GET", HlsPath(Servers().App(), "42_shown", "42_shown/index.m3u8")).body;
        const auto at = text.find(key);
        return at == string::npos ? -1 : std::atoi(text.c_str() + at + key.size());
    };
    const int before = sequence();
    EXPECT_GE(before, 0);
    EXPECT_TRUE(Eventually([&] { return sequence() > before; })) << before;
}

TEST_F(ServersMedia, PublisherThatFallsSilentStopsExisting) {
    Program publisher(PublishCommand(MediaAddress("publish", Servers().App(), "42_silent")));
    // It has sent something: one that never does keeps its name.
    ASSERT_TRUE(Eventually([] {
        return Http("GET", HlsPath(Servers().App(), "42_silent", "42_silent/index.m3u8")).status ==
               200;
    })) << publisher.Output();
    publisher.Freeze();
    EXPECT_TRUE(Eventually([] { return !IsPublished("42_silent"); }));
}

TEST_F(ServersMedia, SafeNamesOfStrangeTextAreTaken) {
    const string name = VaxoMediaName(42, "\xC3\xA9t\xC3\xA9 / .. ?&=");
    const string query = VaxoSignQuery(SignerOf(Servers().App(), "J\xC3\xBCrgen & co"), "publish",
                                       name, InSeconds(600));
    Program publisher(PublishCommand(name + "?" + query));
    EXPECT_TRUE(Eventually([&] { return IsPublished(name); }))
        << publisher.Output() << Servers().MediaLog();
}

TEST_F(ServersMedia, HlsIsRefusedForEachReason) {
    const Application app = Servers().App();
    const string good = HlsPath(app, "42_shown", "42_shown/index.m3u8");
    ASSERT_EQ(Http("GET", good).status, 200);
    const string file = "42_shown/index.m3u8";
    const string refused[] = {
        HlsPath(app, "42_other", file),
        HlsPath(Servers().OtherApp(), "42_shown", file),
        HlsPath(WithWrongKey(app), "42_shown", file),
        HlsPath(app, "42_shown", file, -1),
        HlsPath(app, "42_shown", file, 3700),
        HlsPath(app, "42_shown", file, 600, "publish"),
        Replaced(good, ".bob.", ".eve."),
        Replaced(good, "/42_shown", ".x/42_shown"),
    };
    for (const string& path : refused) {
        EXPECT_EQ(Http("GET", path).status, 403) << path;
    }
}

TEST_F(ServersMedia, HlsPathsLeadNowhereElse) {
    ASSERT_NE(Slurp(Servers().Directory() + "/keys/42"), "");
    for (const string file :
         {"42_shown/../../keys/42", "42_shown/..%2f..%2fkeys%2f42", "../keys/42", "%2e%2e/keys/42",
          "42_shown/%2e%2e/42_shown/index.m3u8", "42_shown//index.m3u8", "42_shown/./index.m3u8",
          "42_shown/%69ndex.m3u8", "42_shown/", "42_shown", "", "42_shown/index.m3u8%00.ts",
          "42_shown/index.m3u8/x", "../../keys/42?x=/index.m3u8"}) {
        const HttpAnswer answer = Http("GET", HlsPath(Servers().App(), "42_shown", file));
        EXPECT_GE(answer.status, 400) << file;
        EXPECT_LT(answer.status, 500) << file;
        EXPECT_EQ(answer.body.find(Hex(Servers().App().key)), string::npos) << file;
    }
    EXPECT_EQ(Http("GET", "/hls/42_shown/index.m3u8").status, 404);
}

TEST_F(ServersMedia, LogsHoldNoSignature) {
    const Application app = Servers().App();
    const string play = VaxoSignToken(SignerOf(app), "play", "42_shown", InSeconds(600));
    const string signature = play.substr(play.rfind('.') + 1);
    EXPECT_EQ(Http("GET", "/hls/" + play + "/42_shown/index.m3u8").status, 200);
    EXPECT_EQ(Http("GET", "/hls/" + play + "/42_shown/999999.ts").status, 404);
    EXPECT_EQ(Http("GET", "/hls/" + play).status, 404);
    EXPECT_EQ(Http("GET", "/hls/" + play + "/../../x").status, 404);
    EXPECT_EQ(Http("GET", "//hls//" + play + "//42_shown/index.m3u8").status, 403);
    EXPECT_EQ(RunProgram(ProbeCommand(MediaAddress("play", app, "42_shown"))).status, 0);
    EXPECT_GT(RunProgram(ProbeCommand(MediaAddress("play", app, "42_absent"))).status, 0);
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(Servers().Directory() + "/logs")) {
        const string text = Slurp(entry.path().string());
        EXPECT_EQ(text.find("sig="), string::npos) << entry.path();
        EXPECT_EQ(text.find(signature), string::npos) << entry.path();
    }
    EXPECT_NE(Slurp(Servers().Directory() + "/logs/http.log").find("/hls/-/42_shown/"),
              string::npos);
    EXPECT_NE(Slurp(Servers().Directory() + "/logs/rtmp.log").find("42_shown"), string::npos);
}

}  // namespace
}  // namespace livetest
