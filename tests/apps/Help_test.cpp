// What the command line says about itself, and about arguments that it does not understand.
#include "AppFixture.h"
#include "Examples.h"
#include "ExitCode.h"

namespace apptest {

namespace {

const std::vector<std::string> kCommands = {
    "publish", "play", "list", "devices", "upload-log", "compare", "trace", "completion", "man"};

}  // namespace

class HelpTest : public AppTest {
protected:
    std::string OutputOf(const std::vector<std::string>& words) const {
        const auto app = StartPlain(words, {});
        EXPECT_EQ(app->End(), 0) << app->Error();
        EXPECT_EQ(app->Error(), "");
        return app->Output();
    }
    // Exit status 2, and what is said about it.
    std::string ComplaintAbout(const std::vector<std::string>& words) const {
        const auto app = StartPlain(words, {});
        EXPECT_EQ(app->End(), 2) << testing::PrintToString(words);
        EXPECT_EQ(app->Output(), "");
        EXPECT_FALSE(Contains(app->Error(), m_digits.substr(0, 6))) << app->Error();
        return app->Error();
    }
};

TEST_F(HelpTest, EveryCommandHasExamples) {
    for (const std::string& command : kCommands) {
        const std::string help = OutputOf({command, "--help"});
        EXPECT_TRUE(Contains(help, "\nExamples:\n")) << help;
        EXPECT_TRUE(Contains(help, "\n    vaxolive " + command)) << help;
        EXPECT_TRUE(Contains(help, "Usage: vaxolive " + command + " [OPTIONS]")) << help;
    }
}

TEST_F(HelpTest, HelpListsEveryCommandAndExitCode) {
    const std::string help = OutputOf({"--help"});
    for (const std::string& command : kCommands) {
        EXPECT_TRUE(Contains(help, "\n  " + command + " ")) << help;
    }
    for (const vaxoapp::ExitText& text : vaxoapp::kExitTexts) {
        EXPECT_TRUE(Contains(help, "\n  " + std::to_string(text.code) + "  " + text.when)) << help;
    }
}

TEST_F(HelpTest, OptionsFitATerminalOfEightyColumns) {
    std::istringstream lines(OutputOf({"publish", "--help"}));
    bool isExample = false;
    for (std::string line; std::getline(lines, line);) {
        isExample = isExample || line == "Examples:";
        EXPECT_TRUE(isExample || line.size() <= 80) << line;
    }
    EXPECT_TRUE(isExample);
}

TEST_F(HelpTest, VersionIsTheProjects) {
    EXPECT_EQ(OutputOf({"--version"}), "vaxolive " VAXO_PROJECT_VERSION "\n");
    EXPECT_EQ(OutputOf({"list", "--version"}), "vaxolive " VAXO_PROJECT_VERSION "\n");
}

TEST_F(HelpTest, CommandThatIsWrittenWrongIsGuessed) {
    for (const std::string word : {"lst", "lits", "List", "liste"}) {
        EXPECT_EQ(ComplaintAbout({word, "--json"}),
                  "vaxolive: no such command; did you mean list? See --help\n");
    }
    EXPECT_TRUE(Contains(ComplaintAbout({"uplaod-log"}), "did you mean upload-log?"));
    EXPECT_TRUE(Contains(ComplaintAbout({m_digits}), "no such command; there are publish, play"));
    EXPECT_TRUE(Contains(ComplaintAbout({}), "no command; there are publish, play"));
}

TEST_F(HelpTest, OptionThatIsWrittenWrongIsGuessed) {
    EXPECT_EQ(ComplaintAbout({"list", "--chanel", m_digits}),
              "vaxolive: not understood: --chanel; did you mean --channel? See --help\n");
    EXPECT_EQ(ComplaintAbout({"list", "--chanel=" + m_digits, "--folow"}),
              "vaxolive: not understood: --chanel --folow; did you mean --channel, --follow? See "
              "--help\n");
    EXPECT_TRUE(Contains(ComplaintAbout({"devices", "--colour", "never"}), "mean --color?"));
    EXPECT_EQ(ComplaintAbout({"compare", "--limt", "30"}),
              "vaxolive: not understood: --limt; did you mean --limit? See --help\n");
    EXPECT_FALSE(Contains(ComplaintAbout({"list", "--elsewhere"}), "mean"));
}

TEST_F(HelpTest, NoComplaintShowsAValue) {
    EXPECT_EQ(ComplaintAbout({"list", "-k" + m_digits}),
              "vaxolive: not understood: -k; see --help\n");
    EXPECT_TRUE(Contains(ComplaintAbout({"list", "--key" + m_digits}), "not understood: --;"));
    EXPECT_TRUE(Contains(ComplaintAbout({"list", m_digits}), "an argument too many"));
    for (const std::string option : {"--timeout", "--duration", "--log-level", "--color"}) {
        EXPECT_TRUE(
            Contains(ComplaintAbout({"list", option, m_digits + "x"}), option + ": takes "));
    }
    for (const std::string option : {"--fps", "--size", "--bitrate", "--rotation", "--filter",
                                     "--beautify", "--preview-window", "--snapshot-after"}) {
        EXPECT_TRUE(Contains(ComplaintAbout({"publish", option, m_digits + "x"}), option + ": "));
    }
    ComplaintAbout({"publish", "--fps", "1.5"});
    EXPECT_TRUE(Contains(ComplaintAbout({"list", "--json=x" + m_digits}), "--json: takes no"));
    ComplaintAbout({"completion", m_digits});
}

TEST_F(HelpTest, ResultThatCannotBeWrittenEndsWithOne) {
    const std::string program =
        (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vaxolive_scripted")
            .string();
    const std::string error = Path("error");
    const int status =
        std::system((program + " devices > /dev/full 2> " + error).c_str());  // NOLINT
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(Content("error"), "vaxolive: the standard output cannot be written\n");
}

// ---- the examples ---------------------------------------------------------------

class ExamplesTest : public AppTest {
protected:
    void SetUp() override {
        AppTest::SetUp();
        PutFile("film.mp4", "");
        const auto picture =
            Start({"publish", "--duration", "0", "--snapshot", Path("published.png")});
        ASSERT_EQ(picture->End(), 0) << picture->Error();
        std::filesystem::copy_file(Path("published.png"), Path("played.png"));
    }
};

TEST_F(ExamplesTest, EveryExampleDoesWhatItSays) {
    for (const vaxoapp::Example& example : vaxoapp::Examples()) {
        const std::string command = example.command;
        if (std::find(kCommands.begin(), kCommands.end(), command) == kCommands.end()) {
            continue;  // another test has them
        }
        std::filesystem::remove(Path("journal"));
        std::istringstream line(example.Line());
        std::vector<std::string> words;
        for (std::string word; line >> word;) {
            words.push_back(word);
        }
        words.erase(words.begin());
        const auto app =
            StartPlain(words, {{"VAXO_FAKE", "streams=show"}}, {false, m_dir.string()});
        const bool isEndless =
            command == "publish" || command == "play" || Contains(example.arguments, "--follow");
        if (isEndless && !Contains(example.arguments, "--duration 10")) {
            AwaitCall(*app, command == "publish" ? "StartPublishing"
                            : command == "play"  ? "PlayStream"
                                                 : "Enter");
            app->Signal(SIGTERM);
        }
        EXPECT_EQ(app->End(), 0) << example.Line() << "\n" << app->Error();
    }
}

}  // namespace apptest
