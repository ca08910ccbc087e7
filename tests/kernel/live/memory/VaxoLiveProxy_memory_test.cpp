// Memory that runs out in the calls of an application and in the events of an engine: every
// operation of the proxy and every event, one request after the other refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "kernel/live/memory/Starved.h"

namespace {

using livemodel::Kind;
using livemodel::Operation;
using livemodel::Step;
using starving::Parsed;
using starving::Starve;
using starving::StepOf;
using starving::Then;

bool IsCall(const Operation& operation) {
    return operation.kind <= Kind::Getter || operation.name == "SetCallback";
}

bool IsEvent(const Operation& operation) {
    return operation.kind == Kind::Event;
}

// All stream and channel calls, and one that stands for all setters: those differ in their
// arguments alone.
bool IsCommand(const Operation& operation) {
    return operation.kind == Kind::Call || operation.name == "SetVideoCaptureDeviceId";
}

// Starves every operation that `chosen` names, each of which makes so many requests at least.
template <class Chosen>
void StarveAll(const std::string& scene, Chosen chosen, long atLeast, Then then = Then::Works) {
    for (const Operation& operation : livemodel::Operations()) {
        if (chosen(operation)) {
            SCOPED_TRACE(operation.name);
            EXPECT_GE(Starve(scene, StepOf(operation), then), atLeast);
        }
    }
}

Step Only(const std::string& line) {
    return Parsed(line).at(0);
}

}  // namespace

TEST(VaxoLiveProxyMemory, ThereAreFortyCallsAndElevenEvents) {
    const auto& all = livemodel::Operations();
    EXPECT_EQ(std::count_if(all.begin(), all.end(), IsCall), 40);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), IsEvent), 11);
}

TEST(VaxoLiveProxyMemory, EveryCallSurvivesEveryRefusal) {
    StarveAll(starving::WithEngine, IsCall, 1);
}

TEST(VaxoLiveProxyMemory, EveryCallSurvivesThatNothingIsToBeHadAnyMore) {
    StarveAll(starving::WithEngine, IsCall, 1, Then::FailsToo);
}

TEST(VaxoLiveProxyMemory, EveryCommandSurvivesEveryRefusalWithoutAnEngine) {
    StarveAll("", IsCommand, 4);
}

TEST(VaxoLiveProxyMemory, EveryCommandSurvivesEveryRefusalWhenTheQueueMustGrow) {
    StarveAll(starving::WithFullQueue, IsCommand, 4);
}

TEST(VaxoLiveProxyMemory, EveryCommandSurvivesEveryRefusalAmongThoseThatItMeets) {
    StarveAll(starving::WithEveryCommand, IsCommand, 4);
}

TEST(VaxoLiveProxyMemory, EveryEventSurvivesEveryRefusalWhileNothingExecutes) {
    StarveAll(starving::WithEngine, IsEvent, 0);
    StarveAll(starving::WithEngine, IsEvent, 0, Then::FailsToo);
}

TEST(VaxoLiveProxyMemory, EveryEventSurvivesEveryRefusalWhileALogoutWaits) {
    StarveAll(starving::WithEveryCommand, IsEvent, 0);
}

TEST(VaxoLiveProxyMemory, EveryEventSurvivesEveryRefusalWithoutAnApplication) {
    StarveAll("Init 7 key\nrun all\n", IsEvent, 0);
}

// A refused completion may be reported again; Starve does so.
TEST(VaxoLiveProxyMemory, EveryCompletionSurvivesEveryRefusal) {
    for (const char* const call :
         {"GetStreamList user name room1 0", "PlayStream s1 0", "StopPlayStream s1",
          "StartPublishing title p1 room1", "StopPublishing", "Logout"}) {
        const std::string scene = std::string(starving::WithEngine) + call + "\nrun all\n";
        EXPECT_GE(Starve(scene, Only("answer 0")), 1);
        EXPECT_GE(Starve(scene + "PlayStream next 0\n", Only("answer 3")), 1);
    }
}

TEST(VaxoLiveProxyMemory, ALogoutWithManyStreamsSurvivesEveryRefusal) {
    const std::string streams = "streams s1 s2 s3 s4 s5 s6 s7 s8 s9\n";  // the array grows twice
    EXPECT_GE(Starve(starving::WithEngine + streams, Only("Logout")), 10 * 5);
}

TEST(VaxoLiveProxyMemory, CommandsOfOnesOwnSurviveEveryRefusal) {
    EXPECT_GE(Starve(starving::WithEngine, Only("AddCmd 3 5 a-text -1 0")), 5);
    EXPECT_GE(Starve(starving::WithFullQueue, Only("AddCmd 7 5 a-text 0 0")), 5);
    EXPECT_GE(Starve(starving::WithEveryCommand, Only("AddCmd 4 6 a-text -1 0")), 5);
    EXPECT_GE(Starve(starving::WithEveryCommand, Only("AddCmd 8 7 unknown -1 0")), 5);  // refused
    EXPECT_GE(Starve(starving::WithEngine, Only("AddNull")), 1);
}
