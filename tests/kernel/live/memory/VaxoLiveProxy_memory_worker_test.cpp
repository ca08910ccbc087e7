// Memory that runs out on a worker, and on the first use of everything.
//
// A worker has nobody to throw to. What is promised of a refusal there is the end of the
// process: std::terminate, with std::bad_alloc as the exception of the moment, before the
// worker does anything else. Nothing is promised of the library's state (a pass that is left
// this way keeps the queue's flag read-locked), because nobody gets to see it. The array's
// refusals, which do not throw, end nothing.
//
// An engine that raises an event inside a call is a caller like any other, although it is on
// the worker: it may catch what comes out of the event, and then everything goes on.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include "kernel/live/ScriptedEngine.h"
#include "kernel/live/memory/Starved.h"

namespace {

using livemodel::LibraryPlayer;
using livemodel::Step;
using starving::Parsed;
using starving::Pause;
using starving::Then;
using starving::Watch;

// How a child process ends.
enum : int {
    AllServed = 20,   // no request was refused
    GaveWay,          // one was, and the worker came to its end
    OutOfMemory,      // terminated by std::bad_alloc
    OfSomethingElse,  // terminated otherwise
};

[[noreturn]] void TellWhy() {
    const Pause pause;
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const std::bad_alloc&) {
        ::_exit(OutOfMemory);
    } catch (...) {
        ::_exit(OfSomethingElse);
    }
}

// As the workers' thread function: nothing leaves it.
void RunAll(int worker) noexcept {
    while (threadless::RunOne(worker)) {
    }
}

// Runs everything that waits for the worker in a process of its own, and tells how that ends.
int EndOfWorker(int worker, long refused) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::set_terminate(&TellWhy);
        const Watch watch(refused, Then::Works, worker == 0 ? "0" : "2");
        RunAll(worker);
        ::_exit(watch.Refused() ? GaveWay : AllServed);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return WEXITSTATUS(status);
}

// Sets the scene and runs what waits for the worker. Returns how many refusals ended the
// process.
int EndsOfWorker(const std::string& scene, int worker) {
    SCOPED_TRACE("worker " + std::to_string(worker) + ", after\n" + scene);
    LibraryPlayer player;
    for (const Step& step : Parsed(scene)) {
        player.Play(step);
    }
    int ends = 0;
    for (long refused = 1;; ++refused) {
        const int end = EndOfWorker(worker, refused);
        if (end != OutOfMemory && end != GaveWay) {
            EXPECT_EQ(end, AllServed);
            return ends;
        }
        ends += end == OutOfMemory ? 1 : 0;
    }
}

// In the engine's call of that name the engine raises the event that answers it, and lives
// with the refusal. Whether there was one.
bool AnswerInside(LibraryPlayer& player, const std::string& call, long refused) {
    bool any = false;
    livetest::TheScript().inside[call.substr(0, call.find(' '))] = [&] {
        livetest::TheScript().inside.clear();
        const auto callback = livetest::EngineCallback();
        const Watch watch(refused, Then::Works, "0");
        bool threw = false;
        try {
            callback->OnGetStreamList(0);
            callback->OnLogout(0);
            callback->OnPublishStateUpdate(Mediq::AVStateBegin, "s1");
            callback->OnPlayStateUpdate(Mediq::AVStateBegin, "s1");
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        starving::ExpectTold(threw, watch);
        EXPECT_EQ(threadless::MutexesHeld(), 0);
        any = watch.Refused();
    };
    player.Play(Parsed(call).at(0));
    player.Play(Parsed("run all").at(0));
    starving::ExpectNothingHeld();
    return any;
}

}  // namespace

TEST(VaxoLiveProxyMemoryWorker, ARefusalOnWorker0EndsTheProcess) {
    const std::string engine = starving::WithEngine;
    EXPECT_GE(EndsOfWorker("Init 7 key\n", 0), 3);
    EXPECT_GE(EndsOfWorker(engine + "GetStreamList user name room1 0\n", 0), 3);
    EXPECT_GE(EndsOfWorker(engine + "status PlayStream -1\nPlayStream s1 0\n", 0), 3);
}

TEST(VaxoLiveProxyMemoryWorker, ARefusalOnWorker2EndsTheProcess) {
    const std::string engine = starving::WithEngine;
    EXPECT_GE(EndsOfWorker(engine + "OnPlayStateUpdate 0 s1\nOnCountsUpdate 1 2\n", 2), 2);
}

TEST(VaxoLiveProxyMemoryWorker, AnEngineThatCatchesARefusalInItsOwnCallGoesOn) {
    for (const char* const call : {"GetStreamList user name room1 0", "PlayStream s1 0",
                                   "StartPublishing title s1 room1", "StopPublishing"}) {
        SCOPED_TRACE(call);
        const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
            bool any = false;
            {
                LibraryPlayer player;
                starving::RenewQueue();
                for (const Step& step : Parsed(starving::WithEngine + std::string("streams\n"))) {
                    player.Play(step);
                }
                any = AnswerInside(player, call, refused);
                starving::ExpectGoesOn(player);
            }
            starving::RenewQueue();
            return any;
        });
        EXPECT_GE(requests, 8);
    }
}

namespace {

// The first call of a process, with one request refused, and the same call again. Ends the
// process: 0 if all is well, and the leak sanitizer has looked.
[[noreturn]] void UseForTheFirstTime(long refused) {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
    // Its pthread_once, on which the standard library's call_once stands, never comes to its
    // end when an exception passes: the proxy itself must be there.
    Strova::CVaxoLiveProxy::GetInstance();
#endif
#endif
    bool threw = false;
    bool any = false;
    {
        const Watch watch(refused, Then::Works, starving::Callers);
        try {
            Strova::CVaxoLiveProxy::GetInstance()->StopPublishing();
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        any = watch.Refused();
        threw = threw == watch.RefusedWithThrow();
    }
    starving::ExpectNothingHeld();
    EXPECT_EQ(Strova::CVaxoLiveProxy::GetInstance()->StopPublishing(), 0);
    {
        LibraryPlayer player;
        starving::ExpectGoesOn(player);
    }
    std::exit(testing::Test::HasFailure() || !threw ? 1 : any ? GaveWay : AllServed);
}

}  // namespace

TEST(VaxoLiveProxyMemoryDeathTest, TheFirstCallOfAProcessSurvivesEveryRefusal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    int end = GaveWay;
    const auto isWell = [&end](int status) {
        end = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return end == GaveWay || end == AllServed;
    };
    long refused = 1;
    while (end == GaveWay && !HasFailure()) {
        EXPECT_EXIT(UseForTheFirstTime(refused), isWell, "") << "request " << refused;
        ++refused;
    }
    EXPECT_GE(refused, 10);
}
