// What follows from an event that comes when its command is over: answered before, failed
// at once, or gone with the engine. A row says it for the commands it names.
//
// A late publish event, channel entry or logout ends a command of its type that runs by
// then, a late play event one of its stream: nothing else can be told from what it says.
#include "kernel/live/HostileEngine.h"

namespace livetest {

namespace {

typedef std::vector<HostileRow> Rows;

const Fire s_inside = {Inside, 'A', 0, nullptr};
const Fire s_onThread = {OnThread, 'A', 0, nullptr};
const Fire s_heldBack = {HeldBack, 'A', 0, nullptr};
const Fire s_after = {After, 'A', 0, nullptr};
const Fire s_afterWithOne = {After, 'A', 1, nullptr};
const Fire s_ofNext = {After, 'N', 0, nullptr};

const unsigned s_enterOrPublishes = HoldEnter | HoldPublishes;
const unsigned s_allButLogout = HoldEnter | HoldStreams;

// A's call succeeds or fails, N follows, and M when N has ended as well.
const char* const s_next = "waits A, call N, waits N";
const char* const s_nextAndLast = "waits A, call N, waits N, call M";
const char* const s_failNext = "report A, done A, fails A, call N, waits N";
const char* const s_failNextAndLast = "report A, done A, fails A, call N, waits N, call M";
// N is the second half of a Logout.
const char* const s_logout =
    "waits A, call S, abandon S, report S, done S, waits S, call N, waits N";
const char* const s_logoutAndLast =
    "waits A, call S, abandon S, report S, done S, waits S, call N, waits N, call M";
const char* const s_failLogoutAndLast =
    "report A, done A, abandon A, fails A, "
    "call S, abandon S, report S, done S, waits S, call N, waits N, call M";

// A row is read as one line.
// clang-format off

// A second event for A when N runs.
Rows Late() {
    const char* const heard = "A 0, A 0";
    const char* const once = "report A, done A";
    const char* const both = "report A, done A, report N, done N";
    return {
        {"Late", HoldEnterOrLogout, BehindOther, 0, {s_after, s_after}, "N", s_next,
         "report A, done A, report A", heard, 1},
        {"Late", HoldStreams, BehindOther, 0, {s_after, s_after}, "N", s_next, once, heard, 1},
        // N's own event then finds nothing to end.
        {"LateSame", HoldEnter, BehindSame, 0, {s_after, s_after, s_ofNext}, "", s_nextAndLast,
         "report A, done A, report A, done N, report N", "A 0, A 0, N 0", 3},
        {"LateSame", HoldPublishes, BehindSame, 0, {s_after, s_after, s_ofNext}, "", s_nextAndLast,
         both, "A 0, A 0, N 0", 2},
        {"LateSame", HoldLogout, BehindSame, 0, {s_after, s_after}, "", s_logoutAndLast,
         "report A, done A, abandon A, report A, done N", "A 0", 2},
        {"LateSame", HoldPlays, BehindSame, 0, {s_after, s_after}, "N", s_next,
         "report A, done A, notfor A", heard, 1},
        {"LateSameStream", HoldPlays, BehindSameStream, 0, {s_after, s_after}, "", s_nextAndLast,
         both, heard, 2},
        {"LateCounterpart", HoldStreams, BehindCounterpart, 0, {s_after, s_after}, "",
         s_nextAndLast, both, heard, 2},
        {"LateCounterpart", HoldEnter, BehindCounterpart, 0, {s_after, s_after}, "N", s_logout,
         "report A, done A, abandon A, report A", "A 0", 1},
        {"LateCounterpart", HoldLogout, BehindCounterpart, 0, {s_after, s_after}, "N", s_next,
         "report A, done A, report A", heard, 1},
    };
}

// A Logout behind A keeps A's event from the application, and ends nothing less.
Rows WhileALogoutWaits() {
    return {
        {"WhileALogoutWaits", HoldEnterOrLogout, BehindLogout, 0, {s_after}, "N", s_logout,
         "report A, done A, abandon A", "", 1},
        {"WhileALogoutWaits", HoldStreams, BehindLogout, 0, {s_after}, "N", s_logout,
         "abandon A, report A, done A", "", 1},
        {"WhileALogoutWaitsInTheCall", HoldEnterOrLogout, BehindLogout, 0, {s_inside}, "N",
         "report A, done A, abandon A, waits A, call S, abandon S, report S, done S, waits S, "
         "call N, waits N", "", "", 1},
        {"WhileALogoutWaitsInTheCall", HoldStreams, BehindLogout, 0, {s_inside}, "N",
         "abandon A, report A, done A, waits A, call S, abandon S, report S, done S, waits S, "
         "call N, waits N", "", "", 1},
    };
}

// The Uninit waits for A like any other call; what is behind it finds no engine, and a
// failure without an engine holds nothing up.
Rows AfterUninit() {
    const char* const all =
        "report A, done A, waits A, call U, gone, report N, done N, fails N, fails M";
    const char* const heard = "A 0, N fail, A 0";
    return {
        {"BeforeUninitNever", HoldAll, BehindUninit, 0, {}, "A", "waits A", "", "", 0},
        {"AfterUninit", HoldEnterOrLogout, BehindUninit, 0, {s_inside, s_after}, "", all,
         "report A", heard, 3},
        {"AfterUninit", HoldStreams, BehindUninit, 0, {s_inside, s_after}, "", all, "", heard, 2},
    };
}

// A's call fails, which is reported in its place, and the event comes all the same.
Rows Fails() {
    const char* const heard = "A fail, A 0";
    return {
        {"Fails", HoldAll, BehindOther, 5, {}, "N", s_failNext, "", "A fail", 1},
        {"FailsInTheCallFirst", HoldEnter, BehindSame, 5, {s_inside}, "N",
         "report A, done A, report A, fails A, call N, waits N", "", "A 0, A fail", 2},
        {"FailsInTheCallFirst", HoldStreams, BehindSame, 5, {s_inside}, "N", s_failNext, "",
         "A 0, A fail", 1},
        {"FailsInTheCallFirst", HoldLogout, BehindSame, 5, {s_inside}, "N",
         "report A, done A, abandon A, report A, abandon A, fails A, "
         "call S, abandon S, report S, done S, waits S, call N, waits N", "", "", 2},
        {"FailsThenLate", HoldEnterOrLogout, BehindOther, 5, {s_after}, "N", s_failNext, "report A",
         heard, 1},
        {"FailsThenLate", HoldStreams, BehindOther, 5, {s_after}, "N", s_failNext, "", heard, 1},
        {"FailsThenLateSame", s_enterOrPublishes, BehindSame, 5, {s_after}, "", s_failNextAndLast,
         "report A, done N", heard, 2},
        {"FailsThenLateSame", HoldLogout, BehindSame, 5, {s_after}, "", s_failLogoutAndLast,
         "report A, done N", "A 0", 2},
        {"FailsThenLateSame", HoldPlays, BehindSame, 5, {s_after}, "N", s_failNext, "notfor A",
         heard, 1},
        {"FailsWhileAThreadFires", HoldEnterOrLogout, BehindOther, 5, {s_onThread}, "N", s_failNext,
         "report A", "any order: A fail, A 0", -1},
        {"FailsWhileAThreadFires", HoldStreams, BehindOther, 5, {s_onThread}, "N", s_failNext, "*",
         "any order: A fail, A 0", -1},
    };
}

// A thread has seen A hold the queue, and reports it done when A has long ended. By then
// the stream counts no more: what runs now ends if it is of A's type.
Rows HeldUp() {
    const char* const twice = "report A, report A, done A";
    return {
        {"FailsWhileHeldUp", HoldAll, BehindOther, 5, {s_heldBack}, "N", s_failNext, "report A",
         "A fail, A 0", 1},
        {"FailsWhileHeldUpSame", s_allButLogout, BehindSame, 5, {s_heldBack}, "", s_failNextAndLast,
         "report A, done N", "A fail, A 0", 2},
        {"FailsWhileHeldUpSame", HoldLogout, BehindSame, 5, {s_heldBack}, "", s_failLogoutAndLast,
         "report A, done N", "A 0", 2},
        {"AnsweredWhileHeldUp", HoldAll, BehindOther, 0, {s_heldBack, s_afterWithOne}, "N", s_next,
         twice, "A 1, A 0", 1},
        {"AnsweredWhileHeldUpSame", s_allButLogout, BehindSame, 0, {s_heldBack, s_afterWithOne}, "",
         s_nextAndLast, "report A, report A, done A, done N", "A 1, A 0", 2},
        {"AnsweredWhileHeldUpSame", HoldLogout, BehindSame, 0, {s_heldBack, s_afterWithOne}, "",
         s_logoutAndLast, "report A, report A, done A, abandon A, done N", "A 0", 2},
    };
}

// clang-format on

}  // namespace

std::vector<HostileRow> HostileRowsTooLate() {
    Rows all;
    for (const Rows& rows : {Late(), WhileALogoutWaits(), AfterUninit(), Fails(), HeldUp()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

}  // namespace livetest
