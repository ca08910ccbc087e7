// Events: vaxoevent.h.
#include <atomic>
#include <chrono>
#include <limits>
#include <vector>

#include "conformance/platform/Kit.h"
#include "vaxoevent.h"

namespace conformance {
namespace {

const int32 automatic = 1;
const int32 manual = 0;

// An event for the length of a case.
class Event {
public:
    explicit Event(int32 autoreset, int32 signaled = 0)
        : m_event(vaxoevent_create(autoreset, signaled)) {
        Require(m_event != nullptr, "vaxoevent_create answered null");
    }
    ~Event() { vaxoevent_destory(m_event); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    operator hvaxoevent() const { return m_event; }  // NOLINT: to be used as the handle it is

private:
    hvaxoevent m_event;
};

void StartsAsAsked() {
    for (const int32 kind : {automatic, manual}) {
        Require(!vaxoevent_issignaled(Event(kind, 0)), "a new event was signalled unasked");
        Require(vaxoevent_issignaled(Event(kind, 1)), "a new event was not signalled as asked");
        Require(vaxoevent_timedwait(Event(kind, 1), 0), "a wait passed a new event's signal by");
    }
}

void Kept() {
    for (const int32 kind : {automatic, manual}) {
        const Event event(kind);
        vaxoevent_signal(event);
        Require(vaxoevent_issignaled(event), "a signal that nobody waited for was lost");
        Require(vaxoevent_timedwait(event, 0), "a signal that nobody waited for was lost");
    }
    const Event event(automatic);
    vaxoevent_signal(event);
    WaitingFor("a wait to find the signal that was given before");
    vaxoevent_wait(event);
}

void AutoResets() {
    const Event event(automatic);
    vaxoevent_signal(event);
    vaxoevent_wait(event);
    Require(!vaxoevent_issignaled(event), "a wait did not use up the signal");
    Require(!vaxoevent_timedwait(event, 0), "one signal ended two waits");
    vaxoevent_signal(event);
    Require(vaxoevent_timedwait(event, 0), "a second signal ended no wait");
    Require(!vaxoevent_timedwait(event, 0), "a timed wait did not use up the signal");
}

void ManualStays() {
    const Event event(manual);
    vaxoevent_signal(event);
    WaitingFor("a second wait to pass a manual-reset event that is signalled");
    vaxoevent_wait(event);
    vaxoevent_wait(event);
    Require(vaxoevent_timedwait(event, -1), "a timed wait passed the signal by");
    Require(vaxoevent_issignaled(event), "a wait used up the signal of a manual-reset event");
    vaxoevent_reset(event);
    Require(!vaxoevent_timedwait(event, 0), "a wait passed after the reset");
}

void SeveralAreOne() {
    const Event event(automatic);
    for (int i = 0; i < 3; ++i) {
        vaxoevent_signal(event);
    }
    Require(vaxoevent_timedwait(event, 0), "signals that nobody waited for were lost");
    Require(!vaxoevent_timedwait(event, 0), "three signals before a wait ended two waits");
}

void LookTakesNothing() {
    const Event event(automatic, 1);
    Require(vaxoevent_issignaled(event) && vaxoevent_issignaled(event), "a look took the signal");
    Require(vaxoevent_timedwait(event, 0), "a look took the signal");
}

void ResetTakesBack() {
    for (const int32 kind : {automatic, manual}) {
        const Event event(kind, 1);
        vaxoevent_reset(event);
        Require(!vaxoevent_issignaled(event), "a reset left the event signalled");
        Require(!vaxoevent_timedwait(event, 0), "a wait passed after the reset");
    }
}

void ZeroLooksOnce() {
    for (const int32 kind : {automatic, manual}) {
        const Event event(kind);
        Require(!vaxoevent_timedwait(event, 0), "a wait of no time answered true unsignalled");
    }
}

void NullEvent() {
    WaitingFor("a call with a null event to return");
    vaxoevent_wait(nullptr);
    vaxoevent_signal(nullptr);
    vaxoevent_reset(nullptr);
    vaxoevent_destory(nullptr);
    Require(!vaxoevent_timedwait(nullptr, 0), "a wait for a null event answered true");
    Require(!vaxoevent_timedwait(nullptr, -1), "a wait for a null event answered true");
    Require(!vaxoevent_issignaled(nullptr), "a null event was called signalled");
}

// Two threads take turns; a plain value shows that the events alone order them.
template <class Wait>
void TakeTurns(Wait wait) {
    const int rounds = Rounds(20000);
    const Event ping(automatic);
    const Event pong(automatic);
    int value = 0;
    WaitingFor("a signal to wake the thread that waits for it");
    Together({[&] {
                  for (int round = 0; round < rounds; ++round) {
                      ++value;
                      vaxoevent_signal(ping);
                      wait(pong);
                      Require(value == 2 * (round + 1), "a wait ended without its signal");
                  }
              },
              [&] {
                  for (int round = 0; round < rounds; ++round) {
                      wait(ping);
                      Require(value == 2 * round + 1, "a wait ended without its signal");
                      ++value;
                      vaxoevent_signal(pong);
                  }
              }});
}

void PingPong() {
    TakeTurns(&vaxoevent_wait);
}

void TimedPingPong() {
    TakeTurns([](hvaxoevent event) {
        Require(vaxoevent_timedwait(event, 3600000), "a time-out of an hour was over at once");
    });
}

void EndlessPingPong() {
    TakeTurns([](hvaxoevent event) {
        Require(vaxoevent_timedwait(event, -1), "a wait without a time-out timed out");
    });
}

// Each pass is answered before the next signal, so that a signal that lets two through shows.
void AutoReleasesOne() {
    const int waiters = 3;
    const int signals = Rounds(1000) * waiters;
    const Event event(automatic);
    const Event passed(automatic);
    std::atomic<int> passes{0};
    WaitingFor("one of several waiters to pass for each signal");
    Together(waiters + 1, [&](int number) {
        if (number < waiters) {
            for (int i = 0; i < signals / waiters; ++i) {
                vaxoevent_wait(event);
                ++passes;
                vaxoevent_signal(passed);
            }
            return;
        }
        for (int given = 1; given <= signals; ++given) {
            vaxoevent_signal(event);
            vaxoevent_wait(passed);
            Require(passes == given, "one signal of an auto-reset event released two waiters");
        }
    });
}

void ManualReleasesAll() {
    for (int round = Rounds(100); round > 0; --round) {
        const Event event(manual);
        int value = 0;  // plain: the signal publishes it
        WaitingFor("every waiter to pass a manual-reset event that is signalled");
        Together(4, [&](int number) {
            if (number == 0) {
                value = 1;
                vaxoevent_signal(event);
            } else {
                vaxoevent_wait(event);
                Require(value == 1, "a wait ended before the signal");
            }
        });
        Require(vaxoevent_issignaled(event), "a wait used up the signal of a manual-reset event");
    }
}

// One thread signals; the other frees the event the moment its wait returns. A layer that
// touches the event afterwards shows under the address sanitizer, or crashes.
void DestroyedAtOnce() {
    const int rounds = Rounds(5000);
    for (const int32 kind : {automatic, manual}) {
        std::vector<hvaxoevent> events;
        events.reserve(static_cast<std::size_t>(rounds));
        for (int round = 0; round < rounds; ++round) {
            events.push_back(vaxoevent_create(kind, 0));
        }
        WaitingFor("a signal to wake the thread that waits for it");
        Together({[&] {
                      for (vaxoevent_t* const event : events) {
                          vaxoevent_signal(event);
                      }
                  },
                  [&] {
                      for (vaxoevent_t* const event : events) {
                          vaxoevent_wait(event);
                          vaxoevent_destory(event);
                      }
                  }});
    }
}

void TimesOut() {
    typedef std::chrono::steady_clock Clock;
    const auto asked = std::chrono::milliseconds(60);
    for (const int32 kind : {automatic, manual}) {
        const Event event(kind);
        WaitingFor("a time-out of 60 ms to be over");
        const Clock::time_point begin = Clock::now();
        Require(!vaxoevent_timedwait(event, asked.count()), "a time-out answered true");
        const Clock::duration took = Clock::now() - begin;
        Require(took >= asked / 2, "a time-out of 60 ms was over in less than 30");
        Require(took < std::chrono::seconds(20), "a time-out of 60 ms took above 20 s");
        Require(!vaxoevent_issignaled(event), "a time-out left the event signalled");
    }
}

// A moment that the clock cannot show must not become one in the past.
void LongTimeOuts() {
    const int64 most = std::numeric_limits<int64>::max();
    const Event never(automatic);
    for (const int64 milliseconds : {most, most - 1, most / 2, int64(1) << 53, int64(1) << 42,
                                     int64(1) << 32, int64(1) << 31, int64(-1), -most}) {
        const Event event(automatic);
        Together({[&] {
                      Require(vaxoevent_timedwait(event, milliseconds),
                              "a time-out of weeks or more was over at once");
                  },
                  [&] {
                      vaxoevent_timedwait(never,
                                          20);  // time to be wrong in; too little is no error
                      vaxoevent_signal(event);
                  }});
    }
}

}  // namespace

Cases EventCases() {
    return {
        {"event/starts-as-asked", "A new event starts in the state asked for.", needs_nothing,
         &StartsAsAsked},
        {"event/kept", "A signal given before the wait is not lost.", needs_nothing, &Kept},
        {"event/auto-resets", "Each signal of an auto-reset event ends one wait.", needs_nothing,
         &AutoResets},
        {"event/manual-stays", "A manual-reset event stays signalled until the reset.",
         needs_nothing, &ManualStays},
        {"event/several-are-one", "Several signals before a wait count as one.", needs_nothing,
         &SeveralAreOne},
        {"event/look-takes-nothing", "vaxoevent_issignaled looks without taking the signal.",
         needs_nothing, &LookTakesNothing},
        {"event/reset-takes-back", "A reset takes a signal back, for both kinds.", needs_nothing,
         &ResetTakesBack},
        {"event/zero-looks-once", "A time-out of 0 looks once.", needs_nothing, &ZeroLooksOnce},
        {"event/null", "A null event is taken everywhere.", needs_nothing, &NullEvent},
        {"event/ping-pong", "No wake-up is lost, and a wait ends for its signal alone.",
         needs_nothing, &PingPong},
        {"event/endless-ping-pong", "A negative time-out waits for ever.", needs_nothing,
         &EndlessPingPong},
        {"event/timed-ping-pong", "A timed wait ends for its signal like one without a time-out.",
         needs_clock, &TimedPingPong},
        {"event/auto-releases-one", "A signal of an auto-reset event releases one waiter.",
         needs_nothing, &AutoReleasesOne},
        {"event/manual-releases-all", "A signal of a manual-reset event releases all who wait.",
         needs_nothing, &ManualReleasesAll},
        {"event/destroyed-at-once", "The waiter may destroy the event when its wait returned.",
         needs_nothing, &DestroyedAtOnce},
        {"event/times-out", "A wait ends for its time-out, not before it and soon after.",
         needs_clock, &TimesOut},
        {"event/long-time-outs", "A time-out too long for the clock waits for the signal.",
         needs_clock, &LongTimeOuts},
    };
}

}  // namespace conformance
