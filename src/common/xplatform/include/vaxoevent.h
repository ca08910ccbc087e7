// Events: one thread waits until another one says so.
//
// Guarantees
// - Any thread may signal, wait, reset or ask.
// - A signal given before the wait is not lost: the event stays signalled until
//   a wait takes it (auto-reset) or vaxoevent_reset is called (manual reset).
// - What the signalling thread wrote before vaxoevent_signal is visible to the
//   thread whose wait that signal ended (release, then acquire).
// - The waiter may destroy the event as soon as its wait returned, even while
//   the signalling call is still on its way out.
// - A wait ends for a signal or for its time-out, never for any other reason.
// - Time-outs are measured on the monotonic clock: setting the time of day does
//   not change them.
// - A null event is taken everywhere: there is nothing to do and nothing to wait
//   for. vaxoevent_wait returns at once, what answers a bool answers false.
//
// Non-guarantees
// - Several signals before a wait count as one.
// - No order among several waiters.
// - A manual-reset event that is signalled and reset at once may be reset before
//   those who wait have seen it: they wait on.
#ifndef VAXO_VAXOEVENT_H
#define VAXO_VAXOEVENT_H

#include "vaxotypes.h"

// An event; made by vaxoevent_create.
typedef struct vaxoevent_t* hvaxoevent;

// A new event. autoreset 1: each signal releases one wait and is used up by it;
// 0: once signalled, every wait passes until vaxoevent_reset. signaled 1: it
// starts signalled. Never null: without memory it throws std::bad_alloc. Release
// it with vaxoevent_destory.
hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled);

// Blocks until the event is signalled. No time-out.
void vaxoevent_wait(hvaxoevent event);

// The same for at most `milliseconds` (0 looks once, negative waits for ever).
// True when the event was signalled; an auto-reset event is then used up.
bool vaxoevent_timedwait(hvaxoevent event, int64 milliseconds);

void vaxoevent_signal(hvaxoevent event);      // says that it has happened
void vaxoevent_reset(hvaxoevent event);       // takes a signal back; for both kinds
bool vaxoevent_issignaled(hvaxoevent event);  // looks without taking the signal

// Frees the event; null is ignored. Nobody may be waiting. (The spelling is the
// function's name.)
void vaxoevent_destory(hvaxoevent event);

// An event as an object, with the guarantees of the functions above. Everything
// is inline, so that a program that uses only a part needs only that part of the
// platform layer.
class CVAXOEvent {
public:
    // As vaxoevent_create.
    CVAXOEvent(bool autoreset, bool signaled)
        : m_hEvent(vaxoevent_create(autoreset ? 1 : 0, signaled ? 1 : 0)) {}
    virtual ~CVAXOEvent() { vaxoevent_destory(m_hEvent); }

    CVAXOEvent(const CVAXOEvent&) = delete;
    CVAXOEvent& operator=(const CVAXOEvent&) = delete;

    // True when the event was signalled within `milliseconds`; negative waits
    // for ever.
    bool Wait(int64 milliseconds) { return vaxoevent_timedwait(m_hEvent, milliseconds); }
    void Post() { vaxoevent_signal(m_hEvent); }                   // signals
    void Reset() { vaxoevent_reset(m_hEvent); }                   // takes a signal back
    bool IsSignaled() { return vaxoevent_issignaled(m_hEvent); }  // looks without taking

private:
    hvaxoevent m_hEvent;
};

#endif
