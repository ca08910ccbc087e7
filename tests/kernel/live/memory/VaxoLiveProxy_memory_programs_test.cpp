// Memory that runs out in the middle of whole programs of the model (see model/Program.h):
// each from its seed, once for every request that the application and the engine make in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "kernel/live/memory/Starved.h"
#include "vaxolog.h"

namespace {

using livemodel::Kind;
using livemodel::LibraryPlayer;
using livemodel::Program;
using livemodel::Step;
using starving::Watch;

// Whether the step is taken inside something that must not throw, on the thread of a caller:
// an application's callback, or the end of its object or of the engine.
bool IsInsideACaller(const Step& step) {
    return step.place == "GetStreams" || step.place == "OnPreviewSnapshot" ||
           step.place == "OnRenderSnapshot" || step.place == "gone" ||
           (!step.place.empty() && step.op == "release");
}

Program ProgramOf(std::uint64_t seed) {
    Program program = livemodel::Generate(seed);
    program.erase(std::remove_if(program.begin(), program.end(), &IsInsideACaller), program.end());
    return program;
}

// Whether the step is the library's to take: the rest is what the test does with its own.
bool IsOfTheLibrary(const Step& step) {
    const Kind kind = livemodel::OperationOf(step.op).kind;
    return kind != Kind::Callback && kind != Kind::Script && step.place.empty();
}

// Plays the program; whether a request was refused. The step that runs out of memory is lost,
// the others are taken all the same.
bool PlayStarved(const Program& program, long refused) {
    bool any = false;
    {
        LibraryPlayer player;
        vaxolog_set_level(esyslog_error);  // nobody reads the rest, and it takes half the time
        starving::RenewQueue();
        const Watch watch(refused, starving::Then::Works, starving::Callers);
        for (const Step& step : program) {
            if (IsOfTheLibrary(step)) {
                const bool before = watch.RefusedWithThrow();
                const bool refusedBefore = watch.Refused();
                bool threw = false;
                try {
                    player.Play(step);
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
                EXPECT_TRUE(threw || watch.RefusedWithThrow() == before) << livemodel::Print(step);
                EXPECT_TRUE(!threw || watch.Refused() != refusedBefore) << livemodel::Print(step);
                starving::ExpectNothingHeld();
            } else {
                const starving::Pause pause;
                player.Play(step);
            }
        }
        any = watch.Refused();
        const starving::Pause pause;
        // A command may wait whose pass could not be posted; the next call would bring one.
        CVaxoAVMgrCmdQueue::GetSharedInstance()->StartCmdExecute();
        player.Rest();  // a command of the program may refuse every later one
        starving::ExpectGoesOn(player);
    }
    starving::RenewQueue();
    return any;
}

// The theme's first program that is neither over at once nor takes for ever.
void StarveProgram(std::size_t theme) {
    for (std::uint64_t seed = livemodel::Themes().at(theme).firstSeed;; ++seed) {
        const Program program = ProgramOf(seed);
        if (program.size() >= 20 && program.size() <= 30) {
            SCOPED_TRACE(std::to_string(seed) + "\n" + livemodel::Print(program));
            const long requests = starving::RefuseOneAfterTheOther(
                [&](long refused) { return PlayStarved(program, refused); });
            EXPECT_GE(requests, 20);
            return;
        }
    }
}

}  // namespace

TEST(VaxoLiveProxyMemoryPrograms, AProgramOfEveryThemeSurvivesEveryRefusal) {
    for (std::size_t theme = 0; theme != livemodel::Themes().size(); ++theme) {
        StarveProgram(theme);
    }
}
