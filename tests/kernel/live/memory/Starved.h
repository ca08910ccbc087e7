// Scenes in which memory runs out: a program that sets the scene, and a step of it that is
// repeated with its first request for memory refused, then its second, and so on, until it
// asks for fewer. What is asked of every one of these runs:
// - std::bad_alloc comes out of the step if the refused request is of the form that throws,
//   and never without a refusal. (The other form is that of the growing array.)
// - No mutex and no reader-writer lock stays held, no event lives.
// - The step can be taken again with all the memory it wants.
// - A call after that is accepted and runs; the queue drains; engine, callback and commands go.
// - Nothing that was asked for during the step is left.
// - The platform has nothing to say: nothing was queued, waited for or destroyed under a mutex.
#ifndef VAXO_TESTS_MEMORY_STARVED_H
#define VAXO_TESTS_MEMORY_STARVED_H

#include <functional>
#include <string>

#include "kernel/live/memory/StarvingNew.h"
#include "kernel/live/model/LibraryPlayer.h"
#include "kernel/live/model/Program.h"

namespace starving {

// The threads of the application and of the engine. What a worker asks for is not refused:
// there a failure ends the process (VaxoLiveProxy_memory_worker_test.cpp).
inline constexpr const char* Callers = "AE";

// A program as it is written down (see Program.h).
livemodel::Program Parsed(const std::string& text);

// A step of this operation, with texts that need memory.
livemodel::Step StepOf(const livemodel::Operation& operation);

// Scenes to begin with: an application and an engine with two streams and two devices; that,
// with a play that holds the queue and as many setters waiting as the first storage of the
// queue's array holds; that, with one of each stream command waiting.
extern const char* const WithEngine;
extern const char* const WithFullQueue;
extern const char* const WithEveryCommand;

// Plays the step in the scene with one request after the other refused. Returns how many
// requests the step makes.
long Starve(const std::string& scene, const livemodel::Step& step, Then then = Then::Works);

// Takes the storage of the shared queue's array away; the queue must be empty. The next
// command asks for the first storage again.
void RenewQueue();

// What came out of the watched call fits what was refused to it.
void ExpectTold(bool threw, const Watch& watch);

// No lock is held and no event lives.
void ExpectNothingHeld();

// The player can go on: calls after this are accepted and run, everything comes to rest, and
// the platform has nothing to say.
void ExpectGoesOn(livemodel::LibraryPlayer& player);

// Calls run(1), run(2) and so on, each to refuse the request of that number, until it answers
// that there was none; every time nothing may survive that was asked for meanwhile. Returns
// the number of requests.
long RefuseOneAfterTheOther(const std::function<bool(long refused)>& run);

}  // namespace starving

#endif
