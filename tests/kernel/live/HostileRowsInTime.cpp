// What follows from an event that comes while its command waits for it: on whatever
// thread, with whatever code, for whatever stream. A row says it for the commands it names.
#include <climits>

#include "kernel/live/HostileEngine.h"

namespace livetest {

namespace {

typedef std::vector<HostileRow> Rows;

const Fire s_inside = {Inside, 'A', 0, nullptr};
const Fire s_onThread = {OnThread, 'A', 0, nullptr};
const Fire s_heldBack = {HeldBack, 'A', 0, nullptr};
const Fire s_after = {After, 'A', 0, nullptr};
const Fire s_atOnce = {AfterAtOnce, 'A', 0, nullptr};

// A's call succeeds, and N follows once A has ended.
const char* const s_next = "waits A, call N, waits N";

// A row is read as one line.
// clang-format off

// One event, in its own time.
Rows OnTime() {
    const char* const done = "report A, done A";
    return {
        {"OnTime", HoldAll, BehindOther, 0, {s_after}, "N", s_next, done, "A 0", 1},
        {"InTheCall", HoldAll, BehindOther, 0, {s_inside}, "N",
         "report A, done A, waits A, call N, waits N", "", "A 0", 1},
        {"OnAThreadDuringTheCall", HoldAll, BehindOther, 0, {s_onThread}, "N", s_next, done, "A 0",
         -1},
        {"HeldBackInTheCall", HoldAll, BehindOther, 0, {s_heldBack}, "N", s_next, done, "A 0", 1},
        {"Never", HoldAll, BehindOther, 0, {}, "A", "waits A", "", "", 0},
        {"NeverWithALogoutBehind", HoldAll, BehindLogout, 0, {}, "A", "waits A", "", "", 0},
    };
}

// Any code ends the command, and is passed on as it came: those with a name, and others.
Rows AnyCode() {
    const char* const done = "report A, done A";
    const auto row = [&](const char* name, int code, const char* heard) {
        const Fire fire = {After, 'A', code, nullptr};
        return HostileRow{name, HoldAll, BehindOther, 0, {fire}, "N", s_next, done, heard, 1};
    };
    return {
        row("CodeEnd", 1, "A 1"),
        row("CodeTempBroken", 2, "A 2"),
        row("CodeFatal", 3, "A 3"),
        row("CodeCreateStream", 4, "A 4"),
        row("CodeFetchStream", 5, "A 5"),
        row("CodeNoStream", 6, "A 6"),
        row("CodeUnknown", 7, "A 7"),
        row("CodeThousand", 1000, "A 1000"),
        row("CodeMinusOne", -1, "A -1"),
        row("CodeLargest", INT_MAX, "A 2147483647"),
        row("CodeSmallest", INT_MIN, "A -2147483648"),
        {"CodeUnknownInTheCall", HoldAll, BehindOther, 0, {{Inside, 'A', 7, nullptr}}, "N",
         "report A, done A, waits A, call N, waits N", "", "A 7", 1},
    };
}

// The same event twice before N can begin, or while it may or may not have begun.
Rows Twice() {
    const char* const heard = "A 0, A 0";
    const char* const once = "report A, done A";
    const char* const again = "report A, done A, report A";
    return {
        {"TwiceAtOnce", HoldEnterOrLogout, BehindOther, 0, {s_after, s_atOnce}, "N", s_next, again,
         heard, -1},
        {"TwiceAtOnce", HoldStreams, BehindOther, 0, {s_after, s_atOnce}, "N", s_next, once, heard,
         1},
        {"TwiceOnAThreadDuringTheCall", HoldEnterOrLogout, BehindOther, 0, {s_onThread, s_onThread},
         "N", s_next, again, heard, -1},
        {"TwiceOnAThreadDuringTheCall", HoldStreams, BehindOther, 0, {s_onThread, s_onThread}, "N",
         s_next, once, heard, -1},
        // N waits for the call to end and so is safe from the second, though it is of A's type.
        {"TwiceInTheCallSame", HoldEnter, BehindSame, 0, {s_inside, s_inside}, "N",
         "report A, done A, report A, waits A, call N, waits N", "", heard, 2},
        {"TwiceInTheCallSame", HoldLogout, BehindSame, 0, {s_inside, s_inside}, "N",
         "report A, done A, abandon A, report A, abandon A, waits A, call S, abandon S, "
         "report S, done S, waits S, call N, waits N", "", "", 2},
        {"TwiceInTheCallSame", HoldStreams, BehindSame, 0, {s_inside, s_inside}, "N",
         "report A, done A, waits A, call N, waits N", "", heard, 1},
    };
}

// A play's event must name its stream to the byte; nobody else's event is looked into.
Rows OtherStream() {
    const Fire other = {After, 'A', 0, "s7"};
    const Fire otherInside = {Inside, 'A', 0, "s7"};
    const Fire otherOnThread = {OnThread, 'A', 0, "s7"};
    const Fire upper = {After, 'A', 0, "S1"};
    const Fire longer = {After, 'A', 1, "s10"};
    const Fire shorter = {After, 'A', 2, "s"};
    const Fire none = {After, 'A', 3, ""};
    return {
        {"OtherStream", HoldPlays, BehindOther, 0, {other}, "A", "waits A", "notfor A", "A 0 s7",
         0},
        {"OtherStreamInTheCall", HoldPlays, BehindOther, 0, {otherInside}, "A", "notfor A, waits A",
         "", "A 0 s7", 0},
        {"OtherStreamOnAThread", HoldPlays, BehindOther, 0, {otherOnThread}, "A", "waits A",
         "notfor A", "A 0 s7", 0},
        {"NearlyTheStream", HoldPlays, BehindOther, 0, {upper, longer, shorter, none}, "A",
         "waits A", "notfor A, notfor A, notfor A, notfor A", "A 0 S1, A 1 s10, A 2 s, A 3 ''", 0},
        {"OtherStreamThenItsOwn", HoldPlays, BehindOther, 0, {other, s_after}, "N", s_next,
         "notfor A, report A, done A", "A 0 s7, A 0", 1},
        {"OtherStreamOfAPublish", HoldPublishes, BehindOther, 0, {other}, "N", s_next,
         "report A, done A", "A 0 s7", 1},
        {"OtherStreamWhileALogoutWaits", HoldPlays, BehindLogout, 0, {other}, "A", "waits A",
         "abandon A, notfor A", "", 0},
    };
}

// Another command's event ends nothing.
Rows OtherEvent() {
    const Fire foreign = {After, 'F', 0, nullptr};
    const Fire foreignInside = {Inside, 'F', 0, nullptr};
    const Fire foreignOnThread = {OnThread, 'F', 0, nullptr};
    return {
        {"OtherEvent", HoldEnterOrLogout, BehindOther, 0, {foreign}, "A", "waits A", "report F",
         "F 0", 0},
        {"OtherEvent", HoldStreams, BehindOther, 0, {foreign}, "A", "waits A", "", "F 0", 0},
        {"OtherEventInTheCall", HoldEnterOrLogout, BehindOther, 0, {foreignInside}, "A",
         "report F, waits A", "", "F 0", 0},
        {"OtherEventInTheCall", HoldStreams, BehindOther, 0, {foreignInside}, "A", "waits A", "",
         "F 0", 0},
        {"OtherEventOnAThread", HoldEnterOrLogout, BehindOther, 0, {foreignOnThread}, "A",
         "waits A", "report F", "F 0", 0},
        {"OtherEventOnAThread", HoldStreams, BehindOther, 0, {foreignOnThread}, "A", "waits A", "",
         "F 0", 0},
        {"OtherEventWhileALogoutWaits", HoldEnterOrLogout, BehindLogout, 0, {foreign}, "A",
         "waits A", "report F, abandon F", "", 0},
        {"OtherEventWhileALogoutWaits", HoldStreams, BehindLogout, 0, {foreign}, "A", "waits A",
         "abandon F", "", 0},
    };
}

// clang-format on

}  // namespace

std::vector<HostileRow> HostileRowsInTime() {
    Rows all;
    for (const Rows& rows : {OnTime(), AnyCode(), Twice(), OtherStream(), OtherEvent()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

}  // namespace livetest
