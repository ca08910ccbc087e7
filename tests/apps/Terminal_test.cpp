// What people see on a terminal, and what they do not see elsewhere: colours and the line that
// is always current.
#include <signal.h>

#include "AppFixture.h"

namespace apptest {

namespace {

const std::string kGreen = "\x1b[32m";
const std::string kYellow = "\x1b[33m";
const std::string kRed = "\x1b[31m";
const std::string kPlain = "\x1b[0m";

}  // namespace

class TerminalTest : public AppTest {
protected:
    std::unique_ptr<AppProcess> OnTerminal(
        std::vector<std::string> words, const std::string& fake,
        std::map<std::string, std::string> variables = {}) const {
        words.insert(words.end(), {"--config", Path("servers.env")});
        variables["VAXO_FAKE"] = fake;
        variables.insert({"TERM", "xterm"});
        return StartPlain(words, variables, {true, ""});
    }
};

TEST_F(TerminalTest, LiveIsGreenWarningsAreYellowAndErrorsRed) {
    const auto live = OnTerminal({"publish", "--duration", "0", "--window"}, "");
    EXPECT_EQ(live->End(), 0) << live->Error();
    EXPECT_TRUE(Contains(live->Error(), kGreen + "publishing tester: live" + kPlain));
    EXPECT_TRUE(Contains(live->Error(), kYellow + "there is no screen")) << live->Error();
    EXPECT_TRUE(Contains(live->Error(), "publishing: " + kGreen + "live" + kPlain + ", 15.0 fps"))
        << live->Error();
    const auto wrong = OnTerminal({"list"}, "entry=2");
    EXPECT_EQ(wrong->End(), 3);
    EXPECT_TRUE(Contains(wrong->Error(), kRed + "vaxolive: cannot enter")) << wrong->Error();
}

TEST_F(TerminalTest, NothingIsColouredWhereItIsNotWanted) {
    typedef std::map<std::string, std::string> Variables;
    for (const Variables& variables :
         {Variables{{"NO_COLOR", "1"}}, Variables{{"TERM", "dumb"}}, Variables{{"TERM", ""}}}) {
        const auto app = OnTerminal({"publish"}, "publish=3", variables);
        EXPECT_EQ(app->End(), 4);
        EXPECT_FALSE(Contains(app->Error(), "\x1b[3")) << app->Error();
    }
    const auto never = OnTerminal({"list", "--color", "never"}, "entry=2");
    EXPECT_EQ(never->End(), 3);
    EXPECT_FALSE(Contains(never->Error(), "\x1b[3")) << never->Error();
    const auto unknown = OnTerminal({"list", "--color=never", "--nothing"}, "");
    EXPECT_EQ(unknown->End(), 2);
    EXPECT_FALSE(Contains(unknown->Error(), "\x1b")) << unknown->Error();
}

TEST_F(TerminalTest, PipesHaveColoursOnlyWhenTheyAreAskedFor) {
    const auto pipe = Start({"publish"}, "publish=3");
    EXPECT_EQ(pipe->End(), 4);
    EXPECT_FALSE(Contains(pipe->Error(), "\x1b")) << pipe->Error();
    const auto always = Start({"publish", "--color", "always"}, "publish=3");
    EXPECT_EQ(always->End(), 4);
    EXPECT_TRUE(Contains(always->Error(), kRed + "vaxolive: cannot publish")) << always->Error();
}

TEST_F(TerminalTest, WaitingForTheChannelIsShownUntilItIsOver) {
    const auto app = OnTerminal({"list"}, "entry=late;streams=a");
    EXPECT_TRUE(app->AwaitError("\r\x1b[Kentering the channel, 0:0")) << app->Error();
    LetIn();
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(app->Output(), "a  \"say")) << app->Output();
}

TEST_F(TerminalTest, WaitingForStreamPublishAndPlayIsShown) {
    const std::vector<std::vector<std::string>> phases = {
        {"play", "", "waiting for a stream, 0:0"},
        {"publish", "publish=late", "waiting for the publish to begin, 0:0"},
        {"play", "streams=a;play=late", "waiting for the play to begin, 0:0"}};
    for (const auto& phase : phases) {
        const auto app = OnTerminal({phase[0]}, phase[1]);
        EXPECT_TRUE(app->AwaitError(phase[2])) << app->Error();
        app->Signal(SIGINT);
        EXPECT_TRUE(app->AwaitError("leaving;")) << app->Error();
        LetIn();
        EXPECT_EQ(app->End(), 0) << app->Error();
        std::filesystem::remove(Path("journal.go"));
    }
}

TEST_F(TerminalTest, UploadShowsHowMuchAndForHowLong) {
    const auto app = OnTerminal({"upload-log", "--log", Path("app.log")}, "upload=never");
    EXPECT_TRUE(app->AwaitError("uploading the log, ")) << app->Error();
    EXPECT_TRUE(app->AwaitError(" bytes, 0:0")) << app->Error();
    app->Signal(SIGINT);
    EXPECT_EQ(app->End(), 7) << app->Error();
}

TEST_F(TerminalTest, RunWithADurationShowsWhatIsLeft) {
    const auto limited = OnTerminal({"publish", "--duration", "3000"}, "");
    EXPECT_TRUE(limited->AwaitError("0:00, 50:00 left | online 2 of 3")) << limited->Error();
    const auto endless = OnTerminal({"publish"}, "");
    EXPECT_TRUE(endless->AwaitError("\r\x1b[K0:00 | online 2 of 3")) << endless->Error();
}

TEST_F(TerminalTest, PipesHaveNeitherProgressNorClock) {
    const auto app = Start({"play", "--timeout", "1"});
    EXPECT_EQ(app->End(), 5);
    EXPECT_FALSE(Contains(app->Error(), "waiting")) << app->Error();
    const auto live = Start({"publish", "--duration", "0"});
    EXPECT_EQ(live->End(), 0);
    EXPECT_TRUE(Contains(live->Error(), "\nonline 2 of 3 | publishing: live, 15.0 fps"))
        << live->Error();
}

TEST_F(TerminalTest, QuietTerminalStaysEmpty) {
    const auto app = OnTerminal({"publish", "--duration", "0", "--quiet"}, "");
    EXPECT_EQ(app->End(), 0);
    EXPECT_EQ(app->Error(), "");
}

}  // namespace apptest
