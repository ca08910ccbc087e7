// The steps at which the explorer may let another thread go on, and their names.
#ifndef VAXO_TESTS_EXPLORE_STEPS_H
#define VAXO_TESTS_EXPLORE_STEPS_H

#include <cstdint>

namespace explore {

enum class Kind : std::uint8_t {
    ThreadStart,
    ThreadEnd,
    MutexLock,
    MutexTry,
    MutexUnlock,
    MutexDestroy,
    ReadLock,
    WriteArrive,
    WriteLock,
    RwTry,
    RwUnlock,
    RwDestroy,
    EventWait,
    EventSignal,
    EventReset,
    EventLook,
    EventDestroy,
    WorkerStart,
    WorkerPush,
    WorkerTake,
    WorkerRetire,
    Slot,
    Once,
    Program,
};

// Such as "locks the mutex"; of a thread that waits: what it would do next.
const char* NameOf(Kind kind);

}  // namespace explore

#endif
