// The manual, the completion and the tables that are made from the command line's own
// definitions.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include "Arguments.h"
#include "CommandLine.h"
#include "Completion.h"
#include "Examples.h"
#include "JsonTexts.h"
#include "ManPage.h"
#include "Text.h"

namespace vaxoapp {

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The file of this process with this content.
std::string Saved(const std::string& name, const std::string& content) {
    const auto path =
        std::filesystem::temp_directory_path() / ("vaxopages" + std::to_string(::getpid()) + name);
    std::ofstream(path) << content;
    return path.string();
}

// What a shell command prints, its errors too.
std::string Printed(const std::string& command) {
    const auto close = [](std::FILE* file) { ::pclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(
        ::popen((command + " 2>&1").c_str(), "r"), close);
    std::string all;
    for (int letter = std::fgetc(pipe.get()); letter != EOF; letter = std::fgetc(pipe.get())) {
        all += static_cast<char>(letter);
    }
    return all;
}

}  // namespace

TEST(ExamplesTest, EveryExampleIsUnderstood) {
    std::set<std::string> commands;
    for (const Example& example : Examples()) {
        CommandLine line;
        const std::vector<const CLI::App*> known = CommandsOf(line.App());
        if (std::none_of(known.begin(), known.end(), [&](const CLI::App* command) {
                return command->get_name() == example.command;
            })) {
            EXPECT_STREQ(example.command, "trace");
            continue;
        }
        std::vector<std::string> words = Words(example.Line());
        std::reverse(words.begin(), words.end());  // as CLI11 takes them
        words.pop_back();
        EXPECT_NO_THROW(line.App().parse(words)) << example.Line();
        commands.insert(example.command);
    }
    CommandLine line;
    EXPECT_EQ(commands.size(), CommandsOf(line.App()).size()) << "a command has no example";
}

TEST(NearestTest, GuessesSlipsAndNothingElse) {
    const std::vector<std::string> words = {"--channel", "--user", "--user-name", "--log"};
    EXPECT_EQ(Nearest("--chanel", words), "--channel");
    EXPECT_EQ(Nearest("--channle", words), "--channel");
    EXPECT_EQ(Nearest("--usr", words), "--user");
    EXPECT_EQ(Nearest("--user-nme", words), "--user-name");
    EXPECT_EQ(Nearest("--key", words), "");
    EXPECT_EQ(Nearest("", words), "");
    EXPECT_EQ(Nearest(std::string(100000, 'x'), words), "");
}

TEST(ManPageTest, HasEverySectionCommandOptionAndExitCode) {
    CommandLine line;
    const std::string page = ManPage(line.App());
    for (const std::string section : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "COMMANDS",
                                      "EXIT STATUS", "ENVIRONMENT", "FILES", "JSON", "SEE ALSO"}) {
        EXPECT_TRUE(Contains(page, "\n.SH \"" + section + "\"\n")) << section;
    }
    const auto marked = [](const std::string& text) {
        std::string all;
        for (const char letter : text) {
            all += letter == '-' ? std::string("\\-") : std::string(1, letter);
        }
        return all;
    };
    for (const CLI::App* const command : CommandsOf(line.App())) {
        EXPECT_TRUE(Contains(page, ".SS \"vaxolive " + marked(command->get_name()) + "\"\n"));
        for (const CLI::Option* const option : NamedOptions(*command)) {
            for (const std::string& name : NamesOf(*option)) {
                EXPECT_TRUE(Contains(page, "\\fB" + marked(name) + "\\fR")) << name;
            }
        }
    }
    for (const ExitText& text : kExitTexts) {
        EXPECT_TRUE(Contains(page, marked(text.when))) << text.when;
    }
}

TEST(ManPageTest, HasNoWarnings) {
    if (Printed("command -v groff").empty()) {
        GTEST_SKIP() << "there is no groff to ask";
    }
    CommandLine line;
    const std::string path = Saved("page.1", ManPage(line.App()));
    EXPECT_EQ(Printed("groff -man -Tutf8 -ww -z " + path), "");
    const std::string read = Printed("groff -man -Tascii -P-cbou " + path);
    EXPECT_TRUE(Contains(read, "vaxolive upload-log [options]")) << read;
    std::filesystem::remove(path);
}

TEST(JsonTextsTest, EveryFieldIsExplainedAndUsed) {
    std::set<std::string> used = {"ms", "event", "latency"};
    for (const auto* const table : {&ResultTexts(), &EventTexts()}) {
        for (const JsonKind& kind : *table) {
            const std::vector<std::string> words = Words(kind.fields);
            used.insert(words.begin(), words.end());
        }
    }
    std::set<std::string> explained;
    for (const FieldText& field : FieldTexts()) {
        EXPECT_TRUE(explained.insert(field.name).second) << field.name;
    }
    EXPECT_EQ(used, explained);
}

// ---- completion -----------------------------------------------------------------

class CompletionTest : public testing::Test {
protected:
    void SetUp() override {
        CommandLine line;
        m_script = Saved("script.bash", BashCompletion(line.App()));
        m_folder = Saved("folder", "") + ".d";
        std::filesystem::create_directory(m_folder);
        std::ofstream(m_folder + "/my film.mp4") << "";
        std::ofstream(m_folder + "/servers.env") << "";
    }
    void TearDown() override {
        std::filesystem::remove(m_script);
        std::filesystem::remove(m_folder.substr(0, m_folder.size() - 2));
        std::filesystem::remove_all(m_folder);
    }

    // What bash offers for the last of the words, as it splits them, between "|".
    std::string Offered(const std::string& words) const {
        const std::string test =
            Saved("test.bash", "set -u\nsource " + m_script + "\ncd " + m_folder +
                                   "\nCOMP_WORDS=(vaxolive " + words +
                                   ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                   "$(complete -p vaxolive | sed 's/.*-F \\([^ ]*\\) .*/\\1/')\n"
                                   "printf '|%s' \"${COMPREPLY[@]}\"\necho '|'\n");
        const std::string printed = Printed("bash --norc --noprofile " + test);
        std::filesystem::remove(test);
        return printed;
    }

    std::string m_script;
    std::string m_folder;
};

TEST_F(CompletionTest, CommandsAreOfferedFirst) {
    EXPECT_EQ(Offered("p"), "|publish|play|\n");
    EXPECT_EQ(Offered("--color never li"), "|list|\n");
    EXPECT_EQ(Offered("--vers"), "|--version|\n");
    CommandLine line;
    for (const CLI::App* const command : CommandsOf(line.App())) {
        EXPECT_TRUE(Contains(Offered("''"), "|" + command->get_name() + "|"));
    }
}

TEST_F(CompletionTest, OptionsAreThoseOfTheCommand) {
    EXPECT_EQ(Offered("publish --no"), "|--no-mic|--no-cam|\n");
    EXPECT_EQ(Offered("list --fo"), "|--follow|\n");
    EXPECT_EQ(Offered("devices --fo"), "||\n");
    EXPECT_EQ(Offered("list --channel publish --fo"), "|--follow|\n");
    EXPECT_EQ(Offered("list --json --col"), "|--color|\n");
}

TEST_F(CompletionTest, WordsOfAFixedListAreOffered) {
    EXPECT_EQ(Offered("list --log-level ''"), "|grievous|error|warning|generic|debug|\n");
    EXPECT_EQ(Offered("list --log-level = d"), "|debug|\n");
    EXPECT_EQ(Offered("list --log-level ="), "|grievous|error|warning|generic|debug|\n");
    EXPECT_EQ(Offered("publish --rotation 1"), "|180|\n");
    EXPECT_EQ(Offered("list --color a"), "|auto|always|\n");
    EXPECT_EQ(Offered("completion b"), "|bash|\n");
}

TEST_F(CompletionTest, FilesAreOfferedWhereFilesAreTaken) {
    EXPECT_EQ(Offered("publish --video m"), "|my film.mp4|\n");
    EXPECT_EQ(Offered("list --config = s"), "|servers.env|\n");
    EXPECT_EQ(Offered("compare my"), "|my film.mp4|\n");
    EXPECT_EQ(Offered("compare a.png se"), "|servers.env|\n");
    EXPECT_EQ(Offered("compare a.png b.png se"), "||\n");
    EXPECT_EQ(Offered("list --channel s"), "||\n");
    EXPECT_EQ(Offered("publish --title ''"), "||\n");
}

}  // namespace vaxoapp
