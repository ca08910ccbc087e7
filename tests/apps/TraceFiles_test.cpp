// Logs that are not as they should be: cut, strange, endless, made of random bytes. And the
// limits.
#include <algorithm>
#include <random>

#include "TraceFixture.h"
#include "trace/ChromeTrace.h"
#include "trace/HtmlPage.h"

namespace vaxotrace {

typedef TraceTest TraceFilesTest;

TEST_F(TraceFilesTest, MissingFileAndFolderAreErrors) {
    std::string error;
    const auto take = [](const LogLine&) {};
    EXPECT_FALSE(ReadLogs({(m_dir / "none").string()}, take, m_report, error));
    EXPECT_NE(error.find("cannot read"), std::string::npos);
    EXPECT_FALSE(ReadLogs({m_dir.string()}, take, m_report, error));
}

TEST_F(TraceFilesTest, EmptyAndForeignFilesHoldNoLine) {
    Read({Put("empty", ""),
          Put("binary", std::string("\x7f"
                                    "ELF\0\0\n\xff\xfe",
                                    9)),
          Put("other", "Nov 22 10:00:00 host daemon[1]: hello\nnext\n")});
    EXPECT_EQ(m_report.lines, 0U);
    EXPECT_EQ(m_report.strangeFiles.size(), 3U);
    EXPECT_TRUE(Warns("no line of this library in"));
}

TEST_F(TraceFilesTest, EnormousLineIsPassedOver) {
    LogWriter log;
    const std::string text = log.Add(100, "PlayStream(0/a)", 0).Text();
    ReadText(text + std::string(3 * kLongestLine, 'x') + "\n" +
             LogWriter().Pop(101, "PlayStream(0/a)", 0).Text());
    EXPECT_EQ(m_report.tooLongLines, 1U);
    EXPECT_EQ(m_report.lines, 3U);
    EXPECT_TRUE(Warns("more than 64 KiB"));
    EXPECT_EQ(Named("PlayStream", "a").at(0)->fate, Fate::Running);
}

TEST_F(TraceFilesTest, LineWithoutItsEndAndOtherLineEndsCount) {
    std::string text = LogWriter().Add(100, "PlayStream(0/a)", 0).Text();
    text.pop_back();
    text.insert(text.find('\n'), "\r");
    ReadText(text);
    EXPECT_EQ(m_report.lines, 2U);
    EXPECT_EQ(m_diagnosis.processes.at(0).waiting.size(), 1U);
}

TEST_F(TraceFilesTest, LogCutAnywhereIsTold) {
    const std::string whole = Content(Committed("stuck.log"));
    for (std::size_t size = 200; size < whole.size(); size += 97) {
        m_story = Story();
        m_report = ReadReport();
        ReadText(whole.substr(0, size));
        ASSERT_GE(m_diagnosis.processes.size(), 1U) << size;
        EXPECT_EQ(m_diagnosis.processes.size(), 1U) << size;
        EXPECT_LE(m_diagnosis.commands, 17U) << size;
    }
}

TEST_F(TraceFilesTest, LimitsHoldAndAreTold) {
    StoryLimits limits;
    limits.commands = 10;
    limits.waiting = 5;
    limits.events = 7;
    limits.threads = 4;
    limits.processes = 3;
    m_story = Story(limits);
    LogWriter log;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "PlayStream(0/s" + std::to_string(i) + ")";
        log.Add(100 + i % 9, name, i % 7).Line(300, "warning", 2, "Play");
        if (i % 3 == 0) {
            log.Pop(400 + i % 5, name, i % 7).RanAndHolds(400 + i % 5, name);
        }
    }
    ReadText(log.Text());
    EXPECT_LE(m_story.Commands().size(), 10U);
    EXPECT_LE(m_story.Events().size(), 7U);
    EXPECT_LE(m_story.Processes().size(), 3U);
    for (const Process& process : m_story.Processes()) {
        EXPECT_LE(process.waiting.size(), 5U);
    }
    EXPECT_GT(m_story.CommandsLeftOut(), 100U);
    EXPECT_TRUE(Warns("commands left out"));
    EXPECT_TRUE(Warns("events left out"));
}

// What must hold of every story, whatever was read.
void ExpectSound(const Story& story, const Diagnosis& diagnosis) {
    for (const auto& [id, command] : story.Commands()) {
        EXPECT_LT(command.process, story.Processes().size());
        EXPECT_EQ(id, command.id);
        EXPECT_EQ(command.IsOver(), command.ended != kNoTime);
    }
    for (const Process& process : story.Processes()) {
        for (const std::uint64_t id : process.waiting) {
            const Command* const command = story.Find(id);
            ASSERT_NE(command, nullptr);
            EXPECT_EQ(command->fate, Fate::Waiting);
        }
    }
    EXPECT_FALSE(ChromeTrace(story, diagnosis).empty());
    EXPECT_FALSE(HtmlPage(story, diagnosis).empty());
    EXPECT_EQ(JsonDiagnosis(diagnosis).back(), '}');
    SayDiagnosis(diagnosis);
}

std::string Mutated(const std::string& text, std::mt19937& dice) {
    std::string out = text;
    const auto pick = [&](std::size_t most) { return dice() % most; };
    for (std::size_t i = pick(12) + 1; i > 0; --i) {
        const std::size_t at = pick(out.size());
        const std::size_t size = std::min(out.size() - at, pick(400) + 1);
        switch (pick(6)) {
            case 0:
                out[at] = static_cast<char>(dice());
                break;
            case 1:
                out.erase(at, std::min(size, out.size() / 4));
                break;
            case 2:
                out.insert(at, out.substr(pick(out.size()), size));
                break;
            case 3: {  // lines change places
                const std::size_t line = out.find('\n', at);
                const std::string moved = out.substr(at, size);
                out.insert(line == std::string::npos ? 0 : line + 1, moved);
                break;
            }
            case 4:
                out[at] = static_cast<char>('0' + pick(10));
                break;
            default:
                std::reverse(out.begin() + static_cast<std::ptrdiff_t>(at),
                             out.begin() + static_cast<std::ptrdiff_t>(at + size % 5));
        }
    }
    return out;
}

TEST_F(TraceFilesTest, MutatedLogsAreReadToTheirEnd) {
    const std::string normal = Content(Committed("normal.log"));
    const std::string stuck = Content(Committed("stuck.log"));
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 dice(seed);
        m_story = Story();
        m_report = ReadReport();
        ReadText(Mutated(seed % 2 == 0 ? normal : stuck, dice));
        ExpectSound(m_story, m_diagnosis);
    }
}

TEST_F(TraceFilesTest, ShuffledLinesAreReadToTheirEnd) {
    std::istringstream stream(Content(Committed("stuck.log")) + Content(Committed("normal.log")));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line + "\n");
    }
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::shuffle(lines.begin(), lines.end(), std::mt19937(seed));
        std::string text;
        for (const std::string& line : lines) {
            text += line;
        }
        StoryLimits small;
        small.commands = seed % 2 == 0 ? 20000 : 12;
        small.threads = seed % 3 == 0 ? 4096 : 3;
        m_story = Story(small);
        m_report = ReadReport();
        ReadText(text);
        ExpectSound(m_story, m_diagnosis);
    }
}

}  // namespace vaxotrace
