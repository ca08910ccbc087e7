#include "kernel/live/memory/Starved.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <unordered_map>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "support/PrivateAccess.h"
#include "vaxolog.h"

namespace {

typedef vaxostl::vector<std::shared_ptr<VaxoAVMgrCmd>> Commands;

// The array's storage is only ever freed with the queue, which is never.
struct WaitingCommands {
    typedef Commands CVaxoAVMgrCmdQueue::*type;
};

}  // namespace

template struct PrivateAccess<WaitingCommands, &CVaxoAVMgrCmdQueue::m_CmdQueue>;

namespace starving {

using livemodel::LibraryPlayer;
using livemodel::Line;
using livemodel::Program;
using livemodel::Step;
typedef std::vector<std::string> Texts;

namespace {

const std::string s_engine =
    "SetCallback A\n"
    "setting app 7\n"
    "setting sign key\n"
    "setting user ann\n"
    "setting logfile log.txt\n"
    "Init 7 key\n"
    "run all\n"
    "streams s1 s2 s3\n"
    "devices cam1 front cam2 back\n"
    "text GetLiveChannel room1\n";

const std::string s_held = s_engine + "PlayStream held 0\nrun all\n";

const std::string s_full = s_held +
                           "EnableMic true\nEnableMic true\nEnableMic true\nEnableMic true\n"
                           "EnableMic true\nEnableMic true\nEnableMic true\nEnableMic true\n";

const std::string s_every = s_held +
                            "GetStreamList user name room1 0\n"
                            "PlayStream a-text 1\n"
                            "StopPlayStream other\n"
                            "StartPublishing title p1 a-text\n"
                            "StopPublishing\n"
                            "StopPublishing\n"
                            "Logout\n";

// More than any step here makes.
const long s_tooMany = 10000;

// The failures of the platform, in the lines that were said.
Texts FailuresIn(const std::vector<Line>& lines) {
    Texts failures;
    for (const Line& line : lines) {
        if (line.thread == '!') {
            failures.push_back(line.text);
        }
    }
    return failures;
}

// One run: whether a request was refused.
bool PlayStarved(const Program& scene, const Step& step, long refused, Then then) {
    bool any = false;
    {
        LibraryPlayer player;
        vaxolog_set_level(esyslog_error);  // nobody reads the rest, and it takes half the time
        RenewQueue();
        for (const Step& before : scene) {
            player.Play(before);
        }
        EXPECT_EQ(FailuresIn(player.TakeLines()), Texts());
        {
            const Watch watch(refused, then, Callers);
            bool threw = false;
            try {
                player.Play(step);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            ExpectTold(threw, watch);
            any = watch.Refused();
        }
        ExpectNothingHeld();
        player.Play(step);
        ExpectGoesOn(player);
    }
    RenewQueue();
    return any;
}

}  // namespace

const char* const WithEngine = s_engine.c_str();
const char* const WithFullQueue = s_full.c_str();
const char* const WithEveryCommand = s_every.c_str();

Program Parsed(const std::string& text) {
    Program program;
    std::string error;
    EXPECT_TRUE(livemodel::Parse(text, program, error)) << error;
    return program;
}

Step StepOf(const livemodel::Operation& operation) {
    static const auto& s_values = *new std::unordered_map<char, livemodel::Args>{
        {'t', {"a-text"}},
        {'v', {"view7"}},
        {'u', {"1"}},
        {'i', {"640"}},
        {'b', {"true"}},
        {'d', {"cam1"}},
        {'a', {"7"}},
        {'s', {"key"}},
        {'n', {"0"}},
        {'x', {"aux"}},
        {'m', {"image"}},
        {'S', {"0"}},
        {'e', {"0"}},
        {'c', {"B"}},
        {'r', {"group", "a-text", "user", "name", "title", "rtmp one", "hls two", "1", "1"}},
    };
    Step step;
    step.op = operation.name;
    for (const char letter : operation.args) {
        const livemodel::Args& values = s_values.at(letter);
        step.args.insert(step.args.end(), values.begin(), values.end());
    }
    return step;
}

void RenewQueue() {
    Commands& waiting = Private<WaitingCommands>(*CVaxoAVMgrCmdQueue::GetSharedInstance());
    EXPECT_TRUE(waiting.empty());
    Commands().swap(waiting);
}

void ExpectTold(bool threw, const Watch& watch) {
    const Pause pause;
    EXPECT_TRUE(threw || !watch.RefusedWithThrow()) << "a refusal that throws was kept quiet";
    EXPECT_TRUE(!threw || watch.Refused()) << "std::bad_alloc although nothing was refused";
}

void ExpectNothingHeld() {
    EXPECT_EQ(threadless::MutexesHeld(), 0);
    EXPECT_EQ(threadless::RwLocksHeld(), 0);
    EXPECT_EQ(threadless::EventsAlive(), 0);
}

void ExpectGoesOn(LibraryPlayer& player) {
    player.Play({"", false, "Init", {"8", "other key"}});
    EXPECT_EQ(FailuresIn(player.TakeLines()), Texts());
    player.Play({"", false, "SetFilter", {"7654"}});
    const std::vector<Line> answers = player.TakeLines();
    EXPECT_EQ(std::count(answers.begin(), answers.end(), Line{'A', "result 0"}), 1);
    player.Rest();
    const std::vector<Line> lines = player.TakeLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), Line{'0', "engine: SetFilter(7654)"}), 1);
    EXPECT_EQ(FailuresIn(lines), Texts());
}

long RefuseOneAfterTheOther(const std::function<bool(long refused)>& run) {
    run(0);  // makes what is made once and stays
    long requests = 0;
    for (bool refused = true; refused && !testing::Test::HasFailure();) {
        SCOPED_TRACE("request " + std::to_string(requests + 1));
        refused = run(requests + 1);
        EXPECT_EQ(Survivors(), 0);
        requests += refused ? 1 : 0;
        EXPECT_LT(requests, s_tooMany) << "the next run never asks for fewer";
    }
    return requests;
}

long Starve(const std::string& scene, const Step& step, Then then) {
    const Program before = Parsed(scene);
    SCOPED_TRACE(livemodel::Print(step) + ", after\n" + scene);
    return RefuseOneAfterTheOther(
        [&](long refused) { return PlayStarved(before, step, refused, then); });
}

}  // namespace starving
