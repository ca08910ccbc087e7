// The tool itself: programs from seeds and from texts, what random programs come by, and
// how a difference is made small.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kernel/live/model/Compare.h"
#include "kernel/live/model/LibraryPlayer.h"
#include "kernel/live/model/ModelPlayer.h"
#include "kernel/live/model/Program.h"

namespace {

using livemodel::Kind;
using livemodel::ModelPlayer;
using livemodel::Operation;
using livemodel::Program;
using livemodel::Step;

const std::uint64_t s_programs = 500;  // of each theme

// Until `use` has enough.
template <class Use>
void ForEachProgram(Use use) {
    for (std::uint64_t i = 0; i < s_programs; ++i) {
        for (const livemodel::Theme& theme : livemodel::Themes()) {
            if (!use(livemodel::Generate(theme.firstSeed + i))) {
                return;
            }
        }
    }
}

std::string TraceOfLibrary(const Program& program) {
    livemodel::LibraryPlayer library;
    return livemodel::Trace(program, library);
}

std::string TraceOfModel(const Program& program) {
    ModelPlayer model;
    return livemodel::Trace(program, model);
}

// What random programs make the model say: beginnings of lines, with the thread in front
// where it matters.
class Missing {
public:
    explicit Missing(std::set<std::string> beginnings) : m_missing(std::move(beginnings)) {
        ForEachProgram([this](const Program& program) {
            ModelPlayer model;
            for (const Step& step : program) {
                model.Play(step);
                Strike(model.TakeLines());
            }
            return !m_missing.empty();
        });
    }

    // Those that never came, one a line.
    std::string List() const {
        std::string list;
        for (const std::string& beginning : m_missing) {
            list += beginning + "\n";
        }
        return list;
    }

private:
    void Strike(const std::vector<livemodel::Line>& lines) {
        for (const livemodel::Line& line : lines) {
            StrikeBeginningsOf(line.text);
            StrikeBeginningsOf(std::string(1, line.thread) + " " + line.text);
        }
    }

    // Of all texts that `text` begins with, none but those just before it in the order
    // can be in the set.
    void StrikeBeginningsOf(const std::string& text) {
        auto it = m_missing.upper_bound(text);
        while (it != m_missing.begin() && (--it)->front() == text.front()) {
            if (text.compare(0, it->size(), *it) == 0) {
                it = m_missing.erase(it);
            }
        }
    }

    std::set<std::string> m_missing;
};

const char* const s_types[] = {"GetInRoom",    "LeaveRoom",   "PlayStream", "StopStream",
                               "StartPublish", "StopPublish", "SyncCmd",    ""};

}  // namespace

TEST(LiveModelTool, ASeedAlwaysGivesTheSameProgramAndNoTwoSeedsTheSame) {
    std::vector<std::string> once;
    std::vector<std::string> again;
    for (std::vector<std::string>* const all : {&once, &again}) {
        ForEachProgram([&](const Program& program) {
            all->push_back(Print(program));
            return all->size() < 1000;
        });
    }
    EXPECT_EQ(once, again);
    const std::set<std::string> different(once.begin(), once.end());
    EXPECT_GT(different.size(), 950U);  // programs of one step may be alike
}

// Every compiler and standard library gives this one. It changes when the generator does.
TEST(LiveModelTool, ASeedGivesTheProgramThatItGivesElsewhere) {
    EXPECT_EQ(Print(livemodel::Generate(284)),
              "run 2\n"
              "GetStreamList room2 room2 a 0\n"
              "answer 8\n"
              "run 0\n"
              "in GetStreams: GetStreamList \"\" \"a\\x00b\" a 0\n"
              "in GetStreams: streams a \"\\xff\\xc3(\" \"\\xff\\xc3(\"\n"
              "OnStreamUpdate room1 a \"\" b \"\\xff\\xc3(\" \"hls a\\x00b\" \"hls b\" 0 2\n"
              "run 0\n");
}

TEST(LiveModelTool, AProgramAlwaysGivesTheSameTrace) {
    for (const livemodel::Theme& theme : livemodel::Themes()) {
        const Program program = livemodel::Generate(theme.firstSeed + 11);
        const std::string trace = TraceOfLibrary(program);
        EXPECT_GT(trace.size(), 100U);
        EXPECT_EQ(TraceOfLibrary(program), trace);
        EXPECT_EQ(TraceOfModel(program), trace);
    }
}

TEST(LiveModelTool, APrintedProgramParsesBackToTheSame) {
    ForEachProgram([](const Program& program) {
        Program parsed;
        std::string error;
        const bool same = livemodel::Parse(Print(program), parsed, error) && parsed == program;
        EXPECT_TRUE(same) << Print(program) << error;
        return same;
    });
}

TEST(LiveModelTool, ATextThatIsNoProgramIsRefusedWithItsLine) {
    for (const char* line : {"Play s1", "PlayStream s1", "PlayStream s1 0 1", "PlayStream \"s1 0",
                             "run", "in Nowhere: Logout", "in PlayStream: run 0",
                             "StopPlayStream \"\\y\"", "in PlayStream"}) {
        Program program;
        std::string error;
        EXPECT_FALSE(livemodel::Parse("# a remark\n\nLogout\n" + std::string(line) + "\nLogout\n",
                                      program, error));
        EXPECT_EQ(error, line);
    }
}

TEST(LiveModelTool, EveryOperationOccursAtOnceInsideAndDuring) {
    std::set<std::string> missing;
    for (const Operation& operation : livemodel::Operations()) {
        missing.insert("at once " + operation.name);
        if (operation.kind != Kind::Run) {
            missing.insert("in " + operation.name);
            missing.insert("during " + operation.name);
        }
    }
    for (const std::string& place : livemodel::Places()) {
        missing.insert("place " + place);
    }
    ForEachProgram([&](const Program& program) {
        EXPECT_LE(program.size(), 60U);
        for (const Step& step : program) {
            const char* const way = step.place.empty() ? "at once "
                                    : step.beside      ? "during "
                                                       : "in ";
            missing.erase(way + step.op);
            missing.erase("place " + step.place);
        }
        return !missing.empty();
    });
    EXPECT_TRUE(missing.empty()) << "never: " << *missing.begin();
}

TEST(LiveModelTool, EveryCellOfTheJoinTableIsMet) {
    ModelPlayer::Meetings meetings;
    ForEachProgram([&](const Program& program) {
        ModelPlayer model(livemodel::Flaws(), &meetings);
        livemodel::Trace(program, model);
        return meetings.size() < 2U * 7 * 7;
    });
    for (int waiting = 1; waiting <= 7; ++waiting) {
        for (int later = 1; later <= 7; ++later) {
            const std::string cell = std::to_string(waiting) + " meets " + std::to_string(later);
            EXPECT_EQ(meetings.count(cell + " same"), 1U) << cell;
            EXPECT_EQ(meetings.count(cell + " different"), 1U) << cell;
        }
    }
}

TEST(LiveModelTool, EveryKindOfLogLineOccurs) {
    std::set<std::string> lines = {
        "log 1 AppSetting: GetAppID, app id is 0",
        "log 3 CmdProxy: AddCmd, cmd invalid!",
        "log 3 CmdQueue: > no cmd enqueued.",
        "log 3 CmdQueue: StartCmdExecuteInner",
        "log 4 CmdQueue: 10: ",
        "log 3 CmdProxy: OnPlayStateUpdate, not callback for this cmd",
    };
    for (const std::string type : s_types) {
        lines.insert("log 3 CmdProxy: AddCmd: " + type + "(");
        lines.insert("log 3 CmdQueue: AddCmd, going to add " + type + "(");
        lines.insert("log 3 CmdQueue: >> join result by " + type + "(");
        lines.insert("log 3 CmdQueue: >> added " + type + "(");
        lines.insert("log 4 CmdQueue: 1: " + type + "(");
        lines.insert("log 3 CmdQueue: PopCmd, cmd " + type + "(");
        lines.insert("log 1 unnamed: >>>>>> execute " + type + "(");
        lines.insert("log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: " + type);
        if (type == "SyncCmd") {
            lines.insert("log 3 CmdQueue: > executed SyncCmd(");
        } else {
            lines.insert("log 3 CmdQueue: > executed " + type + ", waiting for result");
            lines.insert("log 3 CmdQueue: > executing: " + type + "(");
            lines.insert("log 3 CmdQueue: >> current executing cmd: " + type + "(");
        }
    }
    for (const char* call : {"StartPublishing", "StopPublishing", "GetStreamList", "PlayStream",
                             "StopPlayStream", "Logout"}) {
        lines.insert("log 1 CmdProxy: " + std::string(call) + ", encounter ");
    }
    for (const char* event :
         {"OnGetStreamList", "OnPublishStateUpdate", "OnPlayStateUpdate", "OnLogout"}) {
        lines.insert("log 3 CmdProxy: " + std::string(event) + ", abandon callbak");
    }
    for (const char* state : {"BEGIN", "END", "TEMP_BROKEN", "FATAL_ERROR", "CREATE_STREAM_ERROR",
                              "FETCH_STREAM_ERROR", "NO_STREAM_ERROR", ""}) {
        const std::string called = "StateUpdate, call back state: " + std::string(state);
        lines.insert("log 3 CmdProxy: OnPublish" + called + ", stream: ");
        lines.insert("log 3 CmdProxy: OnPlay" + called + ", stream ID: ");
    }
    EXPECT_EQ(Missing(lines).List(), "");
}

TEST(LiveModelTool, EveryCallOfTheEngineAndEveryEventOfTheApplicationOccurs) {
    std::set<std::string> lines = {"0 engine: created",
                                   "0 engine: destroyed",
                                   "0 engine: SetCallback()",
                                   "0 http: Init(7, key)",
                                   "0 http: Init(0, )",
                                   "0 http: UploadLogFile(",
                                   "2 app: by A2",
                                   "A app: gone A1",
                                   "2 app: gone A1",
                                   "a app: gone ",
                                   "0 raw: ",
                                   "A engine: destroyed"};
    for (const Operation& operation : livemodel::Operations()) {
        if (operation.kind <= Kind::Getter && operation.name != "UploadLog") {
            lines.insert("0 engine: " + operation.name + "(");
        }
        if (operation.kind == Kind::Event) {
            const bool snapshot = operation.name.find("Snapshot") != std::string::npos;
            lines.insert((snapshot ? "E app: " : "2 app: ") + operation.name + "(");
        }
    }
    // Logout asks for the streams on its caller's thread, whichever that is.
    for (const char* thread : {"A", "E", "a", "2"}) {
        lines.insert(std::string(thread) + " engine: GetStreams()");
    }
    EXPECT_EQ(Missing(lines).List(), "");
}

TEST(LiveModelTool, EveryTypeOfCommandIsAddedOnEveryKindOfThread) {
    std::set<std::string> lines = {"A result 1",   "A result 2",       "A result ran",
                                   "A result may", "A result nothing", "A result may not",
                                   "A result idle"};
    for (const std::string type : s_types) {
        for (const char* thread : {"A", "E", "a", "0", "2"}) {
            lines.insert(std::string(thread) + " log 3 CmdProxy: AddCmd: " + type + "(");
        }
    }
    EXPECT_EQ(Missing(lines).List(), "");
}

TEST(LiveModelTool, APlantedDifferenceIsFoundAndShrunkToTheStepsThatShowIt) {
    livemodel::Flaws flaws;
    flaws.stopKeepsPlay = true;
    const auto fails = [&](const Program& candidate) {
        return livemodel::Compare(candidate, flaws).found;
    };
    Program program;
    for (std::uint64_t seed = 0; !fails(program); ++seed) {
        ASSERT_LT(seed, 1000U);
        program = livemodel::Generate(seed);
    }
    ASSERT_FALSE(livemodel::Compare(program).found);

    const Program small = livemodel::Shrink(program, fails);
    // A stop that waits, and a play of the same stream.
    ASSERT_EQ(small.size(), 2U) << Print(small);
    EXPECT_TRUE(fails(small));
    EXPECT_EQ(small[1].op, "PlayStream") << Print(small);

    const std::string report = livemodel::Explain("a program", program, flaws);
    EXPECT_NE(report.find(", CoExist"), std::string::npos) << report;
    EXPECT_NE(report.find(", InvalidateFormer"), std::string::npos) << report;
    EXPECT_NE(report.find("<<'END'\n" + Print(small) + "END\n"), std::string::npos) << report;
}
